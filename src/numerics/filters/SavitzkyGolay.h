#pragma once

namespace qx {

// The weights of Savitzky-Golay smoothing: row i of a window x window table gives the value at position i of the
// least-squares polynomial through a window's samples. Returns 0, or 1 and no table: there are those of order 2 for the
// windows 5, 7, 15, 23, 31 and 51.
int loadSGolayTable(float* table, int order, int window) noexcept;

}  // namespace qx
