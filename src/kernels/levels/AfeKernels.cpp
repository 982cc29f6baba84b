#include "kernels/AfeKernels.h"
#include "kernels/levels/VectorLanes.h"

namespace qx {
namespace {

constexpr int kCacheLineFloats = kCacheLineBytes / sizeof(float);

void raiseEach(float* row, int count, float floor) {
    for (int x = 0; x < count; ++x)
        if (row[x] <= 0.0f)
            row[x] = floor;
}

void raise(float* row, int count, float floor) noexcept {
    auto x = static_cast<int>(valuesBeforeLine(row, static_cast<std::size_t>(count)));
    raiseEach(row, x, floor);
    for (; x <= count - kCacheLineFloats; x += kCacheLineFloats) {
        fetchAhead(row + x);
        Ints low{};
        for (int i = 0; i < kCacheLineFloats; i += kLanes)
            low |= loadFloats(row + x + i) <= 0.0f;
        if (anyLane(low))
            raiseEach(row + x, kCacheLineFloats, floor);
    }
    raiseEach(row + x, count - x, floor);
}

void add(const float* row, int count, float* sums) noexcept {
    for (int x = 0; x < count; ++x)
        sums[x] += row[x];
}

void scaleEachBelow(float* row, int count, const float* factors, float limit) {
    for (int x = 0; x < count; ++x)
        row[x] = row[x] < limit ? row[x] * factors[x] : row[x];
}

void scaleBelow(float* row, int count, const float* factors, float limit) noexcept {
    auto x = static_cast<int>(valuesBeforeLine(row, static_cast<std::size_t>(count)));
    scaleEachBelow(row, x, factors, limit);
    for (; x <= count - kCacheLineFloats; x += kCacheLineFloats) {
        fetchAhead(row + x);
        for (int i = x; i < x + kCacheLineFloats; i += kLanes) {
            const Floats values = loadFloats(row + i);
            store(row + i, values < limit ? values * loadFloats(factors + i) : values);
        }
    }
    scaleEachBelow(row + x, count - x, factors + x, limit);
}

}  // namespace

QX_TABLE_OF_LEVEL(AfeKernels) = {raise, add, scaleBelow};

}  // namespace qx
