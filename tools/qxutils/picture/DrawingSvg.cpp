#include "picture/Drawing.h"
#include "picture/PngWriter.h"
#include "text/Base64Text.h"
#include "text/MarkupText.h"
#include "text/TextTable.h"

#include <cstdio>

namespace qx::tool {
namespace {

// Hundredths of a pixel are more than anybody sees.
std::string number(double value) {
    std::string text = formatNumber(value, 2);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.'))
        text.pop_back();
    return text == "-0" ? "0" : text;
}

std::string colourText(Colour colour) {
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", unsigned{colour.red}, unsigned{colour.green},
                  unsigned{colour.blue});
    return text;
}

std::string attribute(const char* name, const std::string& value) {
    return std::string(" ") + name + "=\"" + value + '"';
}

std::string attribute(const char* name, double value) {
    return attribute(name, number(value));
}

std::string placesText(const std::vector<Place>& places) {
    std::string text;
    for (const auto& [x, y] : places)
        text += (text.empty() ? "" : " ") + number(x) + ',' + number(y);
    return text;
}

std::string elementOf(const Area& area) {
    return "<polygon" + attribute("points", placesText(area.corners)) + attribute("fill", colourText(area.colour)) +
           "/>";
}

std::string elementOf(const Stroke& stroke) {
    const auto& [places, pen] = stroke;
    return "<polyline" + attribute("points", placesText(places)) + attribute("stroke", colourText(pen.colour)) +
           attribute("stroke-width", pen.width) +
           (pen.dash > 0.0 ? attribute("stroke-dasharray", pen.dash) : std::string()) + "/>";
}

std::string elementOf(const Dot& dot) {
    return "<circle" + attribute("cx", dot.centre.x) + attribute("cy", dot.centre.y) + attribute("r", dot.radius) +
           attribute("fill", colourText(dot.colour)) + "/>";
}

std::string elementOf(const Text& text) {
    const auto& [place, words, style] = text;
    std::string element = "<text" + attribute("x", place.x) + attribute("y", place.y) +
                          attribute("font-size", style.size) + attribute("fill", colourText(style.colour));
    if (style.anchor != Anchor::Start)
        element += attribute("text-anchor", style.anchor == Anchor::End ? "end" : "middle");
    if (style.isBold)
        element += attribute("font-weight", "bold");
    if (style.isUpright)
        element += attribute("transform", "rotate(-90 " + number(place.x) + ' ' + number(place.y) + ')');
    return element + '>' + markupText(words) + "</text>";
}

std::string elementOf(const PlacedPicture& placed) {
    const auto [width, height] = placed.picture.shape;
    return "<image" + attribute("x", placed.corner.x) + attribute("y", placed.corner.y) +
           attribute("width", width * placed.side) + attribute("height", height * placed.side) +
           attribute("preserveAspectRatio", "none") + attribute("style", "image-rendering:pixelated") +
           attribute("href", "data:image/png;base64," + base64Text(encodePng(placed.picture))) + "/>";
}

}  // namespace

std::string toSvg(const Drawing& drawing) {
    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\"" + attribute("width", drawing.width()) +
                      attribute("height", drawing.height()) +
                      attribute("viewBox", "0 0 " + number(drawing.width()) + ' ' + number(drawing.height())) +
                      " font-family=\"DejaVu Sans, Verdana, sans-serif\" fill=\"none\" stroke-linejoin=\"round\">\n" +
                      "<rect width=\"100%\" height=\"100%\"" + attribute("fill", colourText(drawing.paper())) + "/>\n";
    for (const Mark& mark : drawing.marks())
        svg += std::visit([](const auto& drawn) { return elementOf(drawn); }, mark) + '\n';
    return svg + "</svg>\n";
}

}  // namespace qx::tool
