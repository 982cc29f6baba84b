#pragma once

// The rows of the table. Each function is defined in the file bench/<folder>/<Name>Rows.cpp.

#include "harness/Row.h"

namespace qx::bench {

std::vector<RowEntry> snrRows();
std::vector<RowEntry> uniformityRows();
std::vector<RowEntry> firstImageRows();
std::vector<RowEntry> afeRows();
std::vector<RowEntry> binningRows();
std::vector<RowEntry> stripeRows();
std::vector<RowEntry> defectRows();
std::vector<RowEntry> ndtRows();
std::vector<RowEntry> momentRows();
std::vector<RowEntry> medianRows();
std::vector<RowEntry> columnMedianRows();
std::vector<RowEntry> histogramRows();
std::vector<RowEntry> fitRows();
std::vector<RowEntry> filterRows();
std::vector<RowEntry> interpolationRows();
std::vector<RowEntry> crcRows();
std::vector<RowEntry> base64Rows();
std::vector<RowEntry> jobRows();

// All of them in the order of the table.
std::vector<RowEntry> allRows();

}  // namespace qx::bench
