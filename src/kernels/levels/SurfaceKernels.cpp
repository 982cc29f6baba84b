#include "kernels/SurfaceKernels.h"
#include "kernels/levels/VectorLanes.h"

namespace qx {
namespace {

// Lanes of a sum, so many at every level that all add in the same order.
constexpr int kSumLanes = 8;
constexpr int kDoubles = kLanes / 2;
constexpr int kVectors = kSumLanes / kDoubles;

Doubles loadDoubles(const double* values) {
    Doubles v;
    __builtin_memcpy(&v, values, sizeof v);
    return v;
}

Doubles magnitudeOf(Doubles v) {
    typedef std::int64_t Longs __attribute__((vector_size(kVectorBytes)));
    return Doubles(Longs(v) & INT64_MAX);
}

double magnitudeOf(double value) {
    return __builtin_fabs(value);
}

using ::largerOf;
double largerOf(double a, double b) {
    return a > b ? a : b;
}

double sumOf(const double* lanes) {
    return ((lanes[0] + lanes[4]) + (lanes[2] + lanes[6])) + ((lanes[1] + lanes[5]) + (lanes[3] + lanes[7]));
}

void rowProducts(const float* z, int count, double base, const double* const* factors, double* sums) noexcept {
    Doubles running[1 + kRowFactors][kVectors] = {};
    int c = 0;
    for (; c <= count - kSumLanes; c += kSumLanes) {
        fetchAhead(z + c);
        for (int v = 0; v < kVectors; ++v) {
            const int at = c + v * kDoubles;
            const Doubles value = loadAsDoubles(z + at) - base;
            running[0][v] += value;
            for (int j = 0; j < kRowFactors; ++j)
                running[1 + j][v] += value * loadDoubles(factors[j] + at);
        }
    }
    double lanes[1 + kRowFactors][kSumLanes];
    __builtin_memcpy(lanes, running, sizeof lanes);
    for (int lane = 0; c < count; ++c, ++lane) {
        const double value = double{z[c]} - base;
        lanes[0][lane] += value;
        for (int j = 0; j < kRowFactors; ++j)
            lanes[1 + j][lane] += value * factors[j][c];
    }
    for (int j = 0; j <= kRowFactors; ++j)
        sums[j] = sumOf(lanes[j]);
}

// Running sums of a vector of lanes, or of one.
template <class Value>
struct RunningResiduals {
    Value squares{};
    Value magnitudes{};
    Value largest{};

    void add(Value sample, Value offset, const RowQuadratic& q) {
        const Value residual = q.c0 + (q.c1 + q.c2 * offset) * offset - sample;
        const Value magnitude = magnitudeOf(residual);
        squares += residual * residual;
        magnitudes += magnitude;
        largest = largerOf(magnitude, largest);
    }
};

void addResiduals(const float* z, const double* offsets, int count, const RowQuadratic& fit,
                  ResidualSums& sums) noexcept {
    RunningResiduals<Doubles> running[kVectors];
    int c = 0;
    for (; c <= count - kSumLanes; c += kSumLanes) {
        fetchAhead(z + c);
        for (int v = 0; v < kVectors; ++v) {
            const int at = c + v * kDoubles;
            running[v].add(loadAsDoubles(z + at), loadDoubles(offsets + at), fit);
        }
    }
    double squares[kSumLanes];
    double magnitudes[kSumLanes];
    for (int lane = 0; lane < kSumLanes; ++lane) {
        const RunningResiduals<Doubles>& vector = running[lane / kDoubles];
        RunningResiduals<double> ofLane{vector.squares[lane % kDoubles], vector.magnitudes[lane % kDoubles],
                                        vector.largest[lane % kDoubles]};
        if (c + lane < count)
            ofLane.add(double{z[c + lane]}, offsets[c + lane], fit);
        squares[lane] = ofLane.squares;
        magnitudes[lane] = ofLane.magnitudes;
        sums.largest = largerOf(ofLane.largest, sums.largest);
    }
    sums.squares += sumOf(squares);
    sums.magnitudes += sumOf(magnitudes);
}

}  // namespace

QX_TABLE_OF_LEVEL(SurfaceKernels) = {rowProducts, addResiduals};

}  // namespace qx
