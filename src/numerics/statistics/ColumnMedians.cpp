#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"
#include "foundation/Diagnostics.h"
#include "foundation/ImageView.h"
#include "foundation/Scratch.h"
#include "kernels/ColumnKernels.h"
#include "kernels/RankKernels.h"
#include "numerics/statistics/ExchangeSelection.h"

#include <algorithm>
#include <cstdint>

namespace {

using qx::kLaneColumns;
using qx::kPanelColumns;
using qx::kSampledPanels;
using View = qx::ImageView<const float>;

constexpr std::uint64_t kLaneMask = (std::uint64_t{1} << kLaneColumns) - 1;

// Memory for the columns of a panel, and for a column that needs the exchange sort's own order.
struct Workspace {
    Workspace(int width, int height) noexcept
        : keys(height, std::min(width, kPanelColumns)), column(height), copy(height) {}

    explicit operator bool() const noexcept { return keys && column && copy; }

    // A byte for each value of panels that are sampled together, in place of the keys of one.
    std::int8_t* codes() noexcept { return reinterpret_cast<std::int8_t*>(keys.data()); }

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
int rankOf(const View& image) {
    return image.height - 1 - image.height / 2;
}

// By counting the values themselves.
void countedMedians(const View& image, int firstColumn, int columns, float* medians, Workspace& workspace) {
    const std::uint64_t irregular =
        qx::rankKernels().columnRanks(image.data + firstColumn, image.width, columns, image.height, rankOf(image),
                                      workspace.keys.data(), medians + firstColumn);
    for (int c = 0; c < columns; ++c)
        if ((irregular >> c & 1u) != 0)
            medians[firstColumn + c] = exchangeMedian(image, firstColumn + c, workspace);
}

// By a sample of each column; what that leaves is counted.
void sampledMedians(const View& image, int firstColumn, int panels, float* medians, Workspace& workspace) {
    std::uint64_t unsettled[kSampledPanels];
    qx::columnKernels().sampledRanks(image.data + firstColumn, image.width, panels, image.height, rankOf(image),
                                     workspace.codes(), medians + firstColumn, unsettled);
    for (int k = 0; k < panels; ++k) {
        const int first = firstColumn + k * kPanelColumns;
        if (~unsettled[k] == 0)
            countedMedians(image, first, kPanelColumns, medians, workspace);
        else
            for (int c = 0; c < kPanelColumns; c += kLaneColumns)
                if ((unsettled[k] >> c & kLaneMask) != 0)
                    countedMedians(image, first + c, kLaneColumns, medians, workspace);
    }
}

// Columns in whole panels; returns how many are done.
int sampledPanels(const View& image, float* medians, Workspace& workspace) {
    if (image.height < qx::kFewestSampledRows || image.width < kPanelColumns)
        return 0;
    int x = 0;
    for (; x <= image.width - kSampledPanels * kPanelColumns; x += kSampledPanels * kPanelColumns)
        sampledMedians(image, x, kSampledPanels, medians, workspace);
    for (; x <= image.width - kPanelColumns; x += kPanelColumns)
        sampledMedians(image, x, 1, medians, workspace);
    // The last columns come with some that are done.
    if (x < image.width)
        sampledMedians(image, image.width - kPanelColumns, 1, medians, workspace);
    return image.width;
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
    int x = sampledPanels(view, medians, workspace);
    while (x <= width - kLaneColumns) {
        const int columns = std::min(kPanelColumns, (width - x) / kLaneColumns * kLaneColumns);
        countedMedians(view, x, columns, medians, workspace);
        x += columns;
    }
    // The last columns come with some that are done.
    if (x < width && width >= kLaneColumns)
        countedMedians(view, width - kLaneColumns, kLaneColumns, medians, workspace);
    else
        for (; x < width; ++x)
            medians[x] = exchangeMedian(view, x, workspace);
    return StatusOk;
}
