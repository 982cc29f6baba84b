#include "QxUtils/Quality.h"

#include "QxUtils/Foundation.h"
#include "QxUtils/StatusCode.h"
#include "files/RawImageReader.h"
#include "foundation/ImageView.h"
#include "foundation/Scratch.h"
#include "kernels/SumKernels.h"
#include "quality/dark/RowSteps.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace {

constexpr int kToleratedSteps = 499;

// The average dark image of the current exposure time and gain.
std::array<char, 256> darkImageName() {
    std::array<char, 256> name{};
    std::snprintf(name.data(), name.size(), "%s%d%s%d%s", "dark-", getCurrentExpTime(), "ms-std-gain", getGainId(),
                  ".raw");
    return name;
}

}  // namespace

void qx::RowSteps::add(const float* rows, int count) noexcept {
    sumKernels().rowSums(rows, width_, count, width_, sums_.data());
    for (int i = 0; i < count; ++i) {
        const float mean = sums_[static_cast<std::size_t>(i)] / static_cast<float>(width_);
        if (!first_ && std::fabs(mean - previous_) >= getConfigInfo()->rcnRowDiffLimit)
            ++count_;
        previous_ = mean;
        first_ = false;
    }
}

int analysisRcn(int width, int height) {
    if (!qx::isImageSize(width, height))
        return StatusWrongParameter;
    // The image is read a few rows at a time.
    const int rowsAtOnce = std::min(qx::RowSteps::kRows, height);
    qx::Scratch<float> rows(static_cast<std::size_t>(rowsAtOnce) * static_cast<std::size_t>(width));
    qx::RowSteps steps(width);
    if (!rows || !steps)
        return StatusAllocationFailed;
    qx::RawImageReader reader(getOfstImgDir(), darkImageName().data());
    for (int y = 0; y < height; y += rowsAtOnce) {
        const int now = std::min(rowsAtOnce, height - y);
        const std::size_t bytes = static_cast<std::size_t>(now) * static_cast<std::size_t>(width) * sizeof(float);
        if (!reader.read(reinterpret_cast<char*>(rows.data()), bytes))
            break;
        steps.add(rows.data(), now);
    }
    const int status = reader.finish();
    if (status != StatusOk)
        return status;
    return steps.count() > kToleratedSteps ? StatusRowNoiseUnqualified : StatusOk;
}
