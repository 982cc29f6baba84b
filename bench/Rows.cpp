#include "Rows.h"

#include <algorithm>
#include <iterator>

namespace qx::bench {

std::vector<RowEntry> allRows() {
    std::vector<RowEntry> rows;
    for (const auto& group : {snrRows(), uniformityRows(), firstImageRows(), afeRows(), binningRows(), stripeRows(),
                              defectRows(), ndtRows(), momentRows(), medianRows(), columnMedianRows(), histogramRows(),
                              fitRows(), filterRows(), interpolationRows(), crcRows(), base64Rows(), jobRows()})
        std::ranges::copy(group, std::back_inserter(rows));
    return rows;
}

}  // namespace qx::bench
