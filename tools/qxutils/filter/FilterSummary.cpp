#include "filter/FilterSummary.h"

#include "common/TextTable.h"
#include "filter/Filters.h"

#include <QxUtils/Numerics.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <iterator>

namespace qx::tool {
namespace {

void addRange(TextTable& table, const char* name, const RawImage& image) {
    const auto [least, largest] = std::minmax_element(image.pixels.begin(), image.pixels.end());
    table.addRow({name, std::to_string(*least), std::to_string(*largest)});
}

void addRange(TextTable& table, const std::vector<float>& ratios) {
    const auto text = [](float value) { return formatNumber(value, 4); };
    const auto [least, largest] = std::minmax_element(ratios.begin(), ratios.end());
    const float median = getMedian(ratios.data(), static_cast<int>(ratios.size()));
    table.addRow({"inside", text(*least), text(median), text(*largest)});
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

void printChanges(const RawImage& before, const RawImage& after) {
    TextTable table({"image", "min, counts", "max, counts"});
    addRange(table, "before", before);
    addRange(table, "after", after);
    table.print(std::cout);
    std::size_t changed = 0;
    int largest = 0;
    for (std::size_t i = 0; i < before.pixels.size(); ++i) {
        const int change = std::abs(before.pixels[i] - after.pixels[i]);
        changed += change > 0 ? 1 : 0;
        largest = std::max(largest, change);
    }
    std::cout << "  " << changed << " of " << before.pixels.size() << " pixels changed, by up to " << largest
              << " counts\n";
}

void printRatios(const FloatImage& ratio) {
    const std::vector<float> ratios = finiteRatios(ratio);
    if (!ratios.empty()) {
        TextTable table({"ratio", "min", "median", "max"});
        addRange(table, ratios);
        table.print(std::cout);
    }
    const Shape inside{ratio.shape.width - 2 * kRatioBorder, ratio.shape.height - 2 * kRatioBorder};
    const auto without = inside.pixelCount() - std::ssize(ratios);
    std::cout << "  " << toText(inside) << " pixels inside, " << without << " of them without a ratio; the border of "
              << kRatioBorder << " holds 1\n";
}

}  // namespace qx::tool
