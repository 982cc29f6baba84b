#include "info/Geometry.h"

#include <QxUtils/Files.h>

#include <algorithm>

namespace qx::tool {
namespace {

constexpr Shape kCommonPanels[] = {
    {512, 512},   {768, 768},   {1024, 768},  {1024, 1024}, {1280, 1024}, {1280, 1280}, {1536, 1536},
    {2048, 1536}, {2048, 2048}, {2304, 2304}, {2304, 2816}, {2816, 2304}, {2400, 3000}, {2560, 2560},
    {2560, 3072}, {3072, 2560}, {2880, 2880}, {3008, 3008}, {3072, 3072}, {4096, 4096}, {4288, 4288},
};

constexpr int kSideMultiple = 32;
constexpr int kMinOtherSide = 256;

// Panels are at most one and a half times as long as wide.
bool isPlausibleAspect(const Shape& shape) {
    return 2 * std::max(shape.width, shape.height) <= 3 * std::min(shape.width, shape.height);
}

bool isCommon(const Shape& shape) {
    return std::find(std::begin(kCommonPanels), std::end(kCommonPanels), shape) != std::end(kCommonPanels);
}

void appendGeometries(std::vector<Geometry>& geometries, std::int64_t pixelBytes, bool hasHeader) {
    const std::int64_t pixels = pixelBytes / 2;
    for (int width = kMinOtherSide; pixelBytes % 2 == 0 && width <= kMaxSide; width += kSideMultiple) {
        const std::int64_t height = pixels / width;
        const bool fits = height * width == pixels && height <= kMaxSide && height >= kMinOtherSide;
        const Shape shape{width, fits ? static_cast<int>(height) : 0};
        if (fits && isPlausibleAspect(shape) && (isCommon(shape) || height % kSideMultiple == 0))
            geometries.push_back({shape, hasHeader, isCommon(shape)});
    }
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

std::optional<Geometry> unambiguousGeometry(const std::vector<Geometry>& geometries) {
    const auto isCommonPanel = [](const Geometry& geometry) { return geometry.isCommonPanel; };
    if (std::count_if(geometries.begin(), geometries.end(), isCommonPanel) == 1)
        return geometries.front();
    return std::nullopt;
}

}  // namespace qx::tool
