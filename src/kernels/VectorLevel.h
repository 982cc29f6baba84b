#pragma once

// How kernels come in several instruction sets.
//
// The sources in levels/ are compiled once a level, each for that level's instruction set (CMakeLists.txt). A source
// holds the kernels of one purpose and ends with their table, whose name the level is part of. Kernels.cpp hands out
// the table of the level in use; a caller asks for it by purpose and never sees a level. All levels give the same bits.
//
// A level's code shares no inline function with the rest of the library: the linker would keep one copy of it, possibly
// the one that was compiled for a processor that is not there. So what lies in levels/ is local to its source, and the
// headers beside it hold declarations and constants alone.
//
// A new level is an entry in the list below, its flags in CMakeLists.txt and the processors that have it in
// Processor.cpp. A new purpose is a header that declares its table's type, a source in levels/, and a line in
// Kernels.cpp.

namespace qx {

// The levels, the lowest first, each with the name that compilers know its instruction set by: plain x86-64, with AVX2,
// with AVX-512; one level on other processors. A macro is applied to each, with what else it is given in front.
#if defined(__x86_64__)
#define QX_FOR_LEVELS(apply, with)                                                                                     \
    apply(with, Baseline, "x86-64") apply(with, V3, "x86-64-v3") apply(with, V4, "x86-64-v4")
#elif defined(__aarch64__)
#define QX_FOR_LEVELS(apply, with) apply(with, Baseline, "armv8-a")
#else
#define QX_FOR_LEVELS(apply, with) apply(with, Baseline, "baseline")
#endif

#define QX_LEVEL_MEMBER(enumeration, level, instructions) level,
enum class VectorLevel { QX_FOR_LEVELS(QX_LEVEL_MEMBER, VectorLevel) };

#define QX_LEVEL_OF(enumeration, level, instructions) enumeration::level,
inline constexpr VectorLevel kEveryVectorLevel[] = {QX_FOR_LEVELS(QX_LEVEL_OF, VectorLevel)};

// The level in use: the processor's best, unless another one was forced.
VectorLevel vectorLevel() noexcept;

// Makes kernels use a level. Returns false, and changes nothing, when the processor lacks it.
bool forceVectorLevel(VectorLevel level) noexcept;

// "V3", and "x86-64-v3".
const char* vectorLevelName(VectorLevel level) noexcept;
const char* instructionSetName(VectorLevel level) noexcept;

// The tables of one purpose, one a level: QX_DECLARE_TABLES(SumKernels) declares kSumKernelsBaseline and so on, of type
// SumKernels. A source in levels/ defines the one of its level, which QX_LEVEL names.
#define QX_JOIN(a, b) a##b
#define QX_JOIN_EXPANDED(a, b) QX_JOIN(a, b)
#define QX_TABLE_OF_LEVEL(Kernels) const Kernels QX_JOIN_EXPANDED(k##Kernels, QX_LEVEL)
#define QX_DECLARE_TABLE(Kernels, level, instructions) extern const Kernels k##Kernels##level;
#define QX_DECLARE_TABLES(Kernels) QX_FOR_LEVELS(QX_DECLARE_TABLE, Kernels)

}  // namespace qx
