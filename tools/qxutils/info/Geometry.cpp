#include "info/Geometry.h"

#include <QxUtils/Files.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <functional>

namespace qx::tool {
namespace {

constexpr int kSideMultiple = 32;
constexpr int kMinOtherSide = 256;
constexpr std::ptrdiff_t kHeaderWords = kImageHeaderBytes / 2;
constexpr int kSampledRows = 512;
// With the right width, rows are closer to each other than this share of what any other width gives.
constexpr double kClearShare = 0.9;
constexpr double kBlankShare = 0.9;

// Panels are at most one and a half times as long as wide.
bool isPlausibleAspect(const Shape& shape) {
    return 2 * std::max(shape.width, shape.height) <= 3 * std::min(shape.width, shape.height);
}

void appendGeometries(std::vector<Geometry>& geometries, std::int64_t pixelBytes, bool hasHeader) {
    const std::int64_t pixels = pixelBytes / 2;
    for (int width = kMinOtherSide; pixelBytes % 2 == 0 && width <= kMaxSide; width += kSideMultiple) {
        const std::int64_t height = pixels / width;
        const bool fits = height * width == pixels && height <= kMaxSide && height >= kMinOtherSide;
        const Shape shape{width, fits ? static_cast<int>(height) : 0};
        if (fits && isPlausibleAspect(shape) && (isKnownPanel(shape) || height % kSideMultiple == 0))
            geometries.push_back({shape, hasHeader, isKnownPanel(shape)});
    }
}

// Words that are 0 where a header would be: one that nobody filled, for no image begins so.
bool beginsBlank(std::span<const WORD> words) {
    const auto header = words.first(std::min(words.size(), static_cast<std::size_t>(kHeaderWords)));
    return static_cast<double>(std::ranges::count(header, WORD{0})) > kBlankShare * static_cast<double>(header.size());
}

// Of rows spread over the image, the mean distance of their pixels from those that lie a width further on.
double meanRowDifference(std::span<const WORD> pixels, int width) {
    const std::int64_t height = std::ssize(pixels) / width;
    const std::int64_t rows = std::min<std::int64_t>(kSampledRows, height - 1);
    std::int64_t sum = 0;
    for (std::int64_t i = 0; i < rows; ++i) {
        const WORD* const row = pixels.data() + i * (height - 1) / rows * width;
        for (int column = 0; column < width; ++column)
            sum += std::abs(row[column] - row[column + width]);
    }
    return rows < 1 ? 0.0 : static_cast<double>(sum) / (static_cast<double>(rows) * width);
}

// Whether every other word is much more like another than the next one is, as in pixels of two words.
bool alternates(std::span<const WORD> pixels) {
    std::int64_t next = 0;
    std::int64_t afterNext = 0;
    for (std::size_t i = 0; i + 2 < pixels.size(); ++i) {
        next += std::abs(pixels[i] - pixels[i + 1]);
        afterNext += std::abs(pixels[i] - pixels[i + 2]);
    }
    return next > 2 * afterNext;
}

// The widths that a geometry must be better than: those of the others, or wrong ones close to its own.
std::vector<int> otherWidths(const Geometry& geometry, const std::vector<Geometry>& geometries) {
    const int width = geometry.shape.width;
    std::vector<int> widths;
    for (const Geometry& other : geometries) {
        if (other.hasHeader == geometry.hasHeader && other.shape.width != width)
            widths.push_back(other.shape.width);
    }
    return widths.empty() ? std::vector<int>{width + kSideMultiple, width + 2 * kSideMultiple} : widths;
}

// Where rows differ as a whole, the difference falls with the width all the way: more of the pixels that are compared
// stand in one row.
bool isLeastNearby(std::span<const WORD> pixels, int width, double difference) {
    return difference < meanRowDifference(pixels, width - kSideMultiple) &&
           difference < meanRowDifference(pixels, width + kSideMultiple);
}

JudgedGeometry judgeByRows(std::span<const WORD> words, const Geometry& geometry,
                           const std::vector<Geometry>& geometries) {
    const auto pixels = words.subspan(static_cast<std::size_t>(geometry.hasHeader ? kHeaderWords : 0));
    JudgedGeometry judged{geometry, Confidence::Possible, meanRowDifference(pixels, geometry.shape.width), 0.0};
    std::vector<double> others;
    for (const int width : otherWidths(geometry, geometries))
        others.push_back(meanRowDifference(pixels, width));
    judged.otherDifference = *std::ranges::min_element(others);
    if (geometry.hasHeader == beginsBlank(words) && judged.rowDifference < kClearShare * judged.otherDifference &&
        isLeastNearby(pixels, geometry.shape.width, judged.rowDifference))
        judged.confidence = Confidence::Likely;
    return judged;
}

}  // namespace

std::vector<Geometry> plausibleGeometries(std::int64_t fileBytes) {
    std::vector<Geometry> geometries;
    appendGeometries(geometries, fileBytes, false);
    appendGeometries(geometries, fileBytes - kImageHeaderBytes, true);
    std::stable_partition(geometries.begin(), geometries.end(),
                          [](const Geometry& geometry) { return geometry.isCommonPanel; });
    return geometries;
}

std::vector<JudgedGeometry> judgeGeometries(std::span<const WORD> words, std::vector<Geometry> geometries,
                                            const std::optional<Shape>& headerShape) {
    const bool isCertain = headerShape && std::ssize(words) == kHeaderWords + headerShape->pixelCount();
    const Geometry told{headerShape.value_or(Shape{}), true, isKnownPanel(headerShape.value_or(Shape{}))};
    if (isCertain && std::ranges::find(geometries, told) == geometries.end())
        geometries.push_back(told);
    std::vector<JudgedGeometry> judged;
    const bool isOfLongPixels = alternates(words);
    for (const Geometry& geometry : geometries) {
        judged.push_back(judgeByRows(words, geometry, geometries));
        if (isCertain)
            judged.back().confidence = geometry == told ? Confidence::Certain : Confidence::Possible;
        else if (isOfLongPixels)
            judged.back().confidence = Confidence::Possible;
    }
    std::ranges::stable_sort(judged, std::greater(), &JudgedGeometry::confidence);
    return judged;
}

std::optional<Geometry> unambiguousGeometry(const std::vector<JudgedGeometry>& geometries) {
    if (geometries.empty())
        return std::nullopt;
    const auto isCommonPanel = [](const JudgedGeometry& judged) { return judged.geometry.isCommonPanel; };
    if (geometries.front().confidence != Confidence::Possible || std::ranges::count_if(geometries, isCommonPanel) == 1)
        return geometries.front().geometry;
    return std::nullopt;
}

const char* toText(Confidence confidence) {
    switch (confidence) {
    case Confidence::Certain:
        return "certain";
    case Confidence::Likely:
        return "likely";
    case Confidence::Possible:
        break;
    }
    return "possible";
}

}  // namespace qx::tool
