#pragma once

// std::nth_element on the square blocks of an image, as a user would write it: each block is copied first.

#include <algorithm>
#include <cstddef>
#include <vector>

namespace qx::bench {

// The upper middles of columns x rows blocks of side x side pixels, row by row. `first` is the first pixel of the first
// block, width the distance between the image's rows.
template <class Pixel>
std::vector<float> blockMediansBySelection(const Pixel* first, int width, int columns, int rows, int side) {
    std::vector<float> medians;
    std::vector<Pixel> block;
    for (int blockRow = 0; blockRow < rows; ++blockRow) {
        for (int blockColumn = 0; blockColumn < columns; ++blockColumn) {
            block.clear();
            for (int y = 0; y < side; ++y) {
                const Pixel* row =
                    first + static_cast<std::ptrdiff_t>(blockRow * side + y) * width + blockColumn * side;
                block.insert(block.end(), row, row + side);
            }
            const auto middle = block.begin() + static_cast<std::ptrdiff_t>(block.size() / 2);
            std::nth_element(block.begin(), middle, block.end());
            medians.push_back(static_cast<float>(*middle));
        }
    }
    return medians;
}

}  // namespace qx::bench
