// What the command-line tool reads from files and options: it takes it, or refuses it by an exception.

#include "FuzzInput.h"

#include "batch/InputNames.h"
#include "common/ToolError.h"
#include "defects/DefectLists.h"
#include "detector/DetectorSetup.h"
#include "image/Region.h"
#include "info/FileHeader.h"
#include "info/Geometry.h"
#include "results/Comparison.h"
#include "results/RecordCsv.h"
#include "snr/FactorySeries.h"
#include "snr/FactorySnrRecords.h"
#include "text/DateText.h"
#include "text/FileName.h"
#include "text/NumberText.h"

#include <sstream>

using namespace qx::fuzz;
using namespace qx::tool;

namespace {

template <class Work>
void mayRefuse(Work work) {
    try {
        work();
    } catch (const ToolError& error) {
        require(*error.what() != '\0', "a refusal tells why");
    }
}

// Whether folders might be made outside the one of the input.
bool leavesItsFolder(std::string_view text) {
    return text.find("directories") != text.npos &&
           (text.find_first_of("/\\") != text.npos || text.find("..") != text.npos);
}

const Target kDetectorToml("DetectorToml", [](Input& input) {
    if (leavesItsFolder(input.rest()))
        return;
    static const std::filesystem::path folder = fuzzFolder() + "kit";
    std::filesystem::create_directory(folder);
    static StoredFile file("kit/detector.toml", 0);
    const DetectorScope scope;
    file.end(0, input.rest());
    mayRefuse([] { loadDetectorFile(file.path()); });
    if (input.rest().find("directories") == std::string_view::npos)
        return;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.is_directory())
            std::filesystem::remove_all(entry);
    }
});

void readSeries(StoredFile& file, const Input& input) {
    file.end(0, input.rest());
    mayRefuse([&] {
        const FactorySeries series(file.path(), {300, 300});
        for (const float value : series.nearest(500.0f))
            require(value > 0, "positive values");
    });
}

const Target kFactoryToml("FactoryToml", [](Input& input) {
    static StoredFile file("series.toml", 0);
    readSeries(file, input);
});
const Target kFactoryJson("FactoryJson", [](Input& input) {
    static StoredFile file("series.json", 0);
    readSeries(file, input);
});
const Target kFactoryText("FactoryText", [](Input& input) {
    static StoredFile file("series.txt", 0);
    readSeries(file, input);
});

// What was read is told in every form, and reads back as the same.
const Target kResults("Results", [](Input& input) {
    std::vector<Record> records;
    try {
        records = parseRecords(std::string(input.rest()));
    } catch (const std::exception&) {
        return;
    }
    std::ostringstream out;
    for (const Record& record : records) {
        const std::string line = toLine(toJson(record));
        require(toLine(toJson(parseRecords(line).at(0))) == line, "reads back as the same");
        printCsv(out, record);
    }
    const Comparison comparison = compareRecords(records, records);
    require(!comparison.isChanged(), "equal results");
    printTable(out, comparison);
    printCsv(out, comparison);
    toLine(toJson(comparison));
});

const Target kOptions("Options", [](Input& input) {
    const std::string text = input.text();
    const Shape image{1 + input.below(200), 1 + input.below(200)};
    mayRefuse([&] {
        const Shape shape = parseShape(text);
        require(readShape(toText(shape)) == shape || isKnownPanel(shape), "told as it is read");
        require(std::min(shape.width, shape.height) >= 1 && std::max(shape.width, shape.height) <= kMaxSide, "sides");
    });
    mayRefuse([&] {
        const Region part = parseRegion(text, image);
        require(part.corner.x >= 0 && part.corner.x + part.shape.width <= image.width, "columns of the image");
        require(part.corner.y >= 0 && part.corner.y + part.shape.height <= image.height, "rows of the image");
    });
    if (const std::optional<int> number = parseInteger(text))
        require(parseInteger(std::to_string(*number)) == number, "a number as it is told");
    isDateOrTime(text);
    isFactorySnrName(text);
    printable(text);
});

const Target kNameList("NameList", [](Input& input) {
    if (input.rest().find('/') != std::string_view::npos)
        return;
    static StoredFile file("names.txt", 0);
    file.end(0, input.rest());
    mayRefuse([] { filesNamedBy({"@" + file.path()}, false, {".raw"}); });
});

// A file of any kind, as the commands that tell about files read it.
const Target kToolFiles("ToolFiles", [](Input& input) {
    static StoredFile classic("lists.cal"), snr("all-SNR.raw");
    snr.end(kHeaderBytes, input.rest());
    mayRefuse([] { loadFactorySnrFile(snr.path()); });
    mayRefuse([] { loadFactorySnrHeader(snr.path()); });
    putDefects(classic, input);
    mayRefuse([] { loadDefectLists({classic.path(), kDefectFileWanted}); });
    mayRefuse([&] {
        const FileHeader header = loadFileHeader(classic.path());
        std::ostringstream out;
        printHeader(out, header);
        header.fits(static_cast<std::int64_t>(kHeaderBytes + input.rest().size()));
    });
    plausibleGeometries(input.number<std::int32_t>());
});

}  // namespace
