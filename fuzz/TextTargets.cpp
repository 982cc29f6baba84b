#include "FuzzInput.h"
#include "reference/files/PlainBase64.h"

#include <QxUtils.h>
#include <VirtualDetector.h>

#include <algorithm>
#include <vector>

using namespace qx::fuzz;

namespace {

// The characters and a zero, and no byte more.
std::vector<char> exact(const std::string& text) {
    return {text.c_str(), text.c_str() + text.size() + 1};
}

// Any bytes survive the way there and back, and any text decodes as the plain method says, in buffers of exactly the
// size that is promised to be enough.
const Target kBase64("Base64", [](Input& input) {
    const std::vector<char> bytes(input.rest().begin(), input.rest().end());
    const std::size_t size = bytes.size();
    std::vector<char> text((size + 2) / 3 * 4 + 1, '#');
    require(base64_encode(bytes.data(), text.data(), static_cast<int>(size)) == text.data(), "destination is returned");
    require(qx::plain::encodedBase64({bytes.begin(), bytes.end()}) + '\0' == std::string(text.begin(), text.end()),
            "plain method's characters and a zero");
    std::vector<char> back((text.size() - 1) / 4 * 3);
    require(base64_decode(text.data(), back.data()) == static_cast<int>(size), "every byte returns");
    back.resize(size);
    require(back == bytes, "bytes return as they were");

    // Up to the first zero the input itself is a text.
    const std::string hostile = input.text();
    std::vector<char> decoded((hostile.size() + 3) / 4 * 3);
    const int count = base64_decode(exact(hostile).data(), decoded.data());
    require(count >= 0 && count <= static_cast<int>(decoded.size()), "count within the promised size");
    require(qx::plain::decodedBase64(hostile) == std::string(decoded.begin(), decoded.begin() + count),
            "plain method's bytes");
});

const Target kBase64File("Base64File", [](Input& input) {
    static StoredFile source("source.txt", 0), destination("decoded.txt", 0);
    source.end(0, input.rest());
    require(decodeFile(source.path().c_str(), destination.path().c_str()) == 0, "every text is decoded");
    require(std::filesystem::file_size(destination.path()) <= 3 * input.rest().size() + 2, "no longer than its lines");
});

void cut(const std::string& text, char separator) {
    char** pieces = nullptr;
    int count = -1;
    const int status = CutString(pieces, exact(text).data(), separator, count);
    require(status == 0 || status == 1020, "0 or 1020");
    require(count >= 0 && count <= 40, "at most 40 pieces");
    std::string joined;
    for (int i = 0; i < count; ++i)
        joined.append(i == 0 ? "" : std::string(1, separator)).append(pieces[i], strnlen(pieces[i], 100));
    require(text.starts_with(joined), "pieces are the text");
    require(status != 0 || text.size() - joined.size() <= 1, "all of it");
    if (pieces != nullptr) {
        deleteMemory(pieces[0]);
        deleteMemory2(pieces);
    }
}

void search(const std::string& text, const std::string& pattern) {
    int position = -2;
    getStrPos(exact(text).data(), exact(pattern).data(), static_cast<int>(text.size()),
              static_cast<int>(pattern.size()), position);
    const std::size_t found = text.find(pattern);
    const bool counts = found != std::string::npos && found + pattern.size() < text.size();
    require(position == (counts ? static_cast<int>(found) : -1), "first place but the last");
}

// What is between the markers ends the process when it is too long.
bool endsTheProcess(const std::string& name) {
    const std::size_t begin = name.find("ms-"), end = name.find("-mA");
    return begin != std::string::npos && end != std::string::npos && end - begin >= 50;
}

const Target kTexts("Texts", [](Input& input) {
    const char separator = input.number<char>();
    const int time = input.number<int>();
    const std::string pattern = input.text(), text = input.text();
    cut(text, separator);
    search(text, pattern);
    const int address = checkIP(exact(text).data());
    require(address == 0 || address == 1020, "0 or 1020");
    CheckMeasures measures{};
    require(measureDarkTimeRepeat(exact(text).data(), time, &measures) == 0, "a list of dark times");
    require(isPassed(measures) == (CheckDarkTimeRepeat(exact(text).data(), time) == 0), "one verdict");
    if (!endsTheProcess(text))
        getGainExpTime(exact(text).data());
    const std::string path = fuzzFolder() + text;
    std::vector<char> writable = exact(path);
    char* directory = writable.data();
    const int there = CheckDirPath(directory);
    require(there == 0 || there == 1038, "0 or 1038");
    long size = -1;
    const int status = getImageSize(exact(fuzzFolder()).data(), exact(text).data(), size);
    require((status == 0) == (size >= 0), "a size or a status");
    WriteErrorLine(time, time, exact(text).data());
});

// A log's name may be anything.
const Target kLogNames("LogNames", [](Input& input) {
    const std::string name = input.text(), logs = fuzzFolder() + "logs/";
    if (name.empty() || name.size() > 200 || name == "." || name == ".." ||
        name.find_first_of("/\\:*?\"<>|") != std::string::npos ||
        std::any_of(name.begin(), name.end(), [](unsigned char c) { return c < ' ' || c >= 0x7F; }))
        return;
    qxkit::virtualDetector().workDirectory = fuzzFolder();
    std::filesystem::create_directory(logs);
    qx::test::writeFile(logs + name, "");
    require(removeLogFile() == 0, "the folder is listed");
    std::filesystem::remove(logs + name);
});

}  // namespace
