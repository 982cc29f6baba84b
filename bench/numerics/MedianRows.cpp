#include "Rows.h"
#include "harness/Images.h"
#include "harness/StreamRead.h"

#include "reference/numerics/PlainStatistics.h"

#include <QxUtils/Numerics.h>

#include <algorithm>
#include <functional>

namespace {

using namespace qx::bench;

// Takes the next of some inputs at every call, starting with the first.
template <class Input>
class Rotation {
public:
    explicit Rotation(std::shared_ptr<const std::vector<Input>> inputs) : inputs_(std::move(inputs)) {}

    const Input& next() { return (*inputs_)[index_++ % inputs_->size()]; }

private:
    std::shared_ptr<const std::vector<Input>> inputs_;
    std::size_t index_ = 0;
};

// As a user would write it: the caller's data are const, so a copy is selected from.
WORD medianOfCopy(std::vector<WORD> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end(), std::greater<>());
    return *middle;
}

std::uint64_t readRegion(const Image& image, const Region& region) {
    std::uint64_t sum = 0;
    for (int row = region.rowStart; row <= region.rowEnd; ++row)
        sum += streamRead(image.data() + static_cast<std::ptrdiff_t>(row) * image.width + region.colStart,
                          static_cast<std::size_t>(region.width()) * sizeof(WORD));
    return sum;
}

Row medianRow(const Image& image, int width, int height, int inputs) {
    auto samples = std::make_shared<std::vector<std::vector<WORD>>>();
    for (const Region& region : spreadRegions(image, width, height, inputs))
        samples->push_back(pixelsOf(image, region));
    const Rotation<std::vector<WORD>> rotation(samples);
    const int count = width * height;
    return {
        .ours = [=, values = rotation]() mutable { return getMedian(values.next().data(), count); },
        .plain = [=, values = rotation]() mutable { return qx::plain::descendingMedian(values.next().data(), count); },
        .peerName = "std::nth_element",
        .peer = [values = rotation]() mutable { return medianOfCopy(values.next()); },
        .limitName = "one read",
        .limit =
            [=, values = rotation]() mutable {
                return streamRead(values.next().data(), static_cast<std::size_t>(count) * sizeof(WORD));
            }};
}

Row regionMedianRow(const std::shared_ptr<const Image>& image, int width, int height, int inputs) {
    const Rotation<Region> rotation(
        std::make_shared<std::vector<Region>>(spreadRegions(*image, width, height, inputs)));
    return {.ours =
                [image, regions = rotation]() mutable {
                    const Region& r = regions.next();
                    return getROIMedian(image->data(), r.rowStart, r.rowEnd, r.colStart, r.colEnd, image->width);
                },
            .plain =
                [image, regions = rotation]() mutable {
                    const Region& r = regions.next();
                    return qx::plain::getROIMedian(image->data(), r.rowStart, r.rowEnd, r.colStart, r.colEnd,
                                                   image->width);
                },
            .peerName = "std::nth_element",
            .peer = [image, regions = rotation]() mutable { return medianOfCopy(pixelsOf(*image, regions.next())); },
            .limitName = "one read",
            .limit = [image, regions = rotation]() mutable { return readRegion(*image, regions.next()); }};
}

constexpr int kSmallInputs = 64;
constexpr int kLargeInputs = 4;

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::medianRows() {
    return {
        {"getMedian WORD 1,344 values",
         [](const Scale& scale) { return medianRow(*flatField(scale.pick(3072, 300)), 64, 21, kSmallInputs); }},
        {"getMedian WORD 65,536 values",
         [](const Scale& scale) {
             return medianRow(*flatField(scale.pick(3072, 300)), 256, scale.pick(256, 8), kLargeInputs);
         }},
        {"getROIMedian WORD 64 x 21",
         [](const Scale& scale) { return regionMedianRow(flatField(scale.pick(3072, 300)), 64, 21, kSmallInputs); }},
        {"getROIMedian WORD 256 x 256",
         [](const Scale& scale) {
             return regionMedianRow(flatField(scale.pick(3072, 300)), 256, scale.pick(256, 8), kLargeInputs);
         }},
    };
}
