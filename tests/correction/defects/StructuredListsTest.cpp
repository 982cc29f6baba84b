#include "correction/defects/StructuredLists.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

using Ints = std::vector<int>;
using Entries = std::vector<DefectEntry>;

// In an image of 10 x 6 pixels. Entries of the last two groups lie just outside it.
TEST(StructuredLists, separators_stand_between_clusters_that_have_a_pixel) {
    const Entries none, one = {{1, 0, 9, 9}}, two = {{9, 5, 0, 0}, {2, 1, 0, 0}};
    const Entries beside = {{10, 0, 0, 0}, {-1, 2, 0, 0}}, below = {{0, 6, 0, 0}, {0, -1, 0, 0}, {0, INT_MIN, 0, 0}};
    const struct {
        std::vector<Entries> groups;
        Ints clusters;
    } cases[] = {{{}, {}},
                 {{none, beside}, {}},
                 {{one}, {1}},
                 {{two, one}, {59, 12, -1, 1}},
                 {{none, one, none, below, two, beside, none}, {1, -1, 59, 12}},
                 {{one, one, one}, {1, -1, 1, -1, 1}}};
    for (const auto& c : cases) {
        DefectInfo record;
        for (const Entries& entries : c.groups)
            record.clusters.push_back({{}, entries});
        EXPECT_EQ(c.clusters, qx::listsOf(record, 10, 6).clusters) << "case " << &c - cases;
    }
}

}  // namespace
