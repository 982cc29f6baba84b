#include "image/Region.h"

#include "common/NumberText.h"
#include "common/ToolError.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace qx::tool {
namespace {

// A stretch of rows or columns.
struct Stretch {
    int first;
    int end;
};

std::optional<int> parsePlace(std::string_view text) {
    const std::optional<int> place = parseInteger(text);
    return place && *place >= 0 ? place : std::nullopt;
}

std::optional<Region> parseRegionText(const std::string& text) {
    const std::size_t first = text.find('+');
    const std::size_t second = text.find('+', first == std::string::npos ? first : first + 1);
    if (second == std::string::npos)
        return std::nullopt;
    const auto x = parsePlace(std::string_view(text).substr(first + 1, second - first - 1));
    const auto y = parsePlace(std::string_view(text).substr(second + 1));
    if (!x || !y)
        return std::nullopt;
    return Region{{*x, *y}, parseShape(text.substr(0, first))};
}

// Pixel i of count shows these of the stretch.
Stretch shareOf(const Stretch& stretch, int i, int count) {
    const std::int64_t length = stretch.end - stretch.first;
    const int first = stretch.first + static_cast<int>(length * i / count);
    const int end = stretch.first + static_cast<int>(length * (i + 1) / count);
    return {first, std::max(end, first + 1)};
}

WORD meanOf(const RawImage& image, const Stretch& rows, const Stretch& columns) {
    std::uint64_t sum = 0;
    for (int row = rows.first; row < rows.end; ++row) {
        const WORD* const line = image.pixels.data() + std::ptrdiff_t{row} * image.shape.width;
        for (int column = columns.first; column < columns.end; ++column)
            sum += line[column];
    }
    const auto count =
        static_cast<std::uint64_t>(rows.end - rows.first) * static_cast<std::uint64_t>(columns.end - columns.first);
    return static_cast<WORD>((sum + count / 2) / count);
}

// The borders of pixels lie halfway between their centres.
Stretch resampledStretch(int first, int length, int from, int to) {
    const double spacing = from > 1 ? static_cast<double>(to - 1) / (from - 1) : to;
    const auto border = [&](int pixel) { return static_cast<int>(std::lround((pixel - 0.5) * spacing + 0.5)); };
    const int start = std::clamp(border(first), 0, to - 1);
    return {start, std::clamp(border(first + length), start + 1, to)};
}

}  // namespace

Region parseRegion(const std::optional<std::string>& text, const Shape& image) {
    if (!text)
        return {{0, 0}, image};
    const std::optional<Region> region = parseRegionText(*text);
    if (!region)
        throw ToolError("\"" + *text + "\" is no part of an image; give WIDTHxHEIGHT+X+Y, such as 128x96+400+300",
                        ExitCode::Usage);
    const auto [corner, shape] = *region;
    if (corner.x > image.width - shape.width || corner.y > image.height - shape.height)
        throw ToolError("--zoom " + *text + " reaches beyond the image of " + toText(image), ExitCode::Usage);
    return *region;
}

Region resampledRegion(const Region& region, const Shape& from, const Shape& to) {
    const Stretch columns = resampledStretch(region.corner.x, region.shape.width, from.width, to.width);
    const Stretch rows = resampledStretch(region.corner.y, region.shape.height, from.height, to.height);
    return {{columns.first, rows.first}, {columns.end - columns.first, rows.end - rows.first}};
}

Shape pictureShape(const Region& region, int maxSide) {
    const auto [width, height] = region.shape;
    const int longer = std::max(width, height);
    if (const int scale = maxSide / longer; scale > 0)
        return {width * scale, height * scale};
    return {std::max(1, width * maxSide / longer), std::max(1, height * maxSide / longer)};
}

RawImage fit(const RawImage& image, const Region& region, const Shape& picture) {
    const Stretch allRows{region.corner.y, region.corner.y + region.shape.height};
    const Stretch allColumns{region.corner.x, region.corner.x + region.shape.width};
    RawImage fitted{picture, false, {}};
    for (int row = 0; row < picture.height; ++row) {
        const Stretch rows = shareOf(allRows, row, picture.height);
        for (int column = 0; column < picture.width; ++column)
            fitted.pixels.push_back(meanOf(image, rows, shareOf(allColumns, column, picture.width)));
    }
    return fitted;
}

void addZoom(CLI::App& command, std::optional<std::string>& zoom) {
    command.add_option("--zoom", zoom, "WIDTHxHEIGHT+X+Y: the part that the picture shows; all of it when left out")
        ->needs(command.get_option("--png"));
}

}  // namespace qx::tool
