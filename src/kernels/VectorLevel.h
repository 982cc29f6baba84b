#pragma once

namespace qx {

// Instruction sets that hot kernels are compiled for: plain x86-64, with AVX2 (v3), with AVX-512 (v4). Every level
// gives the same results.
enum class VectorLevel { Baseline, V3, V4 };

// The level in use: the processor's best, unless another one was forced.
VectorLevel vectorLevel() noexcept;

// Makes kernels use a level. Returns false, and changes nothing, when the processor lacks it.
bool forceVectorLevel(VectorLevel level) noexcept;

// The one of three sets of kernels that the level in use asks for.
template <class Kernels>
const Kernels& kernelsInUse(const Kernels& baseline, const Kernels& v3, const Kernels& v4) noexcept {
    switch (vectorLevel()) {
    case VectorLevel::V4:
        return v4;
    case VectorLevel::V3:
        return v3;
    default:
        return baseline;
    }
}

const char* vectorLevelName(VectorLevel level) noexcept;

}  // namespace qx
