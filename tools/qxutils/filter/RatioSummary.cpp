#include "filter/RatioSummary.h"

#include "filter/Filters.h"
#include "text/TextStream.h"
#include "text/TextTable.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>

namespace qx::tool {
namespace {

using Key = std::int32_t;

// What is infinite or no number comes after it.
constexpr Key kInfinite = std::bit_cast<Key>(std::numeric_limits<float>::infinity());

// What is no number may have a sign.
bool isNumber(Key key) {
    return key >= 0 && key < kInfinite;
}

// Of a row, what is above low and not above high: mostly little, so that it is marked first, several pixels at a time.
void appendWithin(std::span<const float> ratios, Key low, Key high, std::vector<Key>& keys) {
    using Eight = std::uint64_t;
    constexpr std::size_t kEight = sizeof(Eight);
    std::vector<Eight> marks(ratios.size() / kEight + 1);
    auto* const mark = reinterpret_cast<unsigned char*>(marks.data());
    for (std::size_t x = 0; x < ratios.size(); ++x) {
        const Key key = std::bit_cast<Key>(ratios[x]);
        mark[x] = (key > low ? 1 : 0) & (key <= high ? 1 : 0);
    }
    const auto stored = std::make_unique_for_overwrite<Key[]>(ratios.size() + 1);
    Key* next = stored.get();
    for (std::size_t eight = 0; eight < marks.size(); ++eight) {
        if (marks[eight] == 0)
            continue;
        // Without a branch that depends on a value: the next one takes the place of one that is not marked.
        const std::size_t end = std::min((eight + 1) * kEight, ratios.size());
        for (std::size_t x = eight * kEight; x < end; ++x) {
            *next = std::bit_cast<Key>(ratios[x]);
            next += mark[x];
        }
    }
    keys.insert(keys.end(), stored.get(), next);
}

std::span<const float> insideBorder(std::span<const float> row) {
    return row.subspan(kRatioBorder, row.size() - 2 * std::size_t{kRatioBorder});
}

// Those that are numbers, inside the border.
void appendNumbers(const FloatImage& ratio, std::vector<Key>& keys) {
    const auto width = static_cast<std::size_t>(ratio.shape.width);
    for (int y = kRatioBorder; y < ratio.shape.height - kRatioBorder; ++y)
        appendWithin(insideBorder({ratio.row(y), width}), -1, kInfinite - 1, keys);
}

// Of pairs of rows from the top to the bottom.
std::vector<Key> sampleOf(const RawImage& image) {
    constexpr int kPairs = 16;
    const Shape pair{image.shape.width, std::min(image.shape.height, 2 * kRatioBorder + 2)};
    std::vector<Key> sample;
    for (int i = 0; i < kPairs; ++i) {
        const int top = (image.shape.height - pair.height) * i / (kPairs - 1);
        appendNumbers(localRatio({pair, {image.row(top), image.row(top + pair.height)}}), sample);
    }
    return sample;
}

float valueAt(std::int64_t place, std::vector<Key>& keys) {
    std::ranges::nth_element(keys, keys.begin() + place);
    return std::bit_cast<float>(keys[static_cast<std::size_t>(place)]);
}

}  // namespace

RatioSummary::RatioSummary(const RawImage& image) : image_(image) {
    requireRatio(image.shape);
    bracketMedian();
}

void RatioSummary::bracketMedian() {
    constexpr std::ptrdiff_t kLeastReach = 16;
    std::vector<Key> sample = sampleOf(image_);
    if (sample.empty())
        return;
    const std::ptrdiff_t middle = std::ssize(sample) / 2;
    const std::ptrdiff_t reach = std::ssize(sample) / 160 + kLeastReach;
    const auto low = sample.begin() + std::max<std::ptrdiff_t>(middle - reach, 0);
    const auto high = sample.begin() + std::min(middle + reach, std::ssize(sample) - 1);
    std::ranges::nth_element(sample, high);
    high_ = *high;
    std::ranges::nth_element(sample.begin(), low, high);
    low_ = *low;
}

void RatioSummary::add(std::span<const float> rows) {
    const auto width = static_cast<std::size_t>(image_.shape.width);
    for (; !rows.empty(); rows = rows.subspan(width), ++rows_) {
        if (rows_ >= kRatioBorder && rows_ < image_.shape.height - kRatioBorder)
            addInside(insideBorder(rows.first(width)));
    }
}

// Most rows lie within what came before, which takes fewer steps to see than to find their least and largest.
void RatioSummary::addInside(std::span<const float> ratios) {
    const Key low = low_;
    const Key least = least_;
    const Key largest = largest_;
    int belowLow = 0;
    int upToLow = 0;
    int beyond = 0;
    for (const float ratio : ratios) {
        const Key key = std::bit_cast<Key>(ratio);
        belowLow += key < low ? 1 : 0;
        upToLow += key <= low ? 1 : 0;
        beyond |= (key < least ? 1 : 0) | (key > largest ? 1 : 0);
    }
    appendWithin(ratios, low, high_, within_);
    if (beyond != 0) {
        addEach(ratios);
        return;
    }
    count_ += std::ssize(ratios);
    belowLow_ += belowLow;
    upToLow_ += upToLow;
}

void RatioSummary::addEach(std::span<const float> ratios) {
    for (const float ratio : ratios) {
        const Key key = std::bit_cast<Key>(ratio);
        if (!isNumber(key))
            continue;
        ++count_;
        belowLow_ += key < low_ ? 1 : 0;
        upToLow_ += key <= low_ ? 1 : 0;
        least_ = std::min(least_, key);
        largest_ = std::max(largest_, key);
    }
}

// The lower middle. All are put in order where the sample deceived.
float RatioSummary::median() const {
    const std::int64_t place = (count_ - 1) / 2;
    if (place >= belowLow_ && place < upToLow_)
        return std::bit_cast<float>(low_);
    std::vector<Key> keys = within_;
    if (place >= upToLow_ && place < upToLow_ + std::ssize(keys))
        return valueAt(place - upToLow_, keys);
    keys.clear();
    appendNumbers(localRatio(image_), keys);
    return valueAt(place, keys);
}

Record RatioSummary::record() const {
    Record record;
    TextStream text;
    if (count_ > 0) {
        TextTable table({"ratio", "min", "median", "max"});
        std::vector<std::string> cells = {"inside"};
        for (const auto& [name, value] : {std::pair("minimum", std::bit_cast<float>(least_)),
                                          {"median", median()},
                                          {"maximum", std::bit_cast<float>(largest_)}}) {
            cells.push_back(formatNumber(value, 4));
            record.measures.push_back({std::string(name) + " inside", plainNumber(value), "", 4});
        }
        table.addRow(cells);
        table.print(text);
    }
    const Shape inside{image_.shape.width - 2 * kRatioBorder, image_.shape.height - 2 * kRatioBorder};
    const auto without = inside.pixelCount() - count_;
    record.measures.push_back({"pixels without a ratio", static_cast<double>(without), "pixels"});
    text << "  " << toText(inside) << " pixels inside, " << without << " of them without a ratio; the border of "
         << kRatioBorder << " holds 1\n";
    record.text = text.str();
    return record;
}

}  // namespace qx::tool
