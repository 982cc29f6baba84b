#include "files/Crc32.h"

#include "files/Crc32Paths.h"

namespace qx {
namespace {

CrcPath chooseCrcPath() noexcept {
    return hasWideProducts() ? CrcPath::WideProducts : hasProducts() ? CrcPath::Products : CrcPath::Tables;
}

CrcPath activePath = bestCrcPath();

}  // namespace

std::uint32_t updateCrc32(std::uint32_t crc, const unsigned char* bytes, std::size_t count) noexcept {
    switch (activePath) {
    case CrcPath::WideProducts:
        return ~advanceByWideProducts(~crc, bytes, count);
    case CrcPath::Products:
        return ~advanceByProducts(~crc, bytes, count);
    default:
        return ~advanceByTables(~crc, bytes, count);
    }
}

bool forceCrcPath(CrcPath path) noexcept {
    if (path > bestCrcPath())
        return false;
    activePath = path;
    return true;
}

CrcPath bestCrcPath() noexcept {
    static const CrcPath best = chooseCrcPath();
    return best;
}

}  // namespace qx
