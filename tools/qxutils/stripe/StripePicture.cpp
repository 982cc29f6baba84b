#include "stripe/StripePicture.h"

#include "picture/Axes.h"
#include "picture/Look.h"
#include "picture/Preview.h"
#include "picture/Tiles.h"
#include "stripe/StripeCorrection.h"

#include <algorithm>
#include <cstddef>

namespace qx::tool {
namespace {

constexpr int kColumns = 48;
constexpr double kPixelSide = 5.0;
constexpr double kPixelsWidth = kColumns * kPixelSide;
constexpr double kPlotWidth = 190.0;
constexpr double kRowAxisWidth = 68.0;
constexpr double kColumnAxisHeight = 52.0;
constexpr double kTextHeight = 44.0;  // of caption and verdict above the pictures
constexpr double kPlotGap = 2.75 * kGap;
constexpr double kViewWidth = kRowAxisWidth + kPixelsWidth + kPlotGap + kPlotWidth;

struct LevelRange {
    double low;
    double high;
};

// A stretch of columns in the middle of the rows.
Region middleOf(const Shape& image, const Stretch& rows) {
    const int columns = std::min(kColumns, image.width);
    return {{(image.width - columns) / 2, rows.first}, {columns, rows.length()}};
}

// The levels of some rows, downwards as the rows of the picture beside them.
std::vector<DataPoint> pointsOf(const std::vector<double>& levels, const Stretch& rows) {
    std::vector<DataPoint> points;
    for (std::size_t i = 0; i < levels.size(); ++i)
        points.push_back({levels[i], rows.first + static_cast<double>(i) + 0.5});
    return points;
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

// Draws the parts of a view.
struct ViewPainter {
    Drawing& drawing;
    Stretch rows;
    int triggerLine;
    LevelRange range;
    double height;

    Axis rowAxis(bool isNumbered) const {
        return {.label = isNumbered ? "row" : "",
                .low = static_cast<double>(rows.first),
                .high = static_cast<double>(rows.end),
                .isReversed = true,
                .isNumbered = isNumbered};
    }

    void paintText(const StripeView& view, Place corner) const {
        drawing.drawText({corner.x, corner.y - kTextHeight + kTextSize}, view.caption,
                         {kInk, kTextSize, Anchor::Start, true});
        drawing.drawText({corner.x, corner.y - 0.7 * kTextSize}, view.verdict, {view.verdictColour, kTextSize});
    }

    // The axes come first: the pixels cover their grid.
    void paintPixels(const RawImage& image, Place corner) const {
        const Region middle = middleOf(image.shape, rows);
        const Box frame{corner.x, corner.y, middle.shape.width * kPixelSide, height};
        drawInside(drawing,
                   {"",
                    {.label = "column",
                     .low = static_cast<double>(middle.columns().first),
                     .high = static_cast<double>(middle.columns().end)},
                    rowAxis(true)},
                   frame);
        const GreyWindow window{range.low, range.high};
        drawing.drawPicture(corner, makePreview(fit(image, middle, middle.shape), window, middle.shape.width),
                            kPixelSide);
        drawGreyScale(drawing, {corner.x, corner.y + height + kColumnAxisHeight}, frame.width, scaleOf(window));
    }

    void paintLevels(const std::vector<double>& levels, const std::vector<double>& truth, Place corner) const {
        Plot plot{"", {.label = "median (counts)", .low = range.low, .high = range.high}, rowAxis(false)};
        plot.lines.push_back({"", kMarked, pointsOf(levels, rows), 2.0, 0.0, 2.2});
        plot.lines.push_back({"", kTrue, pointsOf(truth, rows), 1.5, 0.0, 0.0});
        const double trigger = triggerLine;
        plot.lines.push_back({"", kFaintInk, {{range.low, trigger}, {range.high, trigger}}, 1.0, 4.0, 0.0});
        drawInside(drawing, plot, {corner.x, corner.y, kPlotWidth, height});
        drawing.drawText({corner.x + 5.0, corner.y + (triggerLine - rows.first) * kPixelSide + kSmallText},
                         "trigger line", {kFaintInk, kSmallText});
        drawing.drawText({corner.x, corner.y - 0.5 * kSmallText - 1.3 * kSmallText}, "as in the image",
                         {kMarked, kSmallText});
        if (!truth.empty())
            drawing.drawText({corner.x, corner.y - 0.5 * kSmallText}, "without a stripe", {kTrue, kSmallText});
    }
};

}  // namespace

Stretch stripeRows(const Shape& shape, int triggerLine) {
    constexpr int kAbove = 32;
    constexpr int kBelow = 16;
    return {std::max(0, triggerLine - kAbove), std::min(shape.height, triggerLine + kBelow)};
}

Drawing drawStripe(const std::vector<StripeView>& views, int triggerLine, const std::vector<double>& truth) {
    const Stretch rows = stripeRows(views.front().image.shape, triggerLine);
    std::vector<std::vector<double>> profiles;
    for (const StripeView& view : views)
        profiles.push_back(rowLevels(view.image, rows));
    const double height = rows.length() * kPixelSide;
    const double top = kGap + kTitleSize + kGap + kTextHeight;
    Drawing drawing(static_cast<double>(views.size()) * (kViewWidth + kGap) + kGap,
                    top + height + kColumnAxisHeight + kGreyScaleHeight + kGap, kPaper);
    drawing.drawText({kGap, kGap + kTextSize}, "Rows around the trigger line, and the median of each row",
                     {kInk, kTitleSize, Anchor::Start, true});
    const ViewPainter painter{drawing, rows, triggerLine, rangeOf(profiles), height};
    Place corner{kGap + kRowAxisWidth, top};
    for (std::size_t i = 0; i < views.size(); ++i) {
        painter.paintText(views[i], corner);
        painter.paintPixels(views[i].image, corner);
        painter.paintLevels(profiles[i], truth, {corner.x + kPixelsWidth + kPlotGap, corner.y});
        corner.x += kViewWidth + kGap;
    }
    return drawing;
}

}  // namespace qx::tool
