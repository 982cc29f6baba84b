#include "stripe/StripePicture.h"

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
constexpr int kGap = 16;
constexpr int kPictureWidth = kColumns * kScale;
constexpr int kViewWidth = kPictureWidth + 8 + kPlotWidth;
constexpr int kCaptionHeight = 3 * (kTextHeight + 4) * kTileTextScale;
constexpr Colour kTruth{95, 175, 255};
constexpr Colour kPlotPaper{38, 41, 47};

struct LevelRange {
    double low;
    double high;

    double shareOf(double level) const { return (level - low) / std::max(1.0, high - low); }
};

// A stretch of columns in the middle of the rows, each pixel a square.
GreyPicture enlarge(const RawImage& image, const RowRange& rows, const LevelRange& window) {
    const int columns = std::min(kColumns, image.shape.width);
    const int firstColumn = (image.shape.width - columns) / 2;
    GreyPicture picture{{columns * kScale, (rows.end - rows.first) * kScale}, {}};
    for (int y = 0; y < picture.shape.height; ++y) {
        const WORD* const line =
            image.pixels.data() + std::ptrdiff_t{rows.first + y / kScale} * image.shape.width + firstColumn;
        for (int x = 0; x < picture.shape.width; ++x) {
            const double share = std::clamp(window.shareOf(line[x / kScale]), 0.0, 1.0);
            picture.pixels.push_back(static_cast<std::uint8_t>(std::lround(255.0 * share)));
        }
    }
    return picture;
}

void drawLevels(Canvas& canvas, Point corner, const std::vector<double>& levels, const LevelRange& range,
                Colour colour) {
    const auto pointOf = [&](std::size_t i) {
        const int x = static_cast<int>(std::lround(range.shareOf(levels[i]) * (kPlotWidth - 8)));
        return Point{corner.x + 4 + x, corner.y + static_cast<int>(i) * kScale + kScale / 2};
    };
    for (std::size_t i = 1; i < levels.size(); ++i)
        canvas.drawLine(pointOf(i - 1), pointOf(i), 2, colour);
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

RowRange stripeRows(const Shape& shape, int triggerLine) {
    constexpr int kAbove = 32;
    constexpr int kBelow = 16;
    return {std::max(0, triggerLine - kAbove), std::min(shape.height, triggerLine + kBelow)};
}

Canvas drawStripe(const std::vector<StripeView>& views, int triggerLine, const std::vector<double>& truth) {
    const RowRange rows = stripeRows(views.front().image.shape, triggerLine);
    std::vector<std::vector<double>> profiles;
    for (const StripeView& view : views)
        profiles.push_back(rowLevels(view.image, rows.first, rows.end));
    const LevelRange range = rangeOf(profiles);
    const int height = (rows.end - rows.first) * kScale;
    Canvas canvas({static_cast<int>(views.size()) * (kViewWidth + kGap) + kGap, height + kCaptionHeight + kGap},
                  kTilePaper);
    for (std::size_t i = 0; i < views.size(); ++i) {
        const Point corner{kGap + static_cast<int>(i) * (kViewWidth + kGap), kGap};
        const Point plot{corner.x + kPictureWidth + 8, corner.y};
        canvas.drawPicture(corner, enlarge(views[i].image, rows, range));
        canvas.fillRectangle(plot, kPlotWidth, height, kPlotPaper);
        const int triggerRow = plot.y + (triggerLine - rows.first) * kScale;
        canvas.fillRectangle({plot.x, triggerRow}, kPlotWidth, 1, kTileText);
        drawLevels(canvas, plot, profiles[i], range, kTileMark);
        drawLevels(canvas, plot, truth, range, kTruth);
        const int captionRow = corner.y + height + 8;
        canvas.drawText({corner.x, captionRow}, views[i].caption, kTileTextScale, kTileText);
        canvas.drawText({corner.x, captionRow + (kTextHeight + 3) * kTileTextScale}, views[i].verdict, kTileTextScale,
                        views[i].verdictColour);
    }
    return canvas;
}

}  // namespace qx::tool
