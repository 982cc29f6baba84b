#include "Builders.h"

#include <QxCorrection.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <vector>

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

using Field = qx::test::ImageOf<float>;

// A plane: whatever lies between good pixels on a line can be restored exactly.
Field ramp(int width, int height) {
    Field field{width, height, {}};
    for (int i = 0; i < width * height; ++i)
        field.pixels.push_back(1000.0f + 2.0f * static_cast<float>(i % width) - 3.0f * static_cast<float>(i / width));
    return field;
}

std::set<int> pixelsOf(const VectorDefect& set, int width, int height) {
    std::set<int> pixels;
    for (const auto& list : {set.points, set.clusters}) {
        std::copy_if(list.begin(), list.end(), std::inserter(pixels, pixels.end()),
                     [&](int pixel) { return pixel >= 0 && pixel < width * height; });
    }
    for (int i = 0; i < width * height; ++i) {
        const bool badRow = std::count(set.rows.begin(), set.rows.end(), i / width) != 0;
        if (badRow || std::count(set.columns.begin(), set.columns.end(), i % width) != 0)
            pixels.insert(i);
    }
    return pixels;
}

// Spoils the listed pixels and corrects them.
Field corrected(Field field, VectorDefect set) {
    for (const int pixel : pixelsOf(set, field.width, field.height))
        field.pixels[static_cast<std::size_t>(pixel)] = kNaN;
    EXPECT_EQ(0, correctImgDefectMap(field.pixels.data(), field.width, field.height, &set, 0));
    return field;
}

void expectSame(Field expected, Field actual) {
    for (int row = 0; row < expected.height; ++row) {
        for (int column = 0; column < expected.width; ++column)
            ASSERT_NEAR(expected.at(row, column), actual.at(row, column), 1e-3) << row << ", " << column;
    }
}

TEST(CorrectImgDefectMap, restores_a_ramp_from_every_kind_of_list) {
    const VectorDefect sets[] = {
        {{5 * 40 + 7, 6 * 40 + 8, 20 * 40 + 38}, {}, {}, {}},
        {{}, {10 * 40 + 10, 10 * 40 + 11, 11 * 40 + 10, 11 * 40 + 11, 12 * 40 + 10, -1, 20 * 40 + 5, -1}, {}, {}},
        {{}, {}, {3, 4, 5, 20}, {}},
        {{}, {}, {}, {1, 2, 30}},
        {{9 * 40 + 9, 14 * 40 + 22}, {}, {10, 11}, {12, 20}},
    };
    for (const VectorDefect& set : sets)
        expectSame(ramp(40, 30), corrected(ramp(40, 30), set));
}

TEST(CorrectImgDefectMap, keeps_good_pixels_to_the_bit) {
    const VectorDefect set{{0, 39, 7 * 40 + 3}, {50, 51, -1}, {29}, {0, 39}};
    Field field = ramp(40, 30);
    field.at(15, 15) = -1e30f;
    const Field result = corrected(field, set);
    const std::set<int> bad = pixelsOf(set, 40, 30);
    for (int i = 0; i < 40 * 30; ++i) {
        const auto at = static_cast<std::size_t>(i);
        if (bad.contains(i))
            ASSERT_FALSE(std::isnan(result.pixels[at])) << i;
        else
            ASSERT_EQ(field.pixels[at], result.pixels[at]) << i;
    }
}

Field turned(Field field) {
    std::reverse(field.pixels.begin(), field.pixels.end());
    return field;
}

TEST(CorrectImgDefectMap, takes_values_of_good_pixels_alone_whatever_the_order) {
    Field field = ramp(40, 30);
    for (std::size_t i = 0; i < field.pixels.size(); ++i)
        field.pixels[i] = static_cast<float>(i * i % 997);
    VectorDefect set{{}, {410, 411, 412, 450, 451, 452, 490, 491, 492, -1}, {20, 21}, {0, 30, 31}};
    VectorDefect turnedSet{{}, {}, {8, 9}, {8, 9, 39}};
    for (const int pixel : set.clusters)
        turnedSet.clusters.push_back(pixel < 0 ? pixel : 40 * 30 - 1 - pixel);
    expectSame(corrected(field, set), turned(corrected(turned(field), turnedSet)));
}

TEST(CorrectImgDefectMap, border_pixels_take_values_of_their_surroundings) {
    VectorDefect set{{0, 39, 29 * 40, 29 * 40 + 39}, {}, {0, 29}, {0, 39}};
    Field result = corrected(ramp(40, 30), set);
    for (const int row : {0, 29}) {
        for (const int column : {0, 39})
            EXPECT_NEAR(ramp(40, 30).at(row, column), result.at(row, column), 10.0f);
    }
}

