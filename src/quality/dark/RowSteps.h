#pragma once

#include "foundation/Scratch.h"

namespace qx {

// Counts the rows whose mean differs from that of the row above by the configured limit or more. Rows come in stretches
// from top to bottom; test before use.
class RowSteps {
public:
    // Rows that are handed in together at most.
    static constexpr int kRows = 32;

    explicit RowSteps(int width) noexcept : width_(width), sums_(kRows) {}

    explicit operator bool() const noexcept { return static_cast<bool>(sums_); }

    void add(const float* rows, int count) noexcept;

    int count() const noexcept { return count_; }

private:
    int width_;
    Scratch<float> sums_;
    bool first_ = true;
    float previous_ = 0.0f;
    int count_ = 0;
};

}  // namespace qx
