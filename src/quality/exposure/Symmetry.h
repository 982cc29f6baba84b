#pragma once

namespace qx {

// Compares the means of the four corners, 8 x 8 values each, of block medians (at least 8 x 8): asymDegree receives the
// largest difference of two neighbouring corners relative to their mean. Returns 1069 when it exceeds 0.3, else 0. Logs
// the means and degrees.
int checkSymmetry(const float* blocks, int width, int height, float& asymDegree);

}  // namespace qx
