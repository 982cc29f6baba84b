// Dark regions and corner symmetry of block medians.

#include "Compare.h"
#include "DetectorFixture.h"
#include "reference/quality/PlainFirstImage.h"

#include "quality/exposure/DarkRegions.h"
#include "quality/exposure/Symmetry.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using namespace qx;
using namespace qx::test;
using Lines = std::vector<std::string>;

// A map of '#' and other characters, rows of equal length.
struct Map {
    int width;
    int height;
    std::vector<std::uint8_t> marked;
};

Map mapOf(const Lines& rows) {
    Map map{static_cast<int>(rows[0].size()), static_cast<int>(rows.size()), {}};
    for (const std::string& row : rows)
        for (const char c : row)
            map.marked.push_back(c == '#' ? 1 : 0);
    return map;
}

int sizeOfRegion(Map& map, int row, int col) {
    if (row < 0 || row >= map.height || col < 0 || col >= map.width)
        return 0;
    std::uint8_t& here = map.marked[static_cast<std::size_t>(row * map.width + col)];
    if (here == 0)
        return 0;
    here = 0;
    int size = 1;
    for (int i = -1; i <= 1; ++i)
        for (int j = -1; j <= 1; ++j)
            size += sizeOfRegion(map, row + i, col + j);
    return size;
}

int floodFilled(Map map) {
    int largest = 0;
    for (int row = 0; row < map.height; ++row)
        for (int col = 0; col < map.width; ++col)
            largest = std::max(largest, sizeOfRegion(map, row, col));
    return largest;
}

void expectFloodFilled(const Map& map) {
    const int expected = floodFilled(map);
    EXPECT_EQ(expected, plain::largestRegion(map.marked.data(), map.width, map.height));
    EXPECT_EQ(expected, largestRegion({map.marked.data(), map.width, map.height})) << map.width << " x " << map.height;
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
        // Arms that meet only at the bottom, from either side and nested.
        {11, {"#...#", "#...#", "#...#", "#####"}},
        {12, {"#.#.#.#.#", "#.#.#.#.#", "#.#.#...#", "#.#.#####", "#.#......", "#.#######"}},
        // The two ends of neighbouring rows do not touch.
        {2, {"...##", "#....", "#...."}},
    };
    for (const auto& c : cases) {
        const Map map = mapOf(c.rows);
        EXPECT_EQ(c.size, floodFilled(map)) << c.rows[0];
        expectFloodFilled(map);
    }
}

Map randomMap(int width, int height, double density, SplitMix64& random) {
    Map map{width, height, {}};
    for (int i = 0; i < width * height; ++i)
        map.marked.push_back(static_cast<std::uint8_t>(random.uniform() < density ? 1 + random.below(255) : 0));
    return map;
}

TEST(LargestRegion, agrees_with_a_flood_fill) {
    SplitMix64 random(5);
    for (int width = 1; width <= 12; ++width) {
        for (int height = 1; height <= 12; ++height)
            for (const double density : {0.2, 0.35, 0.5, 0.7})
                expectFloodFilled(randomMap(width, height, density, random));
    }
    for (const double density : {0.3, 0.38, 0.41, 0.45})
        expectFloodFilled(randomMap(96, 90, density, random));
    // A checkerboard and a comb, whose teeth are regions of their own up to the last row.
    Map checkerboard{61, 40, {}};
    Map comb = checkerboard;
    for (int i = 0; i < 61 * 40; ++i) {
        checkerboard.marked.push_back(static_cast<std::uint8_t>(i % 2));
        comb.marked.push_back(static_cast<std::uint8_t>(i % 61 % 2 == 0 || i >= 61 * 39 ? 1 : 0));
    }
    expectFloodFilled(checkerboard);
    expectFloodFilled(comb);
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
    // The limit falls beyond 36 blocks; it is dark itself.
    for (const auto& [distance, limit] : {std::pair{36, 200.0f}, {45, 160.0f}, {72, 100.0f}, {90, 80.0f}}) {
        blocks.assign(100, 700);
        blocks[0] = 800;
        for (const float level : {limit, std::nextafter(limit, 900.0f)}) {
            blocks[static_cast<std::size_t>(distance)] = level;
            EXPECT_EQ(level > limit ? 0 : 1062, find(blocks, distance == 45 ? 1 : 100, 0.25f, 0)) << level;
        }
    }
}

