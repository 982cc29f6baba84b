#include "Rows.h"
#include "harness/FileReading.h"
#include "harness/Images.h"
#include "kernels/VectorLevel.h"
#include "peers/Peers.h"

#include "reference/files/PlainCrc.h"

#include <QxUtils/Files.h>

#include <stdexcept>

namespace {

using namespace qx::bench;

// Keeps the library at a vector level while a row exists.
class HeldLevel {
public:
    explicit HeldLevel(qx::VectorLevel level) { qx::forceVectorLevel(level); }
    ~HeldLevel() { qx::forceVectorLevel(before_); }
    HeldLevel(const HeldLevel&) = delete;
    HeldLevel& operator=(const HeldLevel&) = delete;

private:
    qx::VectorLevel before_ = qx::vectorLevel();
};

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

Row crcRow(const Scale& scale, qx::VectorLevel level) {
    const auto file = std::make_shared<const RandomFile>(scale.pick(3072 * 3072 * 2, 70001));
    return {.ours = [file] { return file->readCrc(); },
            .plain = [file] { return plainCrc(file->path()); },
            .peerName = "zlib crc32",
            .peer = zlibCrc(file->path()),
            .limitName = "reading the file",
            .limit =
                [file, buffer = std::vector<std::uint8_t>(kReadBytes)]() mutable {
                    return readInPieces(file->path(), buffer, [](std::span<const std::uint8_t>) {});
                },
            .level = qx::instructionSetName(level),
            .keepAlive = std::make_shared<HeldLevel>(level)};
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::crcRows() {
    return {
        {"readLocalCRC 18 MB", [](const Scale& scale) { return crcRow(scale, qx::vectorLevel()); }},
        {"readLocalCRC 18 MB, tables alone", [](const Scale& scale) { return crcRow(scale, VectorLevel::Baseline); }},
    };
}
