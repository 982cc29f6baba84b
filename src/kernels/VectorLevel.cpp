#include "kernels/VectorLevel.h"

namespace qx {
namespace {

struct LevelNames {
    const char* level;
    const char* instructions;
};

#define QX_NAMES_OF(unused, level, instructions) {#level, instructions},
constexpr LevelNames kNames[] = {QX_FOR_LEVELS(QX_NAMES_OF, )};

#define QX_RAISE_TO(best, level, instructions)                                                                         \
    if (__builtin_cpu_supports(instructions))                                                                          \
        best = VectorLevel::level;

VectorLevel bestLevel() noexcept {
    __builtin_cpu_init();
    VectorLevel best = VectorLevel::Baseline;
    QX_FOR_LEVELS(QX_RAISE_TO, best)
    return best;
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
    return kNames[static_cast<int>(level)].level;
}

const char* instructionSetName(VectorLevel level) noexcept {
    return kNames[static_cast<int>(level)].instructions;
}

}  // namespace qx
