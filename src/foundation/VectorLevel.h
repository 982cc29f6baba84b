#pragma once

namespace qx {

// Instruction sets that hot kernels are compiled for: plain x86-64, with AVX2 (v3), with AVX-512 (v4). Every level
// gives the same results.
enum class VectorLevel { Baseline, V3, V4 };

// The level in use: the processor's best, unless another one was forced.
VectorLevel vectorLevel() noexcept;

// Makes kernels use a level. Returns false, and changes nothing, when the processor lacks it.
bool forceVectorLevel(VectorLevel level) noexcept;

const char* vectorLevelName(VectorLevel level) noexcept;

}  // namespace qx