TEST_F(FindDarkRegion, counts_all_dark_values_and_judges_the_largest_region) {
    const std::string line = "find 7 binning pixels whose value is less than 33 percent of maximum";
    const std::string logged = "Utils  | I | " + line;
    // A region of four and three of one.
    const std::vector<float> blocks = {1, 1, 9, 9, 1, 9, 9, 1, 9, 9, 9, 9, 9, 1, 9, 1, 9, 9, 9, 9, 9, 9, 1, 9, 9};
    EXPECT_EQ(0, find(blocks, 5, 0.05f, 0));
    EXPECT_EQ(Lines{}, logLines());
    EXPECT_EQ(0, find(blocks, 5, 0.25f, 4));
    EXPECT_EQ("", printed);
    EXPECT_EQ(1062, find(blocks, 5, 0.25f, 3));
    EXPECT_EQ(line + "\n", printed);
    EXPECT_EQ((Lines{logged, "", logged, "", logged, ""}), logLines());
}

TEST_F(FindDarkRegion, agrees_with_the_plain_method) {
    SplitMix64 random(9);
    for (const int width : {1, 2, 7, 40, 96}) {
        for (const int height : {1, 3, 16, 93}) {
            for (const float fraction : {0.1f, 0.25f, 0.6f}) {
                std::vector<float> blocks;
                for (int i = 0; i < width * height; ++i)
                    blocks.push_back(static_cast<float>(random.below(4000)) / 3.0f);
                blocks[static_cast<std::size_t>(random.below(width * height))] = 1500;
                if (random.below(4) == 0)
                    blocks[static_cast<std::size_t>(random.below(width * height))] = std::nanf("");
                const std::vector<std::uint8_t> marks = plain::darkMarks(blocks.data(), width, height, fraction);
                const int size = plain::largestRegion(marks.data(), width, height);
                for (const int allowed : {std::max(size - 1, 0), size, 4}) {
                    const int expected = plain::darkRegionVerdict(blocks.data(), width, height, fraction, allowed);
                    EXPECT_EQ(expected, find(blocks, width, fraction, allowed))
                        << width << " x " << height << ", fraction " << fraction << ", allowed " << allowed;
                }
            }
        }
    }
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
    EXPECT_EQ((Lines{"Utils  | I | count=64, lt=100", "Utils  | I | count=64, lb=90", "Utils  | I | count=64, rt=80",
                     "Utils  | I | count=64, rb=70", "Utils  | I | horAysmDegree=0.250000, verAysmDegree=0.133333"}),
              logLines());
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
    EXPECT_EQ("Utils  | I | count=64, lt=1", logLines()[0]);
    EXPECT_EQ(0, checkSymmetry({cornered(5.99f, 5, 5.5f, 5).data(), 20, 18}, degree));
    EXPECT_TRUE(sameBits(0.0f, degree));
}

TEST_F(CheckSymmetry, agrees_with_the_plain_method) {
    SplitMix64 random(3);
    for (int round = 0; round < 300; ++round) {
        const int width = 8 + random.below(14);
        const int height = 8 + random.below(14);
        const double tilt = random.uniform();
        std::vector<float> blocks;
        for (int i = 0; i < width * height; ++i)
            blocks.push_back(static_cast<float>((1 + tilt * (i % width) / width) * 60 + random.uniform()));
        const float odd[] = {std::nanf(""), 3e9f, 1e9f, 60.0f};
        blocks[static_cast<std::size_t>(random.below(width * height))] = odd[std::min(round % 20, 3)];
        const plain::Symmetry expected = plain::symmetry(blocks.data(), width, height);
        float degree = -1;
        EXPECT_EQ(expected.verdict, checkSymmetry({blocks.data(), width, height}, degree)) << "round " << round;
        EXPECT_EQ(expected.degree, degree) << "round " << round;
    }
}

}  // namespace
