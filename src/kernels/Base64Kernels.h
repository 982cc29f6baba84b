#pragma once

#include "kernels/VectorLevel.h"

#include <cstddef>

namespace qx {

// Base64 turns a group of three bytes into four characters.
inline constexpr int kBase64Bytes = 3;
inline constexpr int kBase64Characters = 4;
inline constexpr char kBase64Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

struct Base64Kernels {
    // Encodes whole groups. Nothing behind their bytes is read.
    void (*encode)(const unsigned char* bytes, std::ptrdiff_t groups, char* characters) noexcept;
};

// The kernels of the vector level in use.
const Base64Kernels& base64Kernels() noexcept;

QX_DECLARE_TABLES(Base64Kernels)

}  // namespace qx