TEST(CorrectImgDefectMap, fills_areas_far_from_any_good_pixel) {
    Field field{400, 300, std::vector<float>(400 * 300, 80.0f)};
    VectorDefect set;
    for (int row = 1; row < 299; ++row) {
        for (int column = 1; column < 399; ++column)
            set.clusters.push_back(row * 400 + column);
    }
    std::fill_n(field.pixels.begin(), 400, 100.0f);
    const Field result = corrected(field, set);
    const auto [low, high] = std::minmax_element(result.pixels.begin(), result.pixels.end());
    EXPECT_NEAR(80.0f, *low, 1e-3);
    EXPECT_EQ(100.0f, *high);
}

TEST(CorrectImgDefectMap, takes_the_only_good_pixel_everywhere) {
    VectorDefect set;
    for (int pixel = 1; pixel < 200 * 90; ++pixel)
        set.points.push_back(pixel);
    Field field{200, 90, std::vector<float>(200 * 90, 5.0f)};
    for (const float value : corrected(field, set).pixels)
        ASSERT_FLOAT_EQ(5.0f, value);
    set.points.push_back(0);
    field.pixels[7] = 6.0f;
    std::vector<float> image = field.pixels;
    EXPECT_EQ(0, correctImgDefectMap(image.data(), 200, 90, &set, 0));
    EXPECT_EQ(field.pixels, image);
}

TEST(CorrectImgDefectMap, ignores_entries_outside_the_image) {
    constexpr int kMax = std::numeric_limits<int>::max();
    const VectorDefect set{{-5, 1200, kMax}, {-1, -7, 1200, kMax}, {-1, 30, kMax}, {-1, 40, kMax}};
    EXPECT_EQ(ramp(40, 30).pixels, corrected(ramp(40, 30), set).pixels);
}

TEST(CorrectImgDefectMap, refuses_null_and_empty_images) {
    VectorDefect set;
    float pixel = 3.0f;
    EXPECT_EQ(1057, correctImgDefectMap(nullptr, 1, 1, &set, 0));
    EXPECT_EQ(1057, correctImgDefectMap(&pixel, 1, 1, nullptr, 0));
    EXPECT_EQ(1020, correctImgDefectMap(&pixel, 0, 1, &set, 0));
    EXPECT_EQ(1020, correctImgDefectMap(&pixel, 1, -1, &set, 0));
    set.points = {0};
    EXPECT_EQ(0, correctImgDefectMap(&pixel, 1, 1, &set, 0));
    EXPECT_EQ(3.0f, pixel);
}

TEST(LoadDefectFromNoiseAndMultImgs, splits_by_size_and_keeps_separators) {
    VectorDefect set{
        {0, 99, 100, -1, 50}, {1, 100, 2, -1, 200, 201, -1, -1, 3, -1, -7, -1, 300}, {9, 10, -1, 0}, {0, 10, 9}};
    VectorDefect valid{{77}, {77}, {77}, {77}};
    VectorDefect rest = valid;
    ASSERT_EQ(0, loadDefectFromNoiseAndMultImgs(10, 10, &set, &valid, &rest));
    EXPECT_EQ((std::vector<int>{0, 99, 50}), valid.points);
    EXPECT_EQ((std::vector<int>{100, -1}), rest.points);
    EXPECT_EQ((std::vector<int>{1, 2, -1, -1, -1, 3, -1, -1}), valid.clusters);
    EXPECT_EQ((std::vector<int>{100, -1, 200, 201, -1, -7, -1, 300}), rest.clusters);
    EXPECT_EQ((std::vector<int>{9, 0}), valid.rows);
    EXPECT_EQ((std::vector<int>{10, -1}), rest.rows);
    EXPECT_EQ((std::vector<int>{0, 9}), valid.columns);
    EXPECT_EQ((std::vector<int>{10}), rest.columns);
}

TEST(LoadDefectFromNoiseAndMultImgs, works_in_place_and_refuses_bad_arguments) {
    VectorDefect set{{1, 100}, {2, -1}, {3}, {4}};
    VectorDefect rest;
    EXPECT_EQ(1057, loadDefectFromNoiseAndMultImgs(10, 10, nullptr, &set, &rest));
    EXPECT_EQ(1057, loadDefectFromNoiseAndMultImgs(10, 10, &set, nullptr, &rest));
    EXPECT_EQ(1057, loadDefectFromNoiseAndMultImgs(10, 10, &set, &set, nullptr));
    EXPECT_EQ(1020, loadDefectFromNoiseAndMultImgs(0, 10, &set, &set, &rest));
    EXPECT_EQ(1020, loadDefectFromNoiseAndMultImgs(10, -1, &set, &set, &rest));
    EXPECT_EQ(0, loadDefectFromNoiseAndMultImgs(10, 10, &set, &set, &rest));
    EXPECT_EQ((std::vector<int>{1}), set.points);
    EXPECT_EQ((std::vector<int>{2, -1}), set.clusters);
    EXPECT_EQ((std::vector<int>{100}), rest.points);
}

}  // namespace
