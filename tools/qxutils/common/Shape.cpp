#include "common/Shape.h"

#include "common/NumberText.h"
#include "common/ToolError.h"

#include <optional>
#include <string_view>

namespace qx::tool {
namespace {

std::optional<int> parseSide(std::string_view text) {
    const std::optional<int> side = parseInteger(text);
    return side && *side >= 1 && *side <= kMaxSide ? side : std::nullopt;
}

}  // namespace

Shape parseShape(const std::string& text) {
    const std::string_view all = text;
    const std::size_t cross = all.find('x');
    if (cross != std::string_view::npos) {
        const auto width = parseSide(all.substr(0, cross));
        const auto height = parseSide(all.substr(cross + 1));
        if (width && height)
            return {*width, *height};
    }
    throw ToolError("\"" + text + "\" is not a shape; give WIDTHxHEIGHT with sides from 1 to " +
                        std::to_string(kMaxSide) + ", such as 3072x3072",
                    ExitCode::Usage);
}

std::string toText(const Shape& shape) {
    return std::to_string(shape.width) + "x" + std::to_string(shape.height);
}

}  // namespace qx::tool
