#include "picture/Drawing.h"

#include <cmath>
#include <numbers>

namespace qx::tool {

void Drawing::fillBox(const Box& box, Colour colour) {
    fillArea({{box.x, box.y}, {box.right(), box.y}, {box.right(), box.bottom()}, {box.x, box.bottom()}}, colour);
}

void Drawing::outlineBox(const Box& box, const Pen& pen) {
    const double half = pen.width / 2.0;
    // Each side ends where the next one's outer edge runs.
    drawLine({{box.x - half, box.y}, {box.right() + half, box.y}}, pen);
    drawLine({{box.right(), box.y + half}, {box.right(), box.bottom() - half}}, pen);
    drawLine({{box.right() + half, box.bottom()}, {box.x - half, box.bottom()}}, pen);
    drawLine({{box.x, box.bottom() - half}, {box.x, box.y + half}}, pen);
}

void Drawing::drawRing(Place centre, double radius, const Pen& pen) {
    constexpr int kCorners = 32;
    std::vector<Place> places;
    for (int corner = 0; corner <= kCorners; ++corner) {
        const double angle = 2.0 * std::numbers::pi * corner / kCorners;
        places.push_back({centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle)});
    }
    drawLine(std::move(places), pen);
}

}  // namespace qx::tool
