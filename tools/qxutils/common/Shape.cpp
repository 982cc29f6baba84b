#include "common/Shape.h"

#include "common/ToolError.h"
#include "text/NumberText.h"

#include <algorithm>
#include <iterator>

namespace qx::tool {
namespace {

constexpr Shape kKnownPanels[] = {
    {512, 512},   {768, 768},   {1024, 768},  {1024, 1024}, {1280, 1024}, {1280, 1280}, {1536, 1536},
    {2048, 1536}, {2048, 2048}, {2304, 2304}, {2304, 2816}, {2816, 2304}, {2400, 3000}, {2560, 2560},
    {2560, 3072}, {3072, 2560}, {2880, 2880}, {3008, 3008}, {3072, 3072}, {4096, 4096}, {4288, 4288},
};

struct PanelName {
    std::string_view centimetres;
    Shape shape;
};

constexpr PanelName kPanelNames[] = {{"4343", {3072, 3072}}, {"3543", {2560, 3072}}, {"4335", {3072, 2560}}};

std::optional<int> parseSide(std::string_view text) {
    const std::optional<int> side = parseInteger(text);
    return side && *side >= 1 && *side <= kMaxSide ? side : std::nullopt;
}

std::optional<Shape> readPanel(std::string_view text) {
    const auto name = std::ranges::find(kPanelNames, text, &PanelName::centimetres);
    if (name != std::end(kPanelNames))
        return name->shape;
    const std::optional<int> side = parseSide(text);
    return side && isKnownPanel({*side, *side}) ? std::optional(Shape{*side, *side}) : std::nullopt;
}

std::string knownSides() {
    std::string sides;
    for (const Shape& panel : kKnownPanels) {
        if (panel.width == panel.height)
            sides += (sides.empty() ? "" : ", ") + std::to_string(panel.width);
    }
    return sides;
}

std::string knownNames() {
    std::string names;
    for (const PanelName& name : kPanelNames)
        names.append(names.empty() ? "" : ", ").append(name.centimetres);
    return names;
}

}  // namespace

std::optional<Shape> readShape(std::string_view text) {
    const std::size_t cross = text.find_first_of("xX,");
    if (cross == std::string_view::npos)
        return readPanel(text);
    const auto width = parseSide(text.substr(0, cross));
    const auto height = parseSide(text.substr(cross + 1));
    return width && height ? std::optional(Shape{*width, *height}) : std::nullopt;
}

Shape parseShape(const std::string& text) {
    if (const std::optional<Shape> shape = readShape(text))
        return *shape;
    throw ToolError("\"" + text + "\" is not a shape; give WIDTHxHEIGHT with sides from 1 to " +
                        std::to_string(kMaxSide) + ", such as 3072x2560, the side of a known square panel (" +
                        knownSides() + "), or a panel's size in cm (" + knownNames() + ")",
                    ExitCode::Usage);
}

bool isKnownPanel(const Shape& shape) {
    return std::ranges::find(kKnownPanels, shape) != std::end(kKnownPanels);
}

std::string toText(const Shape& shape) {
    return std::to_string(shape.width) + "x" + std::to_string(shape.height);
}

}  // namespace qx::tool
