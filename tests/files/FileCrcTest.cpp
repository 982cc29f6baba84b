#include "DetectorFixture.h"
#include "reference/files/PlainCrc.h"

#include <QxUtils/Files.h>

namespace {

using qx::test::writeFile;

class FileCrc : public qx::test::DetectorFixture {
protected:
    unsigned long crcOf(const std::string& bytes) {
        writeFile(folder() / "bytes", bytes);
        unsigned long crc = 0xDEADBEEF;
        EXPECT_EQ(0, readLocalCRC(folder().path().c_str(), "bytes", crc));
        return crc;
    }
};

struct KnownCrc {
    unsigned long crc;
    std::string bytes;
};

std::vector<KnownCrc> knownCrcs() {
    std::string pattern;
    for (int i = 0; i < 257; ++i)
        pattern += static_cast<char>((i * 151 + 7) & 255);
    return {{0xCBF43926, "123456789"},
            {0x00000000, ""},
            {0xE8B7BE43, "a"},
            {0x3981703A, "abcdefghij"},
            {0x6B9CDFE7, "Discard medicine more than two years old."},
            {0xFFFFFFFF, std::string(4, '\xFF')},
            {0x6522DF69, std::string(8, '\0')},
            {0xEB201890, std::string(9, '\xFF')},
            {0xB1D85D21, pattern.substr(0, 256)},
            {0x00BEB22D, pattern}};
}

TEST_F(FileCrc, known_answers) {
    for (const auto& [crc, bytes] : knownCrcs()) {
        EXPECT_EQ(crc, crcOf(bytes)) << bytes.size() << " bytes";
        EXPECT_EQ(crc, qx::plain::crcBitByBit(bytes.data(), bytes.size()));
        EXPECT_EQ(crc, qx::plain::crcByTable(bytes.data(), bytes.size()));
        EXPECT_EQ(crc, qx::plain::crcOfFile(folder() / "bytes"));
    }
}

// Around the blocks in which a file may be read.
TEST_F(FileCrc, long_files_agree_with_the_plain_method) {
    for (std::size_t block : {512u, 1024u, 4096u, 16384u, 32768u, 65536u, 131072u, 262144u, 1048576u}) {
        for (std::size_t length : {block - 9, block - 1, block, block + 1, block + 17}) {
            const std::string bytes = qx::test::randomBytes(length, length);
            ASSERT_EQ(qx::plain::crcByTable(bytes.data(), length), crcOf(bytes)) << length << " bytes";
        }
    }
}

TEST_F(FileCrc, unreadable_file_is_always_printed) {
    unsigned long crc = 77;
    for (int flag : {0, 1}) {
        setDebug(flag);
        EXPECT_EQ("open file error...\n",
                  qx::test::printedBy([&] { EXPECT_EQ(1039, readLocalCRC(folder().path().c_str(), "missing", crc)); }));
    }
#ifdef __linux__
    // A file that can be opened and not read.
    EXPECT_EQ(1040, readLocalCRC("/proc/self/", "mem", crc));
#endif
    EXPECT_EQ(77u, crc);
    writeFile(folder() / "bytes", "x");
    EXPECT_EQ("", qx::test::printedBy([&] { readLocalCRC(folder().path().c_str(), "bytes", crc); }));
}

}  // namespace
