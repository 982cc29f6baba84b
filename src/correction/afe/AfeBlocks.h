#pragma once

namespace qx {

// How the columns of an image are shared out among the AFEs. Boundary k lies between the blocks k and k + 1.
struct AfeBlocks {
    int width;
    int afeWidth;

    bool operator==(const AfeBlocks&) const = default;

    int count() const noexcept { return width / afeWidth; }
    int boundaries() const noexcept { return count() - 1; }
    int first(int block) const noexcept { return block * afeWidth; }
    int last(int block) const noexcept { return first(block) + afeWidth - 1; }

    // The middle block, the left one of two: it keeps its level.
    int reference() const noexcept { return (count() - 1) / 2; }
};

}  // namespace qx
