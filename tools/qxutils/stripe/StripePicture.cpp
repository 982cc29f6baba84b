#include "stripe/StripePicture.h"

#include "picture/Preview.h"
#include "picture/Tiles.h"
#include "stripe/StripeCorrection.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qx::tool {
namespace {

constexpr int kScale = 6;
constexpr int kColumns = 48;
constexpr int kPlotWidth = 180;
constexpr int kPictureWidth = kColumns * kScale;
constexpr int kViewWidth = kPictureWidth + 8 + kPlotWidth;
constexpr Colour kTruth{95, 175, 255};
constexpr Colour kPlotPaper{38, 41, 47};

struct LevelRange {
    double low;
    double high;

    double shareOf(double level) const { return (level - low) / std::max(1.0, high - low); }
};

// A stretch of columns in the middle of the rows, each pixel a square.
GreyPicture enlarge(const RawImage& image, const Stretch& rows, const LevelRange& window) {
    const int columns = std::min(kColumns, image.shape.width);
    const Region middle{{(image.shape.width - columns) / 2, rows.first}, {columns, rows.length()}};
    const RawImage enlarged = fit(image, middle, {columns * kScale, rows.length() * kScale});
    return makePreview(enlarged, GreyWindow{window.low, window.high}, enlarged.shape.width);
}

void drawLevels(Canvas& canvas, Point corner, const std::vector<double>& levels, const LevelRange& range,
                Colour colour) {
    std::vector<Point> points;
    int y = corner.y + kScale / 2;
    for (const double level : levels) {
        const auto x = static_cast<int>(std::lround(range.shareOf(level) * (kPlotWidth - 8)));
        points.push_back({corner.x + 4 + x, y});
        y += kScale;
    }
    for (std::size_t i = 1; i < points.size(); ++i)
        canvas.drawLine(points[i - 1], points[i], 2, colour);
}

LevelRange rangeOf(const std::vector<std::vector<double>>& profiles) {
    LevelRange range{profiles.front().front(), profiles.front().front()};
    for (const std::vector<double>& profile : profiles) {
        const auto [low, high] = std::minmax_element(profile.begin(), profile.end());
        range = {std::min(range.low, *low), std::max(range.high, *high)};
    }
    const double margin = 0.1 * (range.high - range.low) + 20.0;
    return {range.low - margin, range.high + margin};
}

}  // namespace

Stretch stripeRows(const Shape& shape, int triggerLine) {
    constexpr int kAbove = 32;
    constexpr int kBelow = 16;
    return {std::max(0, triggerLine - kAbove), std::min(shape.height, triggerLine + kBelow)};
}

Canvas drawStripe(const std::vector<StripeView>& views, int triggerLine, const std::vector<double>& truth) {
    const Stretch rows = stripeRows(views.front().image.shape, triggerLine);
    std::vector<std::vector<double>> profiles;
    for (const StripeView& view : views)
        profiles.push_back(rowLevels(view.image, rows));
    const LevelRange range = rangeOf(profiles);
    const int height = rows.length() * kScale;
    const int count = static_cast<int>(views.size());
    Canvas canvas({count * (kViewWidth + kTileGap) + kTileGap, height + kTileTextHeight + kTileGap}, kTilePaper);
    Point corner{kTileGap, kTileGap};
    for (std::size_t i = 0; i < views.size(); ++i) {
        const auto& [image, caption, verdict, verdictColour] = views[i];
        const Point plot{corner.x + kPictureWidth + 8, corner.y};
        canvas.drawPicture(corner, enlarge(image, rows, range));
        canvas.fillRectangle(plot, {kPlotWidth, height}, kPlotPaper);
        const int triggerRow = plot.y + (triggerLine - rows.first) * kScale;
        canvas.fillRectangle({plot.x, triggerRow}, {kPlotWidth, 1}, kTileText);
        drawLevels(canvas, plot, profiles[i], range, kTileMark);
        drawLevels(canvas, plot, truth, range, kTruth);
        drawTileText(canvas, {corner.x, corner.y + height}, caption, verdict, verdictColour);
        corner.x += kViewWidth + kTileGap;
    }
    return canvas;
}

}  // namespace qx::tool
