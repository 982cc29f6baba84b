#include "kernels/VectorLevel.h"

#include "kernels/Processor.h"

namespace qx {
namespace {

struct LevelNames {
    const char* level;
    const char* instructions;
};

#define QX_NAMES_OF(unused, level, instructions) {#level, instructions},
constexpr LevelNames kNames[] = {QX_FOR_LEVELS(QX_NAMES_OF, )};

const VectorLevel bestLevel = processorLevel();
VectorLevel activeLevel = bestLevel;

}  // namespace

VectorLevel vectorLevel() noexcept {
    return activeLevel;
}

bool forceVectorLevel(VectorLevel level) noexcept {
    if (level > bestLevel)
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
