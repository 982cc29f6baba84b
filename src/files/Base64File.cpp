#include "QxUtils/Files.h"

#include "QxUtils/Foundation.h"
#include "QxUtils/StatusCode.h"
#include "kernels/Base64Kernels.h"
#include "platform/Console.h"
#include "platform/FileSystem.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr std::size_t kLineCapacity = 1024;
constexpr int kLinesPerReport = 10;

using Line = std::array<char, kLineCapacity>;

bool isEmpty(std::FILE* file) noexcept {
    const int first = std::fgetc(file);
    return first == EOF || std::ungetc(first, file) == EOF;
}

void logShortWrite(std::size_t intended, std::size_t written) {
    std::array<char, 256> text{};
    std::snprintf(text.data(), text.size(), "%s%d%s%d",
                  "Fwrite error occur in StatusMonitorThread Thread!, strlen to write: ", static_cast<int>(intended),
                  ", written: ", static_cast<int>(written));
    WriteLogFile(LogModuleSysMgt, LogError, text.data(), kLogNoValue);
}

// Without the line end; text from elsewhere may bring one of two characters.
std::size_t charactersOf(std::string_view line) noexcept {
    if (line.ends_with('\n'))
        line.remove_suffix(1);
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return line.size();
}

void writeDecoded(Line line, std::FILE* file) {
    // The line end would be decoded, too, and so would what an incomplete group lacks.
    line[charactersOf(line.data()) / qx::kBase64Characters * qx::kBase64Characters] = '\0';
    Line decoded{};
    base64_decode(line.data(), decoded.data());
    // Kept: a zero byte ends the text.
    const std::size_t length = std::strlen(decoded.data());
    decoded[length] = '\n';
    const std::size_t written = std::fwrite(decoded.data(), 1, length + 1, file);
    if (written < length + 1)
        logShortWrite(length + 1, written);
}

}  // namespace

int decodeFile(const char* source, const char* destination) {
    if (source == nullptr || destination == nullptr)
        return StatusNullArgument;
    if (!qx::pathExists(source))
        return StatusWorkDirectoryUnusable;
    const qx::File from = qx::openFile(source, qx::OpenMode::ReadText);
    const qx::File to = from ? qx::openFile(destination, qx::OpenMode::WriteText) : nullptr;
    if (!to)
        return StatusFileOpenFailed;
    if (isEmpty(from.get()))
        return std::ferror(from.get()) != 0 ? StatusFileReadFailed : StatusOk;
    Line line{};
    for (int count = 1; std::feof(from.get()) == 0; ++count) {
        // Kept: at the end of the file the line stays as it is, and is written once more.
        if (std::fgets(line.data(), static_cast<int>(line.size()), from.get()) == nullptr &&
            std::ferror(from.get()) != 0)
            return StatusFileReadFailed;
        writeDecoded(line, to.get());
        // Kept: told whatever the debug flag.
        if (count % kLinesPerReport == 0)
            qx::printConsole("read line,%d\n", count);
    }
    return StatusOk;
}
