#include "commands/Subcommand.h"
#include "files/FileAccess.h"
#include "files/InputFile.h"
#include "files/LibraryFile.h"
#include "files/TemporaryFolder.h"
#include "files/WholeFile.h"
#include "text/Base64Text.h"
#include "text/FileName.h"

#include <QxUtils.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::tool {
namespace {

constexpr std::size_t kLineCharacters = 76;
constexpr std::size_t kGroupBytes = 3;
constexpr std::size_t kGroupCharacters = 4;

// In a text file.
#ifdef _WIN32
constexpr std::int64_t kLineEndBytes = 2;
#else
constexpr std::int64_t kLineEndBytes = 1;
#endif

constexpr const char* kFileWanted = "the file to read";

struct Base64Options {
    std::string file;
    std::optional<std::string> output;
};

std::string loadFile(const std::string& path) {
    return readWhole(path, kFileWanted, std::numeric_limits<int>::max());
}

void requireOutput(const Base64Options& options) {
    if (!options.output)
        return;
    requireName(*options.output, "the file to write");
    requireOtherFile(*options.output, options.file);
}

void printWritten(const std::string& output, std::int64_t bytes) {
    std::cout << printable(output) << ": " << bytes << " bytes\n";
}

void save(const std::string& output, const std::string& content) {
    writeFile(output, content);
    printWritten(output, std::ssize(content));
}

std::string inLines(std::string_view text) {
    std::string lines;
    for (std::size_t start = 0; start < text.size(); start += kLineCharacters) {
        lines += text.substr(start, kLineCharacters);
        lines += '\n';
    }
    return lines;
}

// The library decodes whatever it is given.
void requireBase64(std::string_view text, const std::string& file) {
    constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
    const std::size_t wrong = text.substr(0, text.size() - padding).find_first_not_of(kAlphabet);
    if (wrong != std::string_view::npos)
        throw ToolError(file + ": character " + std::to_string(wrong + 1) +
                        ", line ends not counted, is not Base64; give a text that is");
    if (text.size() % kGroupCharacters != 0)
        throw ToolError(file + ": ends within a group of four characters; give the whole text");
}

std::string decode(const std::string& text) {
    std::string content(text.size() / kGroupCharacters * kGroupBytes, '\0');
    content.resize(static_cast<std::size_t>(base64_decode(text.c_str(), content.data())));
    return content;
}

ExitCode runEncode(const Base64Options& options) {
    const std::string content = loadFile(options.file);
    requireOutput(options);
    const std::string lines = inLines(base64Text(content));
    if (!options.output) {
        std::cout << lines;
        return ExitCode::Passed;
    }
    save(*options.output, lines);
    return ExitCode::Passed;
}

ExitCode runDecode(const Base64Options& options) {
    std::string text = loadFile(options.file);
    requireOutput(options);
    std::erase_if(text, [](char character) { return character == '\r' || character == '\n'; });
    requireBase64(text, options.file);
    save(options.output.value(), decode(text));
    return ExitCode::Passed;
}

// The lines that decodeFile takes a text for: none is longer than its buffer, and one that is complete at the end of
// the file is taken twice.
std::vector<std::string_view> decodedLines(std::string_view text) {
    constexpr std::size_t kLineRoom = 1023;
    std::vector<std::string_view> lines;
    bool isComplete = false;
    while (!text.empty()) {
        const std::size_t end = text.substr(0, kLineRoom).find('\n');
        lines.push_back(text.substr(0, end == std::string_view::npos ? kLineRoom : end + 1));
        isComplete = end != std::string_view::npos || lines.back().size() == kLineRoom;
        text.remove_prefix(lines.back().size());
    }
    if (isComplete)
        lines.push_back(lines.back());
    return lines;
}

// What the library makes of a line, its line end included.
std::string decodedLine(std::string_view line) {
    line = line.substr(0, line.find('\0'));
    for (const char end : {'\n', '\r'}) {
        if (line.ends_with(end))
            line.remove_suffix(1);
    }
    const std::string content = decode(std::string(line.substr(0, line.size() / kGroupCharacters * kGroupCharacters)));
    return content.substr(0, content.find('\0')) + '\n';
}

// Of the file that the library writes, which notices no shortage of room.
std::int64_t decodedBytes(const std::string& file) {
    std::ifstream stream(toPath(file));
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    std::int64_t bytes = 0;
    for (const std::string_view line : decodedLines(text)) {
        const std::string decoded = decodedLine(line);
        bytes += std::ssize(decoded) + std::ranges::count(decoded, '\n') * (kLineEndBytes - 1);
    }
    return bytes;
}

std::int64_t decodeLines(const Base64Options& options, const std::string& output) {
    const int status = decodeFile(options.file.c_str(), output.c_str());
    if (status != StatusOk) {
        throw ToolError(options.file + ": cannot be decoded into " + *options.output + " (" + statusText(status) +
                        "); check that the one may be read and the other written");
    }
    const std::int64_t bytes = decodedBytes(options.file);
    if (fileBytes(output, kFileWanted) != bytes)
        throw ToolError(*options.output + ": cannot be written completely; check that there is room");
    return bytes;
}

// Where the library cannot notice a failure, as on a device, it writes elsewhere.
std::int64_t decodeLinesElsewhere(const Base64Options& options, WholeFile& file) {
    TemporaryFolder folder;
    const std::string lines = folder.add("lines");
    const std::int64_t bytes = decodeLines(options, lines);
    file.write(readWhole(lines, kFileWanted, bytes));
    return bytes;
}

ExitCode runDecodeLines(const Base64Options& options) {
    fileBytes(options.file, kFileWanted);
    requireOutput(options);
    requireLibraryName(options.file);
    requireLibraryName(options.output.value());
    WholeFile file(*options.output);
    const std::optional<std::string> name = file.handOver();
    const std::int64_t bytes = name ? decodeLines(options, *name) : decodeLinesElsewhere(options, file);
    file.commit();
    printWritten(*options.output, bytes);
    return ExitCode::Passed;
}

// The subcommands of "base64", each of which reads a file and may write another one.
class Base64Kinds {
public:
    Base64Kinds(CLI::App& app, Command& chosen)
        : family_(app, chosen, "base64", "Turn files into Base64 text and back") {}

    // Returns the option for the file to write.
    CLI::Option& add(const char* name, const char* description, ExitCode (*run)(const Base64Options&)) {
        CLI::App& kind = family_.add(name, description, run);
        kind.add_option("FILE", family_.options().file, "File to read")->required();
        return *kind.add_option("-o,--output", family_.options().output, "File to write")->type_name("FILE");
    }

private:
    CommandFamily<Base64Options> family_;
};

}  // namespace

void addBase64Command(CLI::App& app, Command& chosen) {
    Base64Kinds kinds(app, chosen);
    kinds.add("encode", "Lines of 76 characters, printed unless there is a file to write", runEncode);
    kinds.add("decode", "A whole text, with or without line ends", runDecode).required();
    kinds
        .add("decode-lines",
             "Each line by itself, up to its first zero byte and without an incomplete group of four at its end",
             runDecodeLines)
        .required();
}

}  // namespace qx::tool
