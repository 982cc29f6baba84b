#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"
#include "foundation/Diagnostics.h"
#include "foundation/ImageView.h"
#include "foundation/Scratch.h"
#include "kernels/RankKernels.h"
#include "numerics/statistics/ExchangeSelection.h"

#include <algorithm>
#include <cstdint>

namespace {

using qx::kLaneColumns;
using qx::kPanelColumns;
using View = qx::ImageView<const float>;

// Memory for the columns of a panel, and for a column that needs the exchange sort's own order.
struct Workspace {
    Workspace(int width, int height) noexcept
        : keys(height, std::min(width, kPanelColumns)), column(height), copy(height) {}

    explicit operator bool() const noexcept { return keys && column && copy; }

    qx::Scratch<std::int32_t> keys;
    qx::Scratch<float> column;
    qx::Scratch<float> copy;
};

float exchangeMedian(const View& image, int x, Workspace& workspace) {
    for (int y = 0; y < image.height; ++y)
        workspace.column[y] = image.at(y, x);
    return qx::exchangeMiddle<qx::SortOrder::Descending>(workspace.column.data(), image.height, workspace.copy.data());
}

// The lower middle: rank height/2 from the top.
void panelMedians(const View& image, int firstColumn, int columns, float* medians, Workspace& workspace) {
    const int rank = image.height - 1 - image.height / 2;
    const std::uint64_t irregular =
        qx::rankKernels().columnRanks(image.data + firstColumn, image.width, columns, image.height, rank,
                                      workspace.keys.data(), medians + firstColumn);
    for (int c = 0; c < columns; ++c)
        if ((irregular >> c & 1u) != 0)
            medians[firstColumn + c] = exchangeMedian(image, firstColumn + c, workspace);
}

}  // namespace

int calcMedianPerColumn(float* medians, const float* image, int width, int height) {
    if (medians == nullptr || image == nullptr)
        return StatusNullArgument;
    if (width < 1 || (height > 0 && !qx::isImageSize(width, height)))
        return StatusWrongParameter;
    if (height < 1) {
        // Kept: the status code stands in for the medians.
        std::fill_n(medians, width, StatusNullArgument);
        return StatusOk;
    }
    Workspace workspace(width, height);
    if (!workspace) {
        qx::printDebug("Allocate buffer fail during calcMedianPerColumn!");
        return StatusAllocationFailed;
    }
    const View view{image, width, height};
    int x = 0;
    while (x <= width - kLaneColumns) {
        const int columns = std::min(kPanelColumns, (width - x) / kLaneColumns * kLaneColumns);
        panelMedians(view, x, columns, medians, workspace);
        x += columns;
    }
    // The last columns come with some that are done.
    if (x < width && width >= kLaneColumns)
        panelMedians(view, width - kLaneColumns, kLaneColumns, medians, workspace);
    else
        for (; x < width; ++x)
            medians[x] = exchangeMedian(view, x, workspace);
    return StatusOk;
}
