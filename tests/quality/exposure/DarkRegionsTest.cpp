// Dark regions and corner symmetry of block medians.

#include "Compare.h"
#include "DetectorFixture.h"
#include "reference/quality/PlainFirstImage.h"

#include "quality/exposure/DarkRegions.h"
#include "quality/exposure/Symmetry.h"

#include <algorithm>
#include <cmath>

namespace {

using namespace qx;
using namespace qx::test;
using Lines = std::vector<std::string>;

using Map = ImageOf<std::uint8_t>;

// Of '#' and other characters, rows of equal length.
Map mapOf(const Lines& rows) {
    Map map{static_cast<int>(rows[0].size()), static_cast<int>(rows.size()), {}};
    for (const std::string& row : rows)
        for (const char c : row)
            map.pixels.push_back(c == '#' ? 1 : 0);
    return map;
}

void expectPlainRegion(const Map& map) {
    EXPECT_EQ(plain::largestRegion(map.data(), map.width, map.height),
              largestRegion({map.data(), map.width, map.height}))
        << map.width << " x " << map.height;
}

TEST(LargestRegion, of_known_maps) {
    const struct {
        int size;
        Lines rows;
    } cases[] = {
        {29, {"###.###", "##...##", "#.#.#.#", "...#...", "#.#.#.#", "##...##", "###.###"}},
        {21, {"#.###.#", "...#...", "#..#..#", "#######", "#..#..#", "...#...", "#.###.#"}},
        {0, {"....", "...."}},
        {3, {"#.#", ".#.", "...", "##."}},
        {2, {"#..", "...", ".##"}},
        // Arms that meet only at the bottom, from either side and nested.
        {11, {"#...#", "#...#", "#...#", "#####"}},
        {12, {"#.#.#.#.#", "#.#.#.#.#", "#.#.#...#", "#.#.#####", "#.#......", "#.#######"}},
        // The two ends of neighbouring rows do not touch.
        {2, {"...##", "#....", "#...."}},
    };
    for (const auto& c : cases) {
        const Map map = mapOf(c.rows);
        Map inside = map;
        EXPECT_EQ(c.size,
                  largestRegion({map.data(), map.width, map.height}, {inside.pixels.data(), map.width, map.height}))
            << c.rows[0];
        EXPECT_EQ(c.size, std::count(inside.pixels.begin(), inside.pixels.end(), 1)) << c.rows[0];
    }
}

Map randomMap(int width, int height, double density, SplitMix64& random) {
    Map map{width, height, {}};
    for (int i = 0; i < width * height; ++i)
        map.pixels.push_back(static_cast<std::uint8_t>(random.uniform() < density ? 1 + random.below(255) : 0));
    return map;
}

TEST(LargestRegion, agrees_with_the_plain_method) {
    SplitMix64 random(5);
    for (int width = 1; width <= 12; ++width) {
        for (int height = 1; height <= 12; ++height)
            for (const double density : {0.2, 0.35, 0.5, 0.7})
                expectPlainRegion(randomMap(width, height, density, random));
    }
    for (const double density : {0.3, 0.38, 0.41, 0.45})
        expectPlainRegion(randomMap(96, 90, density, random));
    // A checkerboard and a comb, whose teeth are regions of their own up to the last row.
    Map checkerboard{61, 40, {}};
    Map comb = checkerboard;
    for (int i = 0; i < 61 * 40; ++i) {
        checkerboard.pixels.push_back(static_cast<std::uint8_t>(i % 2));
        comb.pixels.push_back(static_cast<std::uint8_t>(i % 61 % 2 == 0 || i >= 61 * 39 ? 1 : 0));
    }
    expectPlainRegion(checkerboard);
    expectPlainRegion(comb);
}

class FindDarkRegion : public DetectorFixture {
protected:
    // The verdict of a call, and what it printed.
    int find(const std::vector<float>& blocks, int width, float fraction, int allowedSize) {
        const int height = static_cast<int>(blocks.size()) / width;
        int verdict = -1;
        printed = printedBy([&] { verdict = findDarkRegion({blocks.data(), width, height}, fraction, allowedSize); });
        return verdict;
    }

