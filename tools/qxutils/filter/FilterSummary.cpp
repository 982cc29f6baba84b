#include "filter/FilterSummary.h"

#include "filter/Filters.h"
#include "text/TextStream.h"
#include "text/TextTable.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <utility>
#include <vector>

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

// Numbers from zero up are in the order of their bits; what is infinite or no number comes after them.
using Key = std::uint32_t;
constexpr Key kInfinite = std::bit_cast<Key>(std::numeric_limits<float>::infinity());

// The ratios of pixels that the filter works on, but for those of pixels of 0.
class FiniteRatios {
public:
    explicit FiniteRatios(const FloatImage& ratio)
        : ratio_(ratio), width_(ratio.shape.width - 2 * kRatioBorder), height_(ratio.shape.height - 2 * kRatioBorder) {
        for (int y = 0; y < height_; ++y)
            addRow(row(y));
    }

    std::int64_t count() const { return count_; }
    float least() const { return std::bit_cast<float>(least_); }
    float largest() const { return std::bit_cast<float>(largest_); }

    // The lower middle. A sample tells about where it lies, so that few values have to be put in order.
    float median() const {
        const auto [low, high] = bracket();
        std::vector<Key> near = keysWithin(low, high);
        std::int64_t place = (count_ - 1) / 2 - countBelow(low);
        if (place < 0 || place >= std::ssize(near)) {
            near = keysWithin(0, kInfinite - 1);
            place = (count_ - 1) / 2;
        }
        std::ranges::nth_element(near, near.begin() + place);
        return std::bit_cast<float>(near[static_cast<std::size_t>(place)]);
    }

private:
    const float* row(int y) const { return ratio_.row(y + kRatioBorder) + kRatioBorder; }

    void addRow(const float* ratios) {
        const int width = width_;
        int count = 0;
        Key least = kInfinite;
        Key largest = 0;
        for (int x = 0; x < width; ++x) {
            const Key key = std::bit_cast<Key>(ratios[x]);
            count += key < kInfinite ? 1 : 0;
            least = std::min(least, key);
            largest = std::max(largest, key < kInfinite ? key : 0);
        }
        count_ += count;
        least_ = std::min(least_, least);
        largest_ = std::max(largest_, largest);
    }

    std::pair<Key, Key> bracket() const {
        constexpr std::int64_t kSampleSize = 20000;
        const std::int64_t pixels = std::int64_t{width_} * height_;
        std::vector<Key> sample;
        for (std::int64_t i = 0; i < pixels; i += std::max<std::int64_t>(1, pixels / kSampleSize))
            sample.push_back(std::bit_cast<Key>(row(static_cast<int>(i / width_))[i % width_]));
        std::erase_if(sample, [](Key key) { return key >= kInfinite; });
        if (sample.empty())
            return {0, 0};
        std::ranges::sort(sample);
        const std::size_t reach = sample.size() / 60;
        const std::size_t middle = sample.size() / 2;
        return {sample[middle - reach], sample[std::min(middle + reach, sample.size() - 1)]};
    }

    std::int64_t countBelow(Key low) const {
        const int width = width_;
        std::int64_t below = 0;
        for (int y = 0; y < height_; ++y) {
            const float* const ratios = row(y);
            for (int x = 0; x < width; ++x)
                below += std::bit_cast<Key>(ratios[x]) < low ? 1 : 0;
        }
        return below;
    }

    // Without a branch that depends on a value: every one is stored, and the next one takes its place if it is outside.
    std::vector<Key> keysWithin(Key low, Key high) const {
        const Key most = high - low;
        const int width = width_;
        std::vector<Key> keys;
        std::vector<Key> ofRow(static_cast<std::size_t>(width) + 1);
        Key* const first = ofRow.data();
        for (int y = 0; y < height_; ++y) {
            const float* const ratios = row(y);
            Key* next = first;
            for (int x = 0; x < width; ++x) {
                const Key key = std::bit_cast<Key>(ratios[x]);
                *next = key;
                next += key - low <= most ? 1 : 0;
            }
            keys.insert(keys.end(), first, next);
        }
        return keys;
    }

    const FloatImage& ratio_;
    int width_;
    int height_;
    std::int64_t count_ = 0;
    Key least_ = kInfinite;
    Key largest_ = 0;
};

void addRange(TextTable& table, Record& record, const FiniteRatios& ratios) {
    std::vector<std::string> cells = {"inside"};
    for (const auto& [name, value] :
         {std::pair("minimum", ratios.least()), {"median", ratios.median()}, {"maximum", ratios.largest()}}) {
        cells.push_back(formatNumber(value, 4));
        record.measures.push_back({std::string(name) + " inside", plainNumber(value), "", 4});
    }
    table.addRow(cells);
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
    const FiniteRatios ratios(ratio);
    if (ratios.count() > 0) {
        TextTable table({"ratio", "min", "median", "max"});
        addRange(table, record, ratios);
        table.print(text);
    }
    const Shape inside{ratio.shape.width - 2 * kRatioBorder, ratio.shape.height - 2 * kRatioBorder};
    const auto without = inside.pixelCount() - ratios.count();
    record.measures.push_back({"pixels without a ratio", static_cast<double>(without), "pixels"});
    text << "  " << toText(inside) << " pixels inside, " << without << " of them without a ratio; the border of "
         << kRatioBorder << " holds 1\n";
    record.text = text.str();
    return record;
}

}  // namespace qx::tool
