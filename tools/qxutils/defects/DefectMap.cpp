#include "defects/DefectMap.h"

#include "picture/Axes.h"
#include "picture/Font.h"
#include "picture/Look.h"

#include <algorithm>
#include <string>

namespace qx::tool {
namespace {

constexpr int kMaxMapSide = 1024;
constexpr double kLeft = 84.0;
constexpr double kTop = 72.0;
constexpr double kBelow = 64.0;
constexpr double kLegendSwatch = 12.0;
constexpr Colour kPoint = kInk;
constexpr Colour kCluster = kNotPassed;
constexpr Colour kRow = kTrue;
constexpr Colour kColumn = kPassed;

struct LegendEntry {
    std::string text;
    Colour colour;

    double width() const { return kLegendSwatch + 6.0 + textWidth(text, kTextSize) + 1.5 * kGap; }
};

std::vector<LegendEntry> legendOf(const DefectLists& lists) {
    const auto entry = [](const char* kind, std::size_t count, Colour colour) {
        return LegendEntry{std::to_string(count) + ' ' + kind, colour};
    };
    return {entry("points", lists.points.size(), kPoint), entry("clusters", lists.clusters.size(), kCluster),
            entry("rows", lists.rows.size(), kRow), entry("columns", lists.columns.size(), kColumn)};
}

double legendWidth(const std::vector<LegendEntry>& legend) {
    double width = 0.0;
    for (const LegendEntry& entry : legend)
        width += entry.width();
    return width;
}

void drawLegend(Drawing& drawing, const std::vector<LegendEntry>& legend) {
    Place foot{kLeft, kTop - kGap};
    for (const LegendEntry& entry : legend) {
        drawing.fillBox({foot.x, foot.y - kLegendSwatch + 1.0, kLegendSwatch, kLegendSwatch}, entry.colour);
        drawing.drawText({foot.x + kLegendSwatch + 6.0, foot.y}, entry.text, {entry.colour, kTextSize});
        foot.x += entry.width();
    }
}

// Draws in pixels of the image onto the scaled map; a mark takes two logical pixels at least so that it can be seen.
class Map {
public:
    Map(Drawing& drawing, const Shape& image, const Box& frame)
        : drawing_(drawing), image_(image), frame_(frame), scale_(frame.width / image.width) {}

    void addPoint(const Point& point, Colour colour) {
        if (isInside(point.x, image_.width) && isInside(point.y, image_.height))
            fill(point.x, point.y, 1, 1, colour);
    }
    void addRow(int row, Colour colour) {
        if (isInside(row, image_.height))
            fill(0, row, image_.width, 1, colour);
    }
    void addColumn(int column, Colour colour) {
        if (isInside(column, image_.width))
            fill(column, 0, 1, image_.height, colour);
    }

private:
    static bool isInside(int position, int side) { return position >= 0 && position < side; }

    void fill(int x, int y, int width, int height, Colour colour) {
        constexpr double kLeast = 2.0;
        drawing_.fillBox({frame_.x + x * scale_, frame_.y + y * scale_, std::max(kLeast, width * scale_),
                          std::max(kLeast, height * scale_)},
                         colour);
    }

    Drawing& drawing_;
    Shape image_;
    Box frame_;
    double scale_;
};

void drawLists(Map& map, const DefectLists& lists) {
    for (const int row : lists.rows)
        map.addRow(row, kRow);
    for (const int column : lists.columns)
        map.addColumn(column, kColumn);
    for (const std::vector<Point>& cluster : lists.clusters) {
        for (const Point& point : cluster)
            map.addPoint(point, kCluster);
    }
    for (const Point& point : lists.points)
        map.addPoint(point, kPoint);
}

}  // namespace

Drawing drawDefectMap(const DefectLists& lists) {
    const auto [width, height] = lists.shape;
    const double scale = 1.0 / previewScale({std::max(width, height), 1}, kMaxMapSide);
    const Box frame{kLeft, kTop, width * scale, height * scale};
    const std::vector<LegendEntry> legend = legendOf(lists);
    Drawing drawing(kLeft + std::max(frame.width, legendWidth(legend)) + 2.0 * kGap, frame.bottom() + kBelow, kPaper);
    drawing.drawText({kLeft, kGap + kTitleSize}, "Defects of an image of " + toText(lists.shape) + " pixels",
                     {kInk, kTitleSize, Anchor::Start, true});
    drawInside(drawing,
               {"",
                {.label = "column", .low = 0.0, .high = static_cast<double>(width)},
                {.label = "row", .low = 0.0, .high = static_cast<double>(height), .isReversed = true}},
               frame);
    drawLegend(drawing, legend);
    Map map(drawing, lists.shape, frame);
    drawLists(map, lists);
    return drawing;
}

}  // namespace qx::tool
