#include "QxUtils/Quality.h"

#include "QxUtils/Foundation.h"
#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"
#include "foundation/Log.h"
#include "numerics/statistics/RegionMedian.h"
#include "quality/Measure.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <cstdint>
#include <optional>

namespace {

using Image = qx::ImageView<const float>;
using qx::Rect;

constexpr int kRegionWidth = 256;
constexpr int kRegionUnit = 64;

// A region holds an exposure when its median is above this.
constexpr int kExposedMedian = 400;

// Is told what is measured, each as soon as it is there.
class TriggerListener {
public:
    virtual ~TriggerListener() = default;
    virtual void regionHeight(std::int64_t) {}
    // The brightest region up to the first exposed one.
    virtual void region(const qx::Measure& median, const Rect& place) = 0;
    virtual void middleArea(const qx::Measure& median) = 0;
    virtual void outerPlace(const Rect&) {}
    virtual void outerArea(const qx::Measure& median) = 0;
};

// The regions that are searched have the shape of the image.
std::int64_t regionHeight(const Image& image) {
    const double ratio = 1.0 * image.height / image.width;
    return std::int64_t{kRegionUnit} * qx::truncateToInt(ratio * kRegionWidth * (1.0 / kRegionUnit) + 0.5);
}

// Where a centred stretch of this length begins and ends, both kept inside.
struct Stretch {
    Stretch(int size, std::int64_t length)
        : first(std::clamp<std::int64_t>((size - length) / 2, 0, size - 1)),
          last(std::clamp<std::int64_t>((size + length) / 2, 0, size - 1)) {}
    int count() const { return last - first + 1; }

    int first;
    int last;
};

// The centred area of these sides, clipped to the image. Kept: it holds the row and the column behind its last ones.
Rect centred(const Image& image, std::int64_t width, std::int64_t height) {
    const Stretch rows(image.height, height);
    const Stretch columns(image.width, width);
    return {rows.first, columns.first, rows.count(), columns.count()};
}

bool isLine(const Rect& area) {
    return area.height < 2 || area.width < 2;
}

// Looks for a region that is exposed, column by column.
int searchRegions(const Image& image, const Rect& middle, int height, TriggerListener& listener, bool& exposed) {
    std::optional<int> brightest;
    Rect region{};
    exposed = false;
    for (int x = middle.left; x < middle.right() - kRegionWidth && !exposed; x += kRegionWidth / 2) {
        for (int y = middle.top; y < middle.bottom() - height && !exposed; y += height / 2) {
            // Kept: a region, too, holds one row and column more.
            region = {y, x, height + 1, kRegionWidth + 1};
            int median = 0;
            const int status = qx::regionMedian(image, region, median);
            if (status != StatusOk)
                return status;
            brightest = std::max(brightest.value_or(median), median);
            exposed = qx::Measure(median, MeasureAbove, kExposedMedian).met();
        }
    }
    if (brightest)
        listener.region({*brightest, MeasureAbove, kExposedMedian}, region);
    return StatusOk;
}

// The alternatives one by one, until one is met; `exposed` tells whether one was.
int measureTrigger(const Image& image, TriggerListener& listener, bool& exposed) {
    if (image.data == nullptr)
        return StatusNullArgument;
    if (!image.exists())
        return StatusWrongParameter;
    const int floor = getConfigInfo()->falseTriggerMedianFloor;
    const std::int64_t height = regionHeight(image);
    listener.regionHeight(height);
    const std::int64_t regions = image.width / kRegionWidth - 2;
    if (regions < 1 || height < 1)
        return StatusWrongParameter;
    const Rect middle = centred(image, kRegionWidth * regions / 2, height * regions / 2);
    const Rect outer = centred(image, kRegionWidth * regions, height * regions);
    if (isLine(middle) || isLine(outer))
        return StatusWrongParameter;

    int status = searchRegions(image, middle, height, listener, exposed);
    if (status != StatusOk || exposed)
        return status;
    int median = 0;
    status = qx::regionMedian(image, middle, median);
    if (status != StatusOk)
        return status;
    const qx::Measure middleMedian(median, MeasureAtLeast, floor);
    listener.middleArea(middleMedian);
    exposed = middleMedian.met();
    if (exposed)
        return StatusOk;
    listener.outerPlace(outer);
    status = qx::regionMedian(image, outer, median);
    if (status != StatusOk)
        return status;
    // Kept: the outer area must exceed half of the floor, the middle one only reach it.
    const qx::Measure outerMedian(median, MeasureAbove, floor / 2);
    listener.outerArea(outerMedian);
    exposed = outerMedian.met();
    return StatusOk;
}

class TriggerLog final : public TriggerListener {
    void regionHeight(std::int64_t height) override {
        qx::logInfo(kLogNoValue, "roiWidth:%d, roiHeight:%lld", kRegionWidth, static_cast<long long>(height));
    }
    void region(const qx::Measure& median, const Rect& place) override {
        if (median.met())
            qx::logInfo(kLogNoValue, "The area is found. The top-left coordinate is: [%d, %d]", place.left, place.top);
    }
    void middleArea(const qx::Measure& median) override {
        qx::logInfo(kLogNoValue, "The median of middle area is %f", median.value);
    }
    void outerPlace(const Rect& place) override {
        qx::logInfo(kLogNoValue, "The outer ROI is [%d,%d,%d,%d]", place.top, place.bottom() - 1, place.left,
                    place.right() - 1);
    }
    void outerArea(const qx::Measure& median) override {
        qx::logInfo(kLogNoValue, "The median of outer area is %f", median.value);
    }
};

class TriggerRecords final : public TriggerListener {
public:
    explicit TriggerRecords(qx::MeasureRecords& records) : records_(records) {}

private:
    void region(const qx::Measure& median, const Rect&) override {
        records_.addAlternative(median, "counts", "brightest region's median");
    }
    void middleArea(const qx::Measure& median) override {
        records_.addAlternative(median, "counts", "middle area's median");
    }
    void outerArea(const qx::Measure& median) override {
        records_.addAlternative(median, "counts", "outer area's median");
    }

    qx::MeasureRecords& records_;
};

}  // namespace

int checkFalseTriggAEDImage(const float* image, int width, int height) {
    TriggerLog log;
    bool exposed = false;
    const int status = measureTrigger({image, width, height}, log, exposed);
    return status != StatusOk || exposed ? status : int{StatusFalseTrigger};
}

int measureFalseTriggAEDImage(const float* image, int width, int height, CheckMeasures* measures) {
    return qx::recordMeasures(measures, [&](qx::MeasureRecords& records) {
        TriggerRecords listener(records);
        bool exposed = false;
        return measureTrigger({image, width, height}, listener, exposed);
    });
}