    std::string printed;
};

TEST_F(FindDarkRegion, distances_reach_across_long_images_from_the_last_maximum) {
    // The square of 49,600 blocks takes more than 31 bits.
    std::vector<float> blocks(50000, 700);
    blocks[0] = 800;
    std::fill(blocks.begin() + 49600, blocks.end(), 0.1f);
    for (const int width : {1, 50000})
        EXPECT_EQ(1062, find(blocks, width, 0.25f, 399)) << width;
    blocks.assign(100, 700);
    blocks[0] = blocks[99] = 800;
    blocks[27] = 150;  // 72 blocks from the last maximum
    EXPECT_EQ(0, find(blocks, 100, 0.25f, 0));
    // The limit falls beyond 36 blocks; it is dark itself. At 40 and 41 blocks it lies below 180 and above 7200 / 41,
    // as single precision has it.
    for (const auto& [distance, limit] :
         {std::pair{36, 200.0f}, {40, 179.999985f}, {41, 175.609772f}, {45, 160.0f}, {72, 100.0f}, {90, 80.0f}}) {
        blocks.assign(100, 700);
        blocks[0] = 800;
        for (const float level : {limit, std::nextafter(limit, 900.0f)}) {
            blocks[static_cast<std::size_t>(distance)] = level;
            EXPECT_EQ(level > limit ? 0 : 1062, find(blocks, distance == 45 ? 1 : 100, 0.25f, 0)) << level;
        }
    }
}

// 27 rows and 36 columns are 45 blocks. The root of 7 x 7 + 37 x 37 is single precision, as is what becomes of it. What
// is not a number is not dark.
TEST_F(FindDarkRegion, distances_count_in_both_directions) {
    std::vector<float> blocks(60 * 50, 700);
    blocks[10 * 60 + 20] = 800;
    blocks[11] = std::nanf("");
    const struct {
        int rows, columns;
        float limit;
    } cases[] = {{27, 36, 160.0f}, {0, 36, 200.0f}, {7, 37, 191.20285f}};
    for (const auto& [rows, columns, limit] : cases) {
        float& block = blocks[static_cast<std::size_t>((10 + rows) * 60 + 20 + columns)];
        for (const float level : {limit, std::nextafter(limit, 300.0f)}) {
            block = level;
            EXPECT_EQ(level > limit ? 0 : 1062, find(blocks, 60, 0.25f, 0)) << level;
        }
        block = 700;
    }
}

TEST_F(FindDarkRegion, counts_all_dark_values_and_judges_the_largest_region) {
    const std::string line = "find 7 binning pixels whose value is less than 33 percent of maximum";
    // A region of four and three of one.
    const std::vector<float> blocks = {1, 1, 9, 9, 1, 9, 9, 1, 9, 9, 9, 9, 9, 1, 9, 1, 9, 9, 9, 9, 9, 9, 1, 9, 9};
    EXPECT_EQ(0, find(blocks, 5, 0.05f, 0));
    EXPECT_EQ(Lines{}, takeLog());
    EXPECT_EQ(0, find(blocks, 5, 0.25f, 4));
    EXPECT_EQ("", printed);
    EXPECT_EQ(1062, find(blocks, 5, 0.25f, 3));
    EXPECT_EQ(line + "\n", printed);
    EXPECT_EQ((Lines{line, "", line, "", line, ""}), takeLog());
}

using CheckSymmetry = DetectorFixture;

// 20 x 18 values with corners of 8 x 8 and a mark between them.
std::vector<float> cornered(float leftTop, float leftBottom, float rightTop, float rightBottom) {
    std::vector<float> blocks(20 * 18, 1e6f);
    for (std::size_t i = 0; i < 64; ++i) {
        const std::size_t left = i / 8 * 20 + i % 8;
        blocks[left] = leftTop;
        blocks[left + 12] = rightTop;
        blocks[left + 10 * 20] = leftBottom;
        blocks[left + 10 * 20 + 12] = rightBottom;
    }
    return blocks;
}

TEST_F(CheckSymmetry, largest_difference_of_neighbouring_corners_decides) {
    float degree = -1;
    EXPECT_EQ(0, checkSymmetry({cornered(100, 90, 80, 70).data(), 20, 18}, degree));
    EXPECT_TRUE(sameBits(0.25f, degree));
    EXPECT_EQ((Lines{"count=64, lt=100", "count=64, lb=90", "count=64, rt=80", "count=64, rb=70",
                     "horAysmDegree=0.250000, verAysmDegree=0.133333"}),
              takeLog());
    // Opposite corners are not compared.
    EXPECT_EQ(0, checkSymmetry({cornered(100, 120, 120, 150).data(), 20, 18}, degree));
    EXPECT_EQ(0, checkSymmetry({cornered(115, 115, 85, 85).data(), 20, 18}, degree));
    EXPECT_TRUE(sameBits(0.3f, degree));
    EXPECT_EQ(1069, checkSymmetry({cornered(1151, 850, 1151, 850).data(), 20, 18}, degree));
    EXPECT_EQ(0, checkSymmetry({cornered(0, 0, 0, 0).data(), 20, 18}, degree));
    EXPECT_TRUE(std::isnan(degree));
}

TEST_F(CheckSymmetry, sums_are_truncated_after_every_addition) {
    std::vector<float> blocks = cornered(2, 2, 2, 2);
    for (std::size_t i = 0; i < 64; ++i)
        blocks[i / 8 * 20 + i % 8] = i % 2 == 0 ? 2.5f : 1.5f;
    float degree = -1;
    EXPECT_EQ(1069, checkSymmetry({blocks.data(), 20, 18}, degree));
    EXPECT_TRUE(sameBits(static_cast<float>(2.0 / 3.0), degree));
    EXPECT_EQ("count=64, lt=1", takeLog()[0]);
    EXPECT_EQ(0, checkSymmetry({cornered(5.99f, 5, 5.5f, 5).data(), 20, 18}, degree));
    EXPECT_TRUE(sameBits(0.0f, degree));
    // What no integer holds is the lowest one.
    takeLog();
    for (const float value : {std::nanf(""), 3e9f}) {
        blocks[0] = value;
        checkSymmetry({blocks.data(), 20, 18}, degree);
        EXPECT_EQ("count=64, lt=-33554432", takeLog()[0]);
    }
}

}  // namespace
