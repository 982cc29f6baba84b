#include "reference/files/PlainCrc.h"

#include <array>
#include <fstream>
#include <iterator>

namespace qx::plain {

namespace {

constexpr std::uint32_t kReflectedPolynomial = 0xEDB88320u;

constexpr std::uint32_t shiftByte(std::uint32_t remainder) {
    for (int bit = 0; bit < 8; ++bit)
        remainder = (remainder >> 1) ^ ((remainder & 1u) != 0 ? kReflectedPolynomial : 0u);
    return remainder;
}

constexpr std::array<std::uint32_t, 256> makeTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i)
        table[i] = shiftByte(i);
    return table;
}

}  // namespace

std::uint32_t crcBitByBit(const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::uint32_t remainder = 0xFFFFFFFFu;
    for (std::size_t i = 0; i < size; ++i)
        remainder = shiftByte(remainder ^ bytes[i]);
    return ~remainder;
}

std::uint32_t crcByTable(const void* data, std::size_t size) {
    static constexpr std::array<std::uint32_t, 256> kTable = makeTable();
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::uint32_t remainder = 0xFFFFFFFFu;
    for (std::size_t i = 0; i < size; ++i)
        remainder = (remainder >> 8) ^ kTable[(remainder ^ bytes[i]) & 0xFFu];
    return ~remainder;
}

std::uint32_t crcOfFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return crcByTable(content.data(), content.size());
}

}  // namespace qx::plain
