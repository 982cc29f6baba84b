#include "image/Region.h"

#include "common/ToolError.h"
#include "text/NumberText.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace qx::tool {
namespace {

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
    const auto borderOf = [&](int pixel) {
        return stretch.first + static_cast<int>(std::int64_t{stretch.length()} * pixel / count);
    };
    const int first = borderOf(i);
    return {first, std::max(borderOf(i + 1), first + 1)};
}

// The borders of pixels lie halfway between their centres.
Stretch resampledStretch(const Stretch& stretch, int from, int to) {
    const double spacing = from > 1 ? static_cast<double>(to - 1) / (from - 1) : to;
    const auto border = [&](int pixel) { return static_cast<int>(std::lround((pixel - 0.5) * spacing + 0.5)); };
    const int start = std::clamp(border(stretch.first), 0, to - 1);
    return {start, std::clamp(border(stretch.end), start + 1, to)};
}

}  // namespace

Region parseRegion(const std::optional<std::string>& text, const Shape& image) {
    if (!text)
        return wholeOf(image);
    const std::optional<Region> region = parseRegionText(*text);
    if (!region)
        throw ToolError("\"" + *text + "\" is no part of an image; give WIDTHxHEIGHT+X+Y, such as 128x96+400+300",
                        ExitCode::Usage);
    const auto [corner, shape] = *region;
    if (corner.x > image.width - shape.width || corner.y > image.height - shape.height)
        throw ToolError("--zoom " + *text + " reaches beyond the image of " + toText(image) + "; give a part of it",
                        ExitCode::Usage);
    return *region;
}

Region resampledRegion(const Region& region, const Shape& from, const Shape& to) {
    const Stretch columns = resampledStretch(region.columns(), from.width, to.width);
    const Stretch rows = resampledStretch(region.rows(), from.height, to.height);
    return {{columns.first, rows.first}, {columns.length(), rows.length()}};
}

WORD meanOf(const RawImage& image, const Stretch& rows, const Stretch& columns) {
    std::int64_t sum = 0;
    for (int row = rows.first; row < rows.end; ++row) {
        const WORD* const line = image.row(row);
        for (int column = columns.first; column < columns.end; ++column)
            sum += line[column];
    }
    const std::int64_t count = std::int64_t{rows.length()} * columns.length();
    return static_cast<WORD>((sum + count / 2) / count);
}

Shape pictureShape(const Region& region, int maxSide) {
    const auto [width, height] = region.shape;
    const int longer = std::max(width, height);
    if (const int scale = maxSide / longer; scale > 0)
        return {width * scale, height * scale};
    return {std::max(1, width * maxSide / longer), std::max(1, height * maxSide / longer)};
}

RawImage fit(const RawImage& image, const Region& region, const Shape& picture) {
    const Stretch allRows = region.rows();
    const Stretch allColumns = region.columns();
    RawImage fitted{picture, {}};
    for (int row = 0; row < picture.height; ++row) {
        const Stretch rows = shareOf(allRows, row, picture.height);
        for (int column = 0; column < picture.width; ++column)
            fitted.pixels.push_back(meanOf(image, rows, shareOf(allColumns, column, picture.width)));
    }
    return fitted;
}

}  // namespace qx::tool
