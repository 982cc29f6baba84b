#include "filter/FilterSummary.h"

#include "filter/Filters.h"
#include "image/MedianOf.h"
#include "text/TextStream.h"
#include "text/TextTable.h"

#include <QxUtils/Numerics.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace qx::tool {
namespace {

// The range of one image as a row of the table and as measures of the record.
void addRange(TextTable& table, Record& record, const std::string& name, const RawImage& image) {
    const auto [least, largest] = std::minmax_element(image.pixels.begin(), image.pixels.end());
    table.addRow({name, std::to_string(*least), std::to_string(*largest)});
    record.measures.push_back({"minimum " + name, static_cast<double>(*least), "counts"});
    record.measures.push_back({"maximum " + name, static_cast<double>(*largest), "counts"});
}

void addRange(TextTable& table, Record& record, const std::vector<float>& ratios) {
    const auto [least, largest] = std::minmax_element(ratios.begin(), ratios.end());
    const float median = medianOf(ratios.data(), static_cast<int>(ratios.size()));
    std::vector<std::string> cells = {"inside"};
    for (const auto& [name, value] : {std::pair("minimum", *least), {"median", median}, {"maximum", *largest}}) {
        cells.push_back(formatNumber(value, 4));
        record.measures.push_back({std::string(name) + " inside", plainNumber(value), "", 4});
    }
    table.addRow(cells);
}

// Without the border, and without those of pixels of 0.
std::vector<float> finiteRatios(const FloatImage& ratio) {
    std::vector<float> finite;
    for (int row = kRatioBorder; row < ratio.shape.height - kRatioBorder; ++row) {
        const float* const line = ratio.row(row);
        std::copy_if(line + kRatioBorder, line + ratio.shape.width - kRatioBorder, std::back_inserter(finite),
                     [](float value) { return std::isfinite(value); });
    }
    return finite;
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

Record ratiosOf(const FloatImage& ratio) {
    Record record;
    TextStream text;
    const std::vector<float> ratios = finiteRatios(ratio);
    if (!ratios.empty()) {
        TextTable table({"ratio", "min", "median", "max"});
        addRange(table, record, ratios);
        table.print(text);
    }
    const Shape inside{ratio.shape.width - 2 * kRatioBorder, ratio.shape.height - 2 * kRatioBorder};
    const auto without = inside.pixelCount() - std::ssize(ratios);
    record.measures.push_back({"pixels without a ratio", static_cast<double>(without), "pixels"});
    text << "  " << toText(inside) << " pixels inside, " << without << " of them without a ratio; the border of "
         << kRatioBorder << " holds 1\n";
    record.text = text.str();
    return record;
}

}  // namespace qx::tool
