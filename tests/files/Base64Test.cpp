#include "DetectorFixture.h"
#include "reference/files/PlainBase64.h"

#include <QxUtils/Files.h>

#include <sstream>

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using qx::plain::decodedBase64;
using qx::plain::encodedBase64;
using qx::test::printedBy;
using qx::test::writeFile;

const std::string kGuard(40, '#');

// Source and destination are exactly as long as they must be.
std::string encoded(const std::string& bytes) {
    const std::vector<char> source(bytes.begin(), bytes.end());
    const std::size_t end = kGuard.size() + (bytes.size() + 2) / 3 * 4;
    std::string buffer = kGuard + std::string(end - kGuard.size() + 1, '~') + kGuard;
    char* destination = buffer.data() + kGuard.size();
    EXPECT_EQ(destination, base64_encode(source.data(), destination, static_cast<int>(source.size())));
    EXPECT_EQ(kGuard, buffer.substr(0, kGuard.size()));
    EXPECT_EQ('\0' + kGuard, buffer.substr(end));
    return buffer.substr(kGuard.size(), end - kGuard.size());
}

// As above; no byte behind the decoded ones changes.
std::string decoded(const std::string& text) {
    const std::vector<char> source(text.c_str(), text.c_str() + text.size() + 1);
    const std::size_t size = (text.size() + 3) / 4 * 3;
    std::string buffer = kGuard + std::string(size, '#') + kGuard;
    const auto count = static_cast<std::size_t>(base64_decode(source.data(), buffer.data() + kGuard.size()));
    if (count > size)
        return "count of " + std::to_string(count);
    EXPECT_EQ(kGuard, buffer.substr(0, kGuard.size()));
    EXPECT_EQ(std::string::npos, buffer.find_first_not_of('#', kGuard.size() + count)) << text;
    return buffer.substr(kGuard.size(), count);
}

std::string fromHex(const std::string& digits) {
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return bytes;
}

TEST(Base64, published_texts) {
    std::istringstream pairs(
        "66 Zg== 666F Zm8= 666F6F Zm9v 666F6F62 Zm9vYg== 666F6F6261 Zm9vYmE= 666F6F626172 Zm9vYmFy 68656C6C6F aGVsbG8= "
        "6C6561737572652E bGVhc3VyZS4= 14FB9C03D97E FPucA9l+ 00 AA== 0000 AAA= FF /w== FFFF //8= FBFFBF +/+/");
    for (std::string hex, text; pairs >> hex >> text;) {
        const std::string bytes = fromHex(hex);
        EXPECT_EQ(text, encoded(bytes));
        EXPECT_EQ(text, encodedBase64(bytes));
        EXPECT_EQ(bytes, decoded(text));
        EXPECT_EQ(bytes, decodedBase64(text));
    }
}

// What a strict reader refuses; '~' stands for a line end.
TEST(Base64, hostile_texts) {
    std::istringstream pairs(
        "a 6BFFFF ab 69BFFF abc 69B73F = FFFFFF == FFFFFF === FF ===== FF a= 6BFFFF a== 6B a=== 6B ab==c 69 abc=d 69B7 "
        "abcd= 69B71DFFFFFF abcde== 69B71D7B =a= FD a=b= 6BF6 ab~cd 69BFDC77FFFF ~abcd FDA6DC77FFFF abcd~ 69B71DFFFFFF "
        "=AAA FC0000 A=AA 03F000 AAAAAA 000000000FFF c3VyZQ=~ 73757265 c3VyZ~~Q== 73757267FFD0FFFFFF -_-_ FFFFFF "
        "Zm9v!!!!Zm9v 666F6FFFFFFF666F6F \xA0\xA0\xA0\xA0 FFFFFF");
    for (std::string text, hex; pairs >> text >> hex;) {
        std::replace(text.begin(), text.end(), '~', '\n');
        EXPECT_EQ(fromHex(hex), decoded(text)) << text;
        EXPECT_EQ(fromHex(hex), decodedBase64(text)) << text;
    }
}

TEST(Base64, nothing_to_do) {
    char destination[] = "###";
    for (const int length : {0, -1, -2147483647 - 1, 3}) {
        destination[0] = '#';
        EXPECT_EQ(destination, base64_encode(length == 3 ? nullptr : "abc", destination, length));
        EXPECT_EQ("\0##"s, std::string(destination, 3));
    }
    EXPECT_EQ(0, base64_decode("", destination));
    EXPECT_EQ(0, base64_decode(nullptr, destination));
    EXPECT_EQ(0, base64_decode("Zm9v", nullptr));
    EXPECT_EQ(nullptr, base64_encode("abc", nullptr, 3));
    EXPECT_EQ("\0##"s, std::string(destination, 3));
}

TEST(Base64, every_length_agrees_with_the_plain_method) {
    std::vector<std::size_t> lengths = {767, 768, 769, 1023, 4096, 4099, 49152, 65537, 300001};
    for (std::size_t length = 0; length <= 200; ++length)
        lengths.push_back(length);
    for (const std::size_t length : lengths) {
        const std::string bytes = qx::test::randomBytes(length, length);
        const std::string text = encoded(bytes);
        ASSERT_EQ(encodedBase64(bytes), text) << length;
        ASSERT_EQ(bytes, decoded(text)) << length;
        for (const char hostile : {'~', '\xFF', '\n', '='}) {
            std::string changed = text.substr(0, text.size() - std::min(text.size(), length % 4));
            if (!changed.empty())
                changed[7919 * length % changed.size()] = hostile;
            ASSERT_EQ(decodedBase64(changed), decoded(changed)) << length;
        }
    }
}

