#include "snr/SnrPlot.h"

#include "common/TextTable.h"

#include <algorithm>
#include <cmath>

namespace qx::tool {
namespace {

constexpr Colour kPaper{255, 255, 255};
constexpr Colour kInk{40, 40, 40};
constexpr Colour kGrid{222, 222, 222};

constexpr int kWidth = 1024;
constexpr int kTextScale = 2;
constexpr int kLineHeight = (kTextHeight + 3) * kTextScale;
constexpr Point kPlotCorner{80, 60};
constexpr int kPlotWidth = kWidth - kPlotCorner.x - 40;
constexpr int kPlotHeight = 440;
constexpr int kPlotBottom = kPlotCorner.y + kPlotHeight;
constexpr int kLegendTop = kPlotBottom + 2 * kLineHeight + 16;
constexpr int kLegendColumns = 2;

constexpr float kHighestShare = 1.2f;
constexpr int kGridPercent = 20;

int columnOf(std::size_t square, std::size_t squares) {
    return kPlotCorner.x + static_cast<int>(static_cast<std::size_t>(kPlotWidth) * square / (squares - 1));
}

int rowOf(float share) {
    const float shown = std::isfinite(share) ? std::clamp(share, 0.0f, kHighestShare) : kHighestShare;
    return kPlotBottom - static_cast<int>(std::lround(shown / kHighestShare * static_cast<float>(kPlotHeight)));
}

void drawGrid(Canvas& canvas, const std::vector<int>& sides) {
    for (int percent = 0; percent <= std::lround(kHighestShare * 100); percent += kGridPercent) {
        const int row = rowOf(static_cast<float>(percent) / 100.0f);
        const std::string label = std::to_string(percent) + "%";
        canvas.fillRectangle({kPlotCorner.x, row}, {kPlotWidth, 1}, kGrid);
        canvas.drawText({kPlotCorner.x - 10 - textWidth(label, kTextScale), row - kTextHeight}, label, kTextScale,
                        kInk);
    }
    for (std::size_t square = 0; square < sides.size(); ++square) {
        const int column = columnOf(square, sides.size());
        const std::string label = std::to_string(sides[square]);
        canvas.fillRectangle({column, kPlotCorner.y}, {1, kPlotHeight}, kGrid);
        canvas.drawText({column - textWidth(label, kTextScale) / 2, kPlotBottom + 10}, label, kTextScale, kInk);
    }
}

void drawSeries(Canvas& canvas, const PlotLine& line) {
    const std::size_t squares = line.shares.size();
    for (std::size_t square = 0; square < squares; ++square) {
        const Point here{columnOf(square, squares), rowOf(line.shares[square])};
        if (square > 0)
            canvas.drawLine({columnOf(square - 1, squares), rowOf(line.shares[square - 1])}, here, 3, line.colour);
        canvas.drawDot(here, 5, line.colour);
    }
}

void drawLegend(Canvas& canvas, const std::vector<PlotLine>& lines) {
    for (std::size_t index = 0; index < lines.size(); ++index) {
        const int column = static_cast<int>(index % kLegendColumns);
        const int row = static_cast<int>(index / kLegendColumns);
        const Point corner{kPlotCorner.x + column * kPlotWidth / kLegendColumns, kLegendTop + row * kLineHeight};
        canvas.fillRectangle({corner.x, corner.y + 5}, {30, 6}, lines[index].colour);
        canvas.drawText({corner.x + 42, corner.y}, lines[index].label, kTextScale, kInk);
    }
}

}  // namespace

Canvas drawSnrPlot(const std::vector<int>& sides, const std::vector<PlotLine>& lines) {
    const int legendRows = (static_cast<int>(lines.size()) + kLegendColumns - 1) / kLegendColumns;
    Canvas canvas({kWidth, kLegendTop + legendRows * kLineHeight + 10}, kPaper);
    canvas.drawText({kPlotCorner.x, 20}, "SNR as a share of the factory's, made equal on the smallest square",
                    kTextScale, kInk);
    drawGrid(canvas, sides);
    for (const PlotLine& line : lines)
        drawSeries(canvas, line);
    canvas.drawText({kPlotCorner.x, kPlotBottom + 10 + kLineHeight}, "side of the square, pixels", kTextScale, kInk);
    drawLegend(canvas, lines);
    return canvas;
}

}  // namespace qx::tool
