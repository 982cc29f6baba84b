#include "defects/DefectMap.h"

#include "picture/Preview.h"
#include "picture/Tiles.h"

#include <algorithm>
#include <string>

namespace qx::tool {
namespace {

constexpr int kMaxMapWidth = 1024;
constexpr int kGap = 16;
constexpr Colour kPoint{255, 235, 120};
constexpr Colour kCluster{245, 105, 90};
constexpr Colour kRow{95, 175, 255};
constexpr Colour kColumn{110, 205, 120};

struct LegendEntry {
    std::string text;
    Colour colour;
};

std::vector<LegendEntry> legendOf(const DefectLists& lists) {
    const auto entry = [](const char* kind, std::size_t count, Colour colour) {
        return LegendEntry{kind + (" " + std::to_string(count)), colour};
    };
    return {entry("points", lists.points.size(), kPoint), entry("clusters", lists.clusters.size(), kCluster),
            entry("rows", lists.rows.size(), kRow), entry("columns", lists.columns.size(), kColumn)};
}

int legendWidth(const std::vector<LegendEntry>& legend) {
    int width = 0;
    for (const LegendEntry& entry : legend)
        width += textWidth(entry.text, kTileTextScale) + 2 * kGap;
    return width;
}

// Draws in pixels of the image onto the scaled map; a scaled mark takes two pixels so that it can be seen.
class Map {
public:
    Map(Canvas& canvas, const Shape& image, int scale)
        : canvas_(canvas), image_(image), scale_(scale),
          mark_(scale > 1 ? 2 : 1), shape_{(image.width + scale - 1) / scale, (image.height + scale - 1) / scale} {
        canvas_.fillRectangle({kGap, kGap}, shape_, {});
    }

    void addPoint(const Point& point, Colour colour) {
        if (isInside(point.x, image_.width) && isInside(point.y, image_.height))
            fill(point.x / scale_, point.y / scale_, mark_, mark_, colour);
    }
    void addRow(int row, Colour colour) {
        if (isInside(row, image_.height))
            fill(0, row / scale_, shape_.width, mark_, colour);
    }
    void addColumn(int column, Colour colour) {
        if (isInside(column, image_.width))
            fill(column / scale_, 0, mark_, shape_.height, colour);
    }

private:
    static bool isInside(int position, int side) { return position >= 0 && position < side; }

    void fill(int x, int y, int width, int height, Colour colour) {
        canvas_.fillRectangle({kGap + x, kGap + y},
                              {std::min(width, shape_.width - x), std::min(height, shape_.height - y)}, colour);
    }

    Canvas& canvas_;
    Shape image_;
    int scale_;
    int mark_;
    Shape shape_;
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

Canvas drawDefectMap(const DefectLists& lists) {
    const int scale = previewScale(lists.shape, kMaxMapWidth);
    const int width = (lists.shape.width + scale - 1) / scale;
    const int height = (lists.shape.height + scale - 1) / scale;
    const std::vector<LegendEntry> legend = legendOf(lists);
    Canvas canvas({std::max(width, legendWidth(legend)) + 2 * kGap, height + 3 * kGap + kTextHeight * kTileTextScale},
                  kTilePaper);
    Map map(canvas, lists.shape, scale);
    drawLists(map, lists);
    Point corner{kGap, height + 2 * kGap};
    for (const LegendEntry& entry : legend) {
        canvas.drawText(corner, entry.text, kTileTextScale, entry.colour);
        corner.x += textWidth(entry.text, kTileTextScale) + 2 * kGap;
    }
    return canvas;
}

}  // namespace qx::tool