class DecodeFile : public qx::test::DetectorFixture {
protected:
    const std::string source_ = folder() / "encoded text.txt", destination_ = folder() / "decoded.txt";

    // What a source becomes, line ends as '\n'.
    std::string decodedFile(const std::string& source) const {
        writeFile(source_, source);
        writeFile(destination_, "what was there before");
        EXPECT_EQ(0, decodeFile(source_.c_str(), destination_.c_str()));
        std::string text = qx::test::readFile(destination_);
        std::erase(text, '\r');
        EXPECT_TRUE(logLines().empty());
        return text;
    }
};

TEST_F(DecodeFile, line_by_line_and_a_last_line_with_an_end_twice) {
    EXPECT_EQ("", decodedFile(""));
    EXPECT_EQ("hello\n", decodedFile("aGVsbG8="));
    EXPECT_EQ("hello\nhello\n", decodedFile("aGVsbG8=\n"));
    EXPECT_EQ("hello\nfoo\n", decodedFile("aGVsbG8=\nZm9v"));
    EXPECT_EQ("hello\nfoo\nfoo\n", decodedFile("aGVsbG8=\r\nZm9v\r\n"));
    EXPECT_EQ("\n\n", decodedFile("\n"));
    EXPECT_EQ("\n\nfo\n", decodedFile("\n\nZm8=Zm9v"));
    EXPECT_EQ("a\n\nabc\n\xFF\xFF\xFF\n", decodedFile("YQBi\nAAAA\nYWJjAGRl\n!!!!"));  // zeros, not in the alphabet
    for (const std::string incomplete : {"Y", "Ym", "YmF"}) {
        EXPECT_EQ("foo\n", decodedFile("Zm9v" + incomplete));
        EXPECT_EQ("foo\nfoo\n", decodedFile("Zm9v" + incomplete + "\nZm9v")) << incomplete;
        EXPECT_EQ("foo\nfoo\n", decodedFile("Zm9v" + incomplete + "\r\nZm9v")) << incomplete;
    }
}

// A piece takes 1023 characters, the line end among them.
TEST_F(DecodeFile, long_lines_come_in_pieces) {
    std::string full;
    for (int group = 0; group < 255; ++group)
        full += "\x69\xA6\x9A";
    full += '\n';
    const auto line = [&](int characters) {
        return decodedFile(std::string(static_cast<std::size_t>(characters), 'a') + "\nWFla");
    };
    for (const int characters : {1020, 1022})
        EXPECT_EQ(full + "XYZ\n", line(characters)) << characters;
    for (const int characters : {1023, 1024, 1026})
        EXPECT_EQ(full + "\nXYZ\n", line(characters)) << characters;
    EXPECT_EQ(full + "\x69\xA6\x9A\nXYZ\n", line(1027));
    // The end shows in a read that comes short; behind a full piece there is another one.
    EXPECT_EQ(full, decodedFile(std::string(1022, 'a')));
    EXPECT_EQ(full + full, decodedFile(std::string(1023, 'a')));
}

TEST_F(DecodeFile, every_tenth_line_is_reported_whatever_the_debug_flag) {
    const auto lines = [](int count) {
        std::string text = "Zm9v";
        for (int i = 1; i < count; ++i)
            text += "\nZm9v";
        return text;
    };
    for (int flag : {0, 1}) {
        setDebug(flag);
        const auto printed = [&](const std::string& source) { return printedBy([&] { decodedFile(source); }); };
        EXPECT_EQ("", printed(lines(9)));
        EXPECT_EQ("read line,10\n", printed(lines(9) + "\n"));  // the repeated one counts
        EXPECT_EQ("read line,10\n", printed(lines(12)));
        EXPECT_EQ("read line,10\nread line,20\n", printed(lines(20)));
    }
}

TEST_F(DecodeFile, faults) {
    const std::string nested = folder() / "folder", missing = folder() / "missing", beyond = missing + "/file";
    fs::create_directory(nested);
    writeFile(source_, "Zm9v");
    writeFile(destination_, "kept");
    for (const std::string& source : {missing, beyond, ""s})
        EXPECT_EQ(1038, decodeFile(source.c_str(), destination_.c_str())) << source;
    EXPECT_EQ(1039, decodeFile(nested.c_str(), destination_.c_str()));
    EXPECT_EQ(1057, decodeFile(nullptr, destination_.c_str()));
    for (const std::string& destination : {nested, beyond, ""s})
        EXPECT_EQ(1039, decodeFile(source_.c_str(), destination.c_str())) << destination;
    EXPECT_EQ(1057, decodeFile(source_.c_str(), nullptr));
    EXPECT_EQ("kept", qx::test::readFile(destination_));
    EXPECT_TRUE(logLines().empty());
}

#ifdef __linux__
TEST_F(DecodeFile, short_write_is_logged) {
    writeFile(source_, "aGVsbG8=\nAAAA");
    EXPECT_EQ(0, decodeFile(source_.c_str(), "/dev/full"));
    const std::string start = "SysMgt | E | Fwrite error occur in StatusMonitorThread Thread!, strlen to write: ";
    EXPECT_EQ((std::vector<std::string>{start + "6, written: 0", start + "1, written: 0"}), logLines());
}
#endif

}  // namespace
