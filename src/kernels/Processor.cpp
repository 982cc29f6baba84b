#include "kernels/Processor.h"

#if defined(__x86_64__)

#include <cpuid.h>

namespace qx {
namespace {

// What the compilers have no common name for. With them the levels are asked for by their parts.
bool hasSmallExtensions() noexcept {
    unsigned a, b, c, d, extended;
    return __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & bit_F16C) != 0 && (c & bit_MOVBE) != 0 &&
           __get_cpuid(0x80000001, &a, &b, &extended, &d) != 0 && (extended & bit_LZCNT) != 0;
}

bool hasV3() noexcept {
    return __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("popcnt") &&
           __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") &&
           __builtin_cpu_supports("fma") && hasSmallExtensions();
}

bool hasV4() noexcept {
    return hasV3() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512vl");
}

}  // namespace

VectorLevel processorLevel() noexcept {
    __builtin_cpu_init();
    return hasV4() ? VectorLevel::V4 : hasV3() ? VectorLevel::V3 : VectorLevel::Baseline;
}

VectorLevel processorCrcLevel() noexcept {
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("pclmul"))
        return VectorLevel::Baseline;
    return __builtin_cpu_supports("vpclmulqdq") ? VectorLevel::V4 : VectorLevel::V3;
}

}  // namespace qx

#else

namespace qx {

VectorLevel processorLevel() noexcept {
    return VectorLevel::Baseline;
}

VectorLevel processorCrcLevel() noexcept {
    return VectorLevel::Baseline;
}

}  // namespace qx

#endif
