#include "commands/Subcommand.h"
#include "common/FileAccess.h"
#include "common/LibraryFile.h"
#include "image/RawImage.h"

#include <QxUtils.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdint>
#include <iostream>
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
constexpr const char* kFileWanted = "the file to read";

struct Base64Options {
    std::string file;
    std::optional<std::string> output;
};

std::string loadFile(const std::string& path) {
    const std::int64_t bytes = fileBytes(path, kFileWanted);
    constexpr std::int64_t kMostBytes = std::numeric_limits<int>::max();
    if (bytes > kMostBytes)
        throw ToolError(path + ": longer than " + std::to_string(kMostBytes) + " bytes; give a shorter file");
    if (bytes == 0)
        return {};
    const std::vector<char> content = loadBytes(path, bytes);
    return {content.begin(), content.end()};
}

void requireOutput(const Base64Options& options) {
    if (!options.output)
        return;
    requireName(*options.output, "the file to write");
    requireOtherFile(*options.output, options.file);
}

void printWritten(const std::string& output) {
    std::cout << output << ": " << fileBytes(output, kFileWanted) << " bytes\n";
}

std::string encode(const std::string& content) {
    const std::size_t groups = (content.size() + kGroupBytes - 1) / kGroupBytes;
    std::string text(groups * kGroupCharacters + 1, '\0');
    base64_encode(content.data(), text.data(), static_cast<int>(content.size()));
    text.pop_back();
    return text;
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
    const std::string lines = inLines(encode(content));
    if (!options.output) {
        std::cout << lines;
        return ExitCode::Passed;
    }
    writeFile(*options.output, lines);
    printWritten(*options.output);
    return ExitCode::Passed;
}

ExitCode runDecode(const Base64Options& options) {
    std::string text = loadFile(options.file);
    requireOutput(options);
    std::erase_if(text, [](char character) { return character == '\r' || character == '\n'; });
    requireBase64(text, options.file);
    writeFile(options.output.value(), decode(text));
    printWritten(*options.output);
    return ExitCode::Passed;
}

ExitCode runDecodeLines(const Base64Options& options) {
    fileBytes(options.file, kFileWanted);
    requireOutput(options);
    const int status = decodeFile(options.file.c_str(), options.output.value().c_str());
    if (status != StatusOk) {
        throw ToolError(options.file + ": cannot be decoded into " + *options.output + " (" + statusText(status) +
                        "); check that the one may be read and the other written");
    }
    printWritten(*options.output);
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
        return *kind.add_option("-o,--output", family_.options().output, "File to write");
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
