#include "Rows.h"
#include "files/Crc32.h"
#include "harness/FileReading.h"
#include "harness/Images.h"
#include "kernels/VectorLevel.h"
#include "peers/Peers.h"

#include "reference/files/PlainCrc.h"

#include <QxUtils/Files.h>

#include <optional>
#include <stdexcept>

namespace {

using namespace qx::bench;

// Keeps the library's CRC on one path while a row exists.
class HeldCrcPath {
public:
    explicit HeldCrcPath(qx::CrcPath path) { qx::forceCrcPath(path); }
    ~HeldCrcPath() { qx::forceCrcPath(qx::bestCrcPath()); }
    HeldCrcPath(const HeldCrcPath&) = delete;
    HeldCrcPath& operator=(const HeldCrcPath&) = delete;
};

const char* nameOf(qx::CrcPath path) {
    switch (path) {
    case qx::CrcPath::WideProducts:
        return "wide products";
    case qx::CrcPath::Products:
        return "products";
    default:
        return "tables";
    }
}

// The wide products are AVX-512 code, so a lower vector level leaves them out. Empty when the processor multiplies
// without carry at no width.
std::optional<qx::CrcPath> productsPath() {
    const qx::CrcPath best = qx::bestCrcPath();
    if (best == qx::CrcPath::Tables)
        return std::nullopt;
    return qx::vectorLevel() == qx::VectorLevel::V4 ? best : qx::CrcPath::Products;
}

// A file of random bytes in a directory of its own. It was just written, so every method finds it in the page cache.
class RandomFile {
public:
    explicit RandomFile(int byteCount) {
        qx::test::writeFile(path(), qx::test::randomBytes(static_cast<std::size_t>(byteCount), 4));
        if (std::filesystem::file_size(path()) != static_cast<std::uintmax_t>(byteCount))
            throw std::runtime_error("cannot write " + path());
    }

    std::string path() const { return folder_ / kName; }

    unsigned long readCrc() const {
        unsigned long crc = 0;
        if (const int status = readLocalCRC(folder_.path().c_str(), kName, crc); status != 0)
            throw std::runtime_error("readLocalCRC gives " + std::to_string(status));
        return crc;
    }

private:
    static constexpr const char* kName = "image.raw";
    qx::test::TemporaryDirectory folder_;
};

std::uint32_t plainCrc(const std::string& path) {
    const auto bytes = readWhole(path);
    return qx::plain::crcByTable(bytes.data(), bytes.size());
}

Row crcRow(const Scale& scale, std::optional<qx::CrcPath> path) {
    const auto file = std::make_shared<const RandomFile>(scale.pick(3072 * 3072 * 2, 70001));
    Row row{.plain = [file] { return plainCrc(file->path()); },
            .peerName = "zlib crc32",
            .peer = zlibCrc(file->path()),
            .limitName = "reading the file",
            .limit =
                [file, buffer = std::vector<std::uint8_t>(kReadBytes)]() mutable {
                    return readInPieces(file->path(), buffer, [](std::span<const std::uint8_t>) {});
                },
            .level = "-"};
    if (path) {
        row.ours = [file] { return file->readCrc(); };
        row.level = nameOf(*path);
        row.keepAlive = std::make_shared<HeldCrcPath>(*path);
    }
    return row;
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::crcRows() {
    return {
        {"readLocalCRC 18 MB, carry-less multiplication",
         [](const Scale& scale) { return crcRow(scale, productsPath()); }},
        {"readLocalCRC 18 MB, tables alone", [](const Scale& scale) { return crcRow(scale, CrcPath::Tables); }},
    };
}
