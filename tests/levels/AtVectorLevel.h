#pragma once

#include "kernels/VectorLevel.h"

#include <QxSysMgt.h>

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace qx {

inline void PrintTo(VectorLevel level, std::ostream* out) {
    *out << vectorLevelName(level);
}

}  // namespace qx

namespace qx::test {

// Holds the library to a vector level. False where the processor lacks it, which fails for the level that all have.
inline bool holdVectorLevel(VectorLevel level) {
    const bool held = forceVectorLevel(level) && vectorLevel() == level;
    EXPECT_TRUE(held || level != kEveryVectorLevel[0]) << "every processor has " << instructionSetName(level);
    return held;
}

// Runs with the library held to a vector level; skipped where the processor lacks it.
class AtVectorLevel : public ::testing::TestWithParam<VectorLevel> {
protected:
    void SetUp() override {
        getConfigInfo()->loggingEnabled = 0;
        if (!holdVectorLevel(GetParam()))
            GTEST_SKIP() << "this processor lacks " << instructionSetName(GetParam());
    }
    void TearDown() override {
        forceVectorLevel(best_);
        getConfigInfo()->loggingEnabled = 1;
    }

private:
    VectorLevel best_ = vectorLevel();
};

inline std::string levelName(const ::testing::TestParamInfo<VectorLevel>& info) {
    return vectorLevelName(info.param);
}

// Calls check with the library held to each vector level that the processor has.
template <class Check>
void atEachVectorLevel(Check check) {
    const VectorLevel best = vectorLevel();
    for (const VectorLevel level : kEveryVectorLevel) {
        if (!holdVectorLevel(level))
            continue;
        SCOPED_TRACE(vectorLevelName(level));
        check();
    }
    forceVectorLevel(best);
}

inline const auto kVectorLevels = ::testing::ValuesIn(kEveryVectorLevel);

}  // namespace qx::test
