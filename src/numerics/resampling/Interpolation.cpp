#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"
#include "foundation/ImageView.h"
#include "numerics/resampling/BandSplines.h"
#include "numerics/resampling/BlockSplines.h"
#include "numerics/resampling/SplineSpacing.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace {

struct OutputSize {
    int first;
    int second;
};
constexpr std::array<OutputSize, 4> kOutputSizes = {{{2816, 2304}, {3032, 2480}, {3120, 2552}, {3212, 2628}}};
constexpr std::array<int, 2> kSquareTypes = {4, 9};

void resample(qx::ImageView<const WORD> in, qx::ImageView<WORD> out) {
    const qx::SplineSpacing alongRows(in.width, out.width);
    const qx::SplineSpacing downColumns(in.height, out.height);
    if (!alongRows || !downColumns)
        return;
    qx::BandSplines bands(in, alongRows, downColumns);
    // Has its memory before the bands write: without any of it the output stays.
    qx::BlockSplines blocks(in, alongRows, downColumns);
    if (bands && blocks && !bands.resample(out))
        blocks.resample(out);
}

}  // namespace

void interpImg2D(WORD** out, int outRows, int outColumns, WORD** in, int inRows, int inColumns) {
    if (out == nullptr || in == nullptr || !qx::isImageSize(outColumns, outRows) || !qx::isImageSize(inColumns, inRows))
        return;
    // Kept: the addresses are those of the first pixels.
    resample({reinterpret_cast<const WORD*>(in), inColumns, inRows},
             {reinterpret_cast<WORD*>(out), outColumns, outRows});
}

int getIntepolationSize(int& firstSize, int& secondSize, int index, int type) {
    if (index < 1 || index > std::ssize(kOutputSizes))
        return StatusWrongParameter;
    const OutputSize& size = kOutputSizes[index - 1];
    const bool square = std::find(kSquareTypes.begin(), kSquareTypes.end(), type) != kSquareTypes.end();
    firstSize = size.first;
    secondSize = square ? size.first : size.second;
    return StatusOk;
}
