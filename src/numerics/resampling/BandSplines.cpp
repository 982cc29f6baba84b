#include "numerics/resampling/BandSplines.h"

#include "foundation/Panels.h"

#include <algorithm>
#include <array>

namespace qx {
namespace {

using LineState = std::array<float, kSplineLines>;

// No second derivative is as large: along the rows they reach 12 times the largest value, counted from the middle of
// all pixels, which takes values an eighth of that beyond the pixels; down the columns they reach 12 times as much as
// these.
constexpr float kBound = 1 << 22;

LineState everyLine(float value) noexcept {
    LineState state;
    state.fill(value);
    return state;
}

void clearPlace(float* lines, std::int64_t place) noexcept {
    std::fill_n(lines + place, kSplineLines, 0.0f);
}

// Rows that may be open below a band, the band itself, and room behind it.
int rowsOfWindow(int rows) noexcept {
    return (rows > kSplineLines ? kSplineLines + 1 : 0) + kSplineLines + 1;
}

}  // namespace

BandSplines::BandSplines(ImageView<const std::uint16_t> in, const SplineSpacing& alongRows,
                         const SplineSpacing& downColumns)
    : in_(in), alongRows_(alongRows), downColumns_(downColumns), windowRows_(rowsOfWindow(in.height)),
      knots_(lineValues(std::int64_t{in.width} + 1)), curvatures_(lineValues(std::int64_t{in.width} + 1)),
      windows_(2 * lineValues(std::int64_t{windowRows_} * lineGroups(alongRows.points()))),
      solved_(lineValues(windowRows_)), others_(lineValues(windowRows_)) {}

bool BandSplines::resample(ImageView<std::uint16_t> out) noexcept {
    Band band{};
    do {
        band = bandAfter(band);
        eliminateRows(band);
        int solved = alongRows_.lastKnot();
        for (int x = (out.width - 1) / kSplineLines * kSplineLines; x >= 0; x -= kSplineLines) {
            solved = substituteRows(solved, x);
            if (!resamplePanel(band, x, out))
                return false;
        }
    } while (!band.isLast);
    return true;
}

BandSplines::Band BandSplines::bandAfter(const Band& before) const noexcept {
    Band band;
    band.top = std::max(before.end, 0);
    band.first = before.bottom;
    band.bottom = std::min(band.first + kSplineLines, in_.height);
    band.isLast = band.bottom == in_.height;
    band.end = band.isLast ? in_.height : band.first - 1;
    band.firstPoint = before.firstPoint + before.points;
    band.points = 0;
    for (int i = band.firstPoint; i < downColumns_.points() && downColumns_.point(i)->knot < band.end; ++i)
        ++band.points;
    return band;
}

void BandSplines::eliminateRows(const Band& band) noexcept {
    const SplineKernels& kernels = splineKernels();
    LineState state{};
    int eliminated = 1;
    forPanels(in_.width, kSplineLines, [&](int x, int columns) {
        kernels.loadKnots(in_.row(band.first) + x, in_.width, band.bottom - band.first, columns,
                          knots_.data() + lineValues(x));
        const int count = x + columns - 1 - eliminated;
        if (count <= 0)
            return;
        kernels.eliminate(knots_.data() + lineValues(eliminated - 1), alongRows_.step(eliminated), count, state.data(),
                          curvatures_.data() + lineValues(eliminated));
        eliminated += count;
    });
    clearPlace(knots_.data(), lineValues(in_.width));
    for (const int knot : {0, in_.width - 1, in_.width})
        clearPlace(curvatures_.data(), lineValues(knot));
    state_.fill(0.0f);
}

// Takes the second derivatives along the rows from the solved ones up to those that output column x needs.
int BandSplines::substituteRows(int solved, int x) noexcept {
    const int lowest = std::max(alongRows_.point(x)->knot, 1);
    if (solved <= lowest)
        return solved;
    float* const first = curvatures_.data() + lineValues(lowest);
    splineKernels().substitute(first, alongRows_.step(lowest), solved - lowest, state_.data(), first);
    return lowest;
}

bool BandSplines::resamplePanel(const Band& band, int x, ImageView<std::uint16_t> out) noexcept {
    float* const rows = windows_.data() + 2 * lineValues(std::int64_t{windowRows_} * (x / kSplineLines));
    float* const eliminated = rows + lineValues(windowRows_);
    const int columns = std::min(kSplineLines, out.width - x);
    const SplineKernels& kernels = splineKernels();
    kernels.values({knots_.data(), curvatures_.data(), 0}, alongRows_.point(x), columns, rows + band.place(band.first));
    eliminateColumns(band, rows, eliminated);
    if (band.points > 0) {
        const bool certain = substituteColumns(band, rows, eliminated);
        const SplineLines lines = {rows, solved_.data(), band.top};
        const SplinePoint* const points = downColumns_.point(band.firstPoint);
        std::uint16_t* const pixels = out.row(band.firstPoint) + x;
        if (certain)
            kernels.pixels(lines, points, band.points, columns, pixels, out.width);
        else if (!kernels.pixelsBetween(lines, others_.data(), points, band.points, columns, pixels, out.width))
            return false;
    }
    keepOpenRows(band, rows, eliminated);
    return true;
}

// Eliminates from the row before the band to the one before its last.
void BandSplines::eliminateColumns(const Band& band, const float* rows, float* eliminated) const noexcept {
    const int first = std::max(band.first - 1, 1);
    const int count = band.bottom - 1 - first;
    if (count <= 0)
        return;
    LineState state{};
    if (first > 1)
        std::copy_n(eliminated + band.place(first - 1), kSplineLines, state.data());
    splineKernels().eliminate(rows + band.place(first - 1), downColumns_.step(first), count, state.data(),
                              eliminated + band.place(first));
}

// Whether the second derivatives are certain; otherwise they lie between the solved ones and the others.
bool BandSplines::substituteColumns(const Band& band, float* rows, const float* eliminated) noexcept {
    if (band.isLast) {
        for (float* const lines : {rows, solved_.data()})
            clearPlace(lines, band.place(in_.height));
        substituteColumnsFrom(band.end - 1, everyLine(0.0f), band, eliminated, solved_.data());
        return true;
    }
    LineState lower = everyLine(-kBound);
    LineState upper = everyLine(kBound);
    const bool certain = splineKernels().substituteBoth(eliminated + band.place(band.end), downColumns_.step(band.end),
                                                        kSplineLines, lower.data(), upper.data());
    substituteColumnsFrom(band.end, lower, band, eliminated, solved_.data());
    if (!certain)
        substituteColumnsFrom(band.end, upper, band, eliminated, others_.data());
    return certain;
}

// From the row whose second derivative is the state up to the top.
void BandSplines::substituteColumnsFrom(int row, LineState state, const Band& band, const float* eliminated,
                                        float* solved) const noexcept {
    const int first = std::max(band.top, 1);
    std::copy_n(state.data(), kSplineLines, solved + band.place(row));
    if (row > first)
        splineKernels().substitute(eliminated + band.place(first), downColumns_.step(first), row - first, state.data(),
                                   solved + band.place(first));
    if (band.top == 0)
        clearPlace(solved, 0);
}

void BandSplines::keepOpenRows(const Band& band, float* rows, float* eliminated) const noexcept {
    const int top = std::max(band.end, 0);
    if (band.isLast || top == band.top)
        return;
    for (float* const lines : {rows, eliminated})
        std::copy(lines + band.place(top), lines + band.place(band.bottom), lines);
}

}  // namespace qx
