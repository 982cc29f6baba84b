#include "filter/FilterSummary.h"

#include "text/TextStream.h"
#include "text/TextTable.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <string>

namespace qx::tool {
namespace {

struct Range {
    WORD least = 65535;
    WORD largest = 0;
};

Range rangeOf(const RawImage& image) {
    Range range;
    for (const WORD grey : image.pixels) {
        range.least = std::min(range.least, grey);
        range.largest = std::max(range.largest, grey);
    }
    return range;
}

// The range of one image as a row of the table and as measures of the record.
void addRange(TextTable& table, Record& record, const std::string& name, const RawImage& image) {
    const auto [least, largest] = rangeOf(image);
    table.addRow({name, std::to_string(least), std::to_string(largest)});
    record.measures.push_back({"minimum " + name, static_cast<double>(least), "counts"});
    record.measures.push_back({"maximum " + name, static_cast<double>(largest), "counts"});
}

}  // namespace

Record changesOf(const RawImage& before, const RawImage& after) {
    Record record;
    TextTable table({"image", "min, counts", "max, counts"});
    addRange(table, record, "before", before);
    addRange(table, record, "after", after);
    std::size_t changed = 0;
    int largest = 0;
    for (std::size_t i = 0; i < before.pixels.size(); ++i) {
        const int change = std::abs(before.pixels[i] - after.pixels[i]);
        changed += change > 0 ? 1 : 0;
        largest = std::max(largest, change);
    }
    record.measures.push_back({"changed pixels", static_cast<double>(changed), "pixels"});
    record.measures.push_back({"largest change", static_cast<double>(largest), "counts"});
    TextStream text;
    table.print(text);
    text << "  " << changed << " of " << before.pixels.size() << " pixels changed, by up to " << largest << " counts\n";
    record.text = text.str();
    return record;
}

}  // namespace qx::tool
