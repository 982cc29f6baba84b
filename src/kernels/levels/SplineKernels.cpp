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

[[gnu::always_inline]] inline Lines substituted(const SplineStep& step, const Lines& behind, const Lines& eliminated) {
    Lines solved;
    for (int v = 0; v < kLineVectors; ++v)
        solved.at[v] = step.reduced * behind.at[v] + eliminated.at[v];
    return solved;
}

void substitute(const float* eliminated, const SplineStep* steps, int count, float* state, float* curvatures) noexcept {
    Lines behind = Lines::load(state);
    for (int i = count - 1; i >= 0; --i) {
        behind = substituted(steps[i], behind, Lines::load(place(eliminated, i)));
        behind.storeTo(place(curvatures, i));
    }
    behind.storeTo(state);
}

bool anyDifference(const Lines& one, const Lines& other) {
    Ints different = Ints(one.at[0]) ^ Ints(other.at[0]);
    for (int v = 1; v < kLineVectors; ++v)
        different |= Ints(one.at[v]) ^ Ints(other.at[v]);
    return anyLane(different != 0);
}

bool substituteBoth(const float* eliminated, const SplineStep* steps, int count, float* one, float* other) noexcept {
    Lines first = Lines::load(one);
    Lines second = Lines::load(other);
    for (int i = count - 1; i >= 0; --i) {
        const Lines here = Lines::load(place(eliminated, i));
        first = substituted(steps[i], first, here);
        second = substituted(steps[i], second, here);
    }
    first.storeTo(one);
    second.storeTo(other);
    return !anyDifference(first, second);
}

[[gnu::always_inline]] inline Lines valueAt(const float* knots, const Lines& bend, const Lines& nextBend,
                                            const SplinePoint& point) {
    const Lines here = Lines::load(knots);
    const Lines next = Lines::load(place(knots, 1));
    Lines value;
    for (int v = 0; v < kLineVectors; ++v) {
        const Floats straight = point.weights[0] * here.at[v] + point.weights[1] * next.at[v];
        const Floats bent = point.curvatureWeights[0] * bend.at[v] + point.curvatureWeights[1] * nextBend.at[v];
        value.at[v] = straight + bent / 6.0f;
    }
    return value;
}

[[gnu::always_inline]] inline Lines valueAt(const SplineLines& lines, const SplinePoint& point) {
    const float* const curvatures = place(lines.curvatures, point.knot - lines.first);
    return valueAt(place(lines.knots, point.knot - lines.first), Lines::load(curvatures),
                   Lines::load(place(curvatures, 1)), point);
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

constexpr int kPixelsBefore = 64;

// The first `width` lines as pixels of a row.
[[gnu::always_inline]] inline void storeRow(std::uint16_t* row, const Lines& value, int width) {
    // A sweep goes on to the left of this, in all rows.
    fetchFrom(row, -kPixelsBefore * static_cast<std::ptrdiff_t>(sizeof *row));
    std::uint16_t ofLines[kSplineLines];
    std::uint16_t* const target = width == kSplineLines ? row : ofLines;
    for (int v = 0; v < kLineVectors; v += 2)
        storePixels(target + v * kLanes, pixelsOf(value.at[v]), pixelsOf(value.at[v + 1]));
    if (target != row)
        __builtin_memcpy(row, ofLines, static_cast<std::size_t>(width) * sizeof *row);
}

void pixels(const SplineLines& lines, const SplinePoint* points, int count, int width, std::uint16_t* rows,
            std::ptrdiff_t stride) noexcept {
    for (int i = 0; i < count; ++i)
        storeRow(rows + i * stride, valueAt(lines, points[i]), width);
}

// Whether a pixel depends on which value it is between the two: only a sum of exactly 0 is no pixel between those of
// its neighbours.
bool anyPixelOpen(const Lines& lower, const Lines& upper) {
    Ints open = {};
    for (int v = 0; v < kLineVectors; ++v) {
        const Floats low = lower.at[v] + 0.5f;
        const Floats high = upper.at[v] + 0.5f;
        open |= pixelsOf(lower.at[v]) != pixelsOf(upper.at[v]);
        open |= ((low > 0.0f) != (high > 0.0f)) | ((low < 0.0f) != (high < 0.0f));
    }
    return anyLane(open);
}

// The smaller or the larger ones of what both hold at a knot.
Lines smaller(const Lines& one, const Lines& other) {
    Lines result;
    for (int v = 0; v < kLineVectors; ++v)
        result.at[v] = one.at[v] < other.at[v] ? one.at[v] : other.at[v];
    return result;
}
Lines larger(const Lines& one, const Lines& other) {
    Lines result;
    for (int v = 0; v < kLineVectors; ++v)
        result.at[v] = one.at[v] < other.at[v] ? other.at[v] : one.at[v];
    return result;
}

// A value falls where a second derivative rises, and so does it as rounded.
bool pixelsBetween(const SplineLines& lines, const float* others, const SplinePoint* points, int count, int width,
                   std::uint16_t* rows, std::ptrdiff_t stride) noexcept {
    for (int i = 0; i < count; ++i) {
        const int at = points[i].knot - lines.first;
        const float* const knots = place(lines.knots, at);
        const Lines one = Lines::load(place(lines.curvatures, at));
        const Lines other = Lines::load(place(others, at));
        const Lines nextOne = Lines::load(place(lines.curvatures, at + 1));
        const Lines nextOther = Lines::load(place(others, at + 1));
        const Lines upper = valueAt(knots, smaller(one, other), smaller(nextOne, nextOther), points[i]);
        const Lines lower = valueAt(knots, larger(one, other), larger(nextOne, nextOther), points[i]);
        if (anyPixelOpen(lower, upper))
            return false;
        storeRow(rows + i * stride, lower, width);
    }
    return true;
}

}  // namespace

QX_TABLE_OF_LEVEL(SplineKernels) = {loadKnots, eliminate, substitute, substituteBoth, values, pixels, pixelsBetween};

}  // namespace qx
