#include "QxUtils/Foundation.h"
#include "QxUtils/Quality.h"
#include "QxUtils/StatusCode.h"
#include "files/RawImageReader.h"
#include "foundation/ImageView.h"
#include "foundation/Scratch.h"
#include "kernels/SumKernels.h"
#include "quality/Measure.h"
#include "quality/dark/RowSteps.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace {

constexpr int kRefusedSteps = 500;

// The average dark image of the current exposure time and gain. Kept: a failed read of the gain stands for its id.
std::array<char, 256> darkImageName() {
    std::array<char, 256> name{};
    std::snprintf(name.data(), name.size(), "%s%d%s%d%s", "dark-", getCurrentExpTime(), "ms-std-gain", getGainId(),
                  ".raw");
    return name;
}

int measureSteps(int width, int height, qx::Measure& stepping) {
    if (!qx::isImageSize(width, height))
        return StatusWrongParameter;
    // The image is read a few rows at a time.
    const int rowsAtOnce = std::min(qx::RowSteps::kRows, height);
    qx::Scratch<float> rows(rowsAtOnce, width);
    qx::RowSteps steps(width);
    if (!rows || !steps)
        return StatusAllocationFailed;
    const std::array<char, 256> name = darkImageName();
    qx::RawImageReader reader(getOfstImgDir(), name.data());
    for (int y = 0; y < height; y += rowsAtOnce) {
        const int now = std::min(rowsAtOnce, height - y);
        if (!reader.read(reinterpret_cast<char*>(rows.data()), std::int64_t{now} * width * sizeof(float)))
            break;
        steps.add(rows.data(), now);
    }
    stepping = {steps.count(), MeasureBelow, kRefusedSteps};
    return reader.finish();
}

}  // namespace

void qx::RowSteps::add(const float* rows, int count) noexcept {
    sumKernels().rowSums(rows, width_, count, width_, sums_.data());
    for (int i = 0; i < count; ++i) {
        const float mean = sums_[i] / width_;
        if (!first_ && std::fabs(mean - previous_) >= getConfigInfo()->rcnRowDiffLimit)
            ++count_;
        previous_ = mean;
        first_ = false;
    }
}

int analysisRcn(int width, int height) {
    qx::Measure stepping;
    const int status = measureSteps(width, height, stepping);
    return qx::verdictOn(stepping, status, StatusRowNoiseUnqualified);
}

int measureRcn(int width, int height, CheckMeasures* measures) {
    return qx::recordMeasures(measures, [&](qx::MeasureRecords& records) {
        qx::Measure stepping;
        const int status = measureSteps(width, height, stepping);
        const double limit = static_cast<double>(getConfigInfo()->rcnRowDiffLimit);
        records.add(stepping, "rows", "rows that step by %g", limit);
        return status;
    });
}
