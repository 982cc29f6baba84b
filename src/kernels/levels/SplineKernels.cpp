#include "kernels/SplineKernels.h"
#include "kernels/levels/VectorLanes.h"

namespace qx {
namespace {

constexpr int kLineVectors = kSplineLines / kLanes;

// The values of all lines at one position.
struct Lines {
    Floats at[kLineVectors];

    static Lines load(const float* values) {
        Lines lines;
        for (int v = 0; v < kLineVectors; ++v)
            lines.at[v] = loadFloats(values + v * kLanes);
        return lines;
    }

    void storeTo(float* values) const {
        for (int v = 0; v < kLineVectors; ++v)
            store(values + v * kLanes, at[v]);
    }
};

// Position i of the lines of knots or what belongs to them.
template <class Value>
Value* place(Value* values, int i) {
    return values + static_cast<std::ptrdiff_t>(i) * kSplineLines;
}

// A square of kLanes x kLanes values, columns to rows.
void transposeSquare(const Floats* columns, float* rows, std::ptrdiff_t stride) {
    Floats square[kLanes];
    transposeLanes(columns, square);
    for (int i = 0; i < kLanes; ++i)
        store(rows + i * stride, square[i]);
}

constexpr int kPixelsAhead = 128;

// The first kLanes pixels of kLanes rows as knots.
void loadSquare(const std::uint16_t* rows, std::ptrdiff_t stride, float* knots) {
    Floats pixels[kLanes];
    for (int i = 0; i < kLanes; ++i) {
        pixels[i] = toFloats(loadPixels(rows + i * stride));
        // The processor does not follow so many rows at a time.
        fetchFrom(rows + i * stride, kPixelsAhead * static_cast<std::ptrdiff_t>(sizeof *rows));
    }
    transposeSquare(pixels, knots, kSplineLines);
}

// The same at the edges: what lacks to kLanes rows is 0.
void loadPart(const std::uint16_t* rows, std::ptrdiff_t stride, int lines, int columns, float* knots) {
    for (int i = 0; i < columns; ++i)
        for (int lane = 0; lane < kLanes; ++lane)
            place(knots, i)[lane] = lane < lines ? static_cast<float>(rows[lane * stride + i]) : 0.0f;
}

void loadKnots(const std::uint16_t* rows, std::ptrdiff_t stride, int lines, int columns, float* knots) noexcept {
    for (int x = 0; x < columns; x += columns - x < kLanes ? columns - x : kLanes) {
        for (int line = 0; line < kSplineLines; line += kLanes) {
            const int present = line < lines ? lines - line : 0;
            const std::uint16_t* const first = present > 0 ? rows + line * stride + x : rows;
            if (present >= kLanes && columns - x >= kLanes)
                loadSquare(first, stride, place(knots, x) + line);
            else
                loadPart(first, stride, present, columns - x < kLanes ? columns - x : kLanes, place(knots, x) + line);
        }
    }
}

void eliminate(const float* knots, const SplineStep* steps, int count, float* state, float* eliminated) noexcept {
    Lines solved = Lines::load(state);
    Lines before = Lines::load(knots);
    Lines here = Lines::load(place(knots, 1));
    for (int i = 0; i < count; ++i) {
        const Lines next = Lines::load(place(knots, i + 2));
        for (int v = 0; v < kLineVectors; ++v) {
            const Floats bend = 6.0f * (next.at[v] - 2.0f * here.at[v] + before.at[v]);
            solved.at[v] = (bend - solved.at[v]) / steps[i].pivot;
        }
        solved.storeTo(place(eliminated, i));
        before = here;
        here = next;
    }
    solved.storeTo(state);
}

void substitute(float* eliminated, const SplineStep* steps, int count, float* state) noexcept {
    Lines behind = Lines::load(state);
    for (int i = count - 1; i >= 0; --i) {
        const Lines here = Lines::load(place(eliminated, i));
        for (int v = 0; v < kLineVectors; ++v)
            behind.at[v] = steps[i].reduced * behind.at[v] + here.at[v];
        behind.storeTo(place(eliminated, i));
    }
    behind.storeTo(state);
}

[[gnu::always_inline]] inline Lines valueAt(const SplineLines& lines, const SplinePoint& point) {
    const float* const knots = place(lines.knots, point.knot - lines.first);
    const float* const curvatures = place(lines.curvatures, point.knot - lines.first);
    const Lines here = Lines::load(knots);
    const Lines next = Lines::load(place(knots, 1));
    const Lines bend = Lines::load(curvatures);
    const Lines nextBend = Lines::load(place(curvatures, 1));
    Lines value;
    for (int v = 0; v < kLineVectors; ++v) {
        const Floats straight = point.weights[0] * here.at[v] + point.weights[1] * next.at[v];
        const Floats bent = point.curvatureWeights[0] * bend.at[v] + point.curvatureWeights[1] * nextBend.at[v];
        value.at[v] = straight + bent / 6.0f;
    }
    return value;
}

void values(const SplineLines& lines, const SplinePoint* points, int count, float* values) noexcept {
    for (int first = 0; first < kSplineLines; first += kLanes) {
        Lines square[kLanes];
        for (int i = 0; i < kLanes; ++i)
            square[i] = first + i < count ? valueAt(lines, points[first + i]) : Lines{};
        for (int v = 0; v < kLineVectors; ++v) {
            Floats columns[kLanes];
            for (int i = 0; i < kLanes; ++i)
                columns[i] = square[i].at[v];
            transposeSquare(columns, place(values, v * kLanes) + first, kSplineLines);
        }
    }
}

// Kept: a sum of exactly 0 is no more inside than one from 65535 on, or one that is not a number.
Ints pixelsOf(Floats values) {
    const Floats sum = values + 0.5f;
    const Ints inside = (sum > 0.0f) & (sum < 65535.0f);
    const Floats outside = sum < 0.0f ? Floats{} : Floats{} + 65535.0f;
    return __builtin_convertvector(inside ? sum : outside, Ints);
}

void pixels(const SplineLines& lines, const SplinePoint* points, int count, int width, std::uint16_t* rows,
            std::ptrdiff_t stride) noexcept {
    for (int i = 0; i < count; ++i) {
        const Lines value = valueAt(lines, points[i]);
        std::uint16_t ofLines[kSplineLines];
        std::uint16_t* const row = rows + i * stride;
        std::uint16_t* const target = width == kSplineLines ? row : ofLines;
        for (int v = 0; v < kLineVectors; v += 2)
            storePixels(target + v * kLanes, pixelsOf(value.at[v]), pixelsOf(value.at[v + 1]));
        if (target != row)
            __builtin_memcpy(row, ofLines, static_cast<std::size_t>(width) * sizeof *row);
    }
}

}  // namespace

QX_TABLE_OF_LEVEL(SplineKernels) = {loadKnots, eliminate, substitute, values, pixels};

}  // namespace qx
