#include "kernels/VectorLevel.h"

namespace qx {
namespace {

VectorLevel bestLevel() noexcept {
    __builtin_cpu_init();
    if (__builtin_cpu_supports("x86-64-v4"))
        return VectorLevel::V4;
    if (__builtin_cpu_supports("x86-64-v3"))
        return VectorLevel::V3;
    return VectorLevel::Baseline;
}

const VectorLevel processorLevel = bestLevel();
VectorLevel activeLevel = processorLevel;

}  // namespace

VectorLevel vectorLevel() noexcept {
    return activeLevel;
}

bool forceVectorLevel(VectorLevel level) noexcept {
    if (level > processorLevel)
        return false;
    activeLevel = level;
    return true;
}

const char* vectorLevelName(VectorLevel level) noexcept {
    static constexpr const char* kNames[] = {"x86-64", "x86-64-v3", "x86-64-v4"};
    return kNames[static_cast<int>(level)];
}

}  // namespace qx
