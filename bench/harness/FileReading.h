#pragma once

// Reading a file in pieces, as the file rows' limit and their peers do it.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <vector>

namespace qx::bench {

inline constexpr std::size_t kReadBytes = 256 * 1024;

// Hands the file's bytes to `piece`, as many at a time as the buffer holds, and returns their number.
// Throws std::system_error when the file cannot be read.
std::int64_t readInPieces(const std::filesystem::path& file, std::vector<std::uint8_t>& buffer,
                          const std::function<void(std::span<const std::uint8_t>)>& piece);

// The whole file.
std::vector<std::uint8_t> readWhole(const std::filesystem::path& file);

// The same into memory that the process has not touched before, as a program that has just started does.
void readToFreshMemory(const std::filesystem::path& file);

}  // namespace qx::bench
