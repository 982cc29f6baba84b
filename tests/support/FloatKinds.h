#pragma once

#include "Builders.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

// Floating-point values for sweeps against a plain method: what ordering, equality and rounding treat specially.
namespace qx::test {

template <class T>
using Draw = T (*)(SplitMix64&);

// Values that comparisons cannot tell apart or order, and the ends of the range.
template <class T>
T specialFloat(SplitMix64& random) {
    using Limits = std::numeric_limits<T>;
    constexpr T kValues[] = {Limits::quiet_NaN(),
                             -Limits::quiet_NaN(),
                             Limits::infinity(),
                             -Limits::infinity(),
                             Limits::max(),
                             Limits::lowest(),
                             Limits::denorm_min(),
                             -Limits::denorm_min(),
                             T(0),
                             -T(0),
                             T(1),
                             T(-1)};
    return kValues[random.below(12)];
}

// The first ones draw neither NaN nor zeros of both signs: every way to select a rank gives the same bits for them.
inline constexpr int kRegularFloatKinds = 4;

template <class T>
inline constexpr Draw<T> kFloatKinds[] = {
    [](SplitMix64& random) { return static_cast<T>(50000 + 200 * random.gaussian()); },
    [](SplitMix64& random) { return static_cast<T>(std::ldexp(random.uniform() - 0.5, random.below(250) - 125)); },
    [](SplitMix64& random) { return static_cast<T>(random.below(9) - 4); },
    [](SplitMix64& random) {
        return random.below(9) == 0 ? -std::numeric_limits<T>::infinity() : static_cast<T>(random.below(65536));
    },
    [](SplitMix64& random) {
        constexpr T kValues[] = {T(0), -T(0), T(1), T(-1)};
        return kValues[random.below(4)];
    },
    [](SplitMix64& random) {
        return random.below(64) == 0 ? std::numeric_limits<T>::quiet_NaN()
                                     : std::copysign(T(0), random.below(2) - T(1));
    },
    [](SplitMix64& random) {
        return random.below(64) == 0 ? std::numeric_limits<T>::quiet_NaN() : static_cast<T>(random.below(50));
    },
    specialFloat<T>};

template <class T>
std::vector<T> drawn(Draw<T> draw, int count, std::uint64_t seed) {
    SplitMix64 random(seed);
    std::vector<T> values(static_cast<std::size_t>(count));
    std::generate(values.begin(), values.end(), [&] { return draw(random); });
    return values;
}

}  // namespace qx::test
