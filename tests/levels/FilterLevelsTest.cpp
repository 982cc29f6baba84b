// Every vector level filters and resamples as the plain loops do, bit for bit, around every width of a vector.

#include "Builders.h"
#include "Compare.h"
#include "levels/AtVectorLevel.h"
#include "reference/numerics/PlainFilters.h"
#include "reference/numerics/PlainSpline.h"

#include <QxUtils.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using namespace qx;
using namespace qx::test;
using Floats = std::vector<float>;
using Words = std::vector<WORD>;

class FiltersAt : public AtVectorLevel {};
INSTANTIATE_TEST_SUITE_P(Levels, FiltersAt, kVectorLevels, levelName);

TEST_P(FiltersAt, running_medians_and_smoothing) {
    for (int n = 1; n <= 200; n += n < 70 ? 1 : 13) {
        SplitMix64 random(static_cast<std::uint64_t>(n));
        Floats in(static_cast<std::size_t>(n));
        for (float& value : in)
            value = std::copysign(random.below(9) == 0 ? NAN : 0.5f * random.below(9), random.below(2) - 0.5f);
        for (const int window : {3, 5, 7, 15, 23, 31, 51}) {
            Floats expected = in;
            Floats actual = in;
            plain::medianFilter(expected.data(), n, window / 2);
            medianFilter(actual.data(), n, window / 2);
            EXPECT_TRUE(sameBitsEverywhere(expected, actual)) << n << ", " << window;
            plain::filterUsingSGolay(expected.data(), in.data(), n, 2, window);
            filterUsingSGolay(actual.data(), in.data(), n, 2, window);
            EXPECT_TRUE(sameBitsOrNanEverywhere(expected, actual)) << n << ", " << window;
        }
    }
}

TEST_P(FiltersAt, filters_and_sizes_of_images) {
    for (int width = 1; width <= 140; width += width < 80 ? 1 : 7) {
        TestImage image = randomImage(width, 14, width % 2 == 0 ? 0 : 30000, 65535, 1);
        Words expected(static_cast<std::size_t>(27) * (2 * width + 3), 4711);
        Words actual = expected;
        plain::interpImg2D(expected.data(), 27, 2 * width + 3, image.data(), 14, width);
        interpImg2D(reinterpret_cast<WORD**>(actual.data()), 27, 2 * width + 3,
                    reinterpret_cast<WORD**>(image.pixels.data()), 14, width);
        EXPECT_TRUE(sameBitsEverywhere(expected, actual)) << width;
        Floats expectedRatios(image.pixels.size(), -7777.0f);
        Floats actualRatios = expectedRatios;
        plain::getMedianImage(expectedRatios.data(), image.data(), width, 14);
        getMedianImage(actualRatios.data(), image.data(), width, 14);
        EXPECT_TRUE(sameBitsOrNanEverywhere(expectedRatios, actualRatios)) << width;
        expected = image.pixels;
        plain::filterImg(expected.data(), width, 14);
        filterImg(image.pixels.data(), width, 14);
        EXPECT_TRUE(sameBitsEverywhere(expected, image.pixels)) << width;
    }
}

}  // namespace
