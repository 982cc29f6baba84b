#include "FuzzInput.h"

#include <QxUtils/Correction.h>

using namespace qx::fuzz;

namespace {

// Whether a section is empty or lies behind the header and in the file.
bool liesInside(std::uint64_t offset, std::uint64_t bytes, std::size_t following) {
    return bytes == 0 || (offset >= kHeaderBytes && offset + bytes <= kHeaderBytes + following);
}

}  // namespace

// A classic defect file is read as a whole or not at all.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    const std::string header = defectHeader(input);
    store("classic.cal", header + input.rest());
    VectorDefect lists{{1}, {2}, {3}, {4}};
    const int status = getDefectIndexFromDefectFile(fuzzFolder(), "classic.cal", &lists, nullptr);
    require(status == 0 || status == 1040, "0 or 1040");
    FileHeadInfo info{};
    require(getDefectHeadInfo(fuzzFolder(), "classic.cal", &info) == 0, "header is read");
    const bool read = status == 0;
    require(lists.points.size() == (read ? info.pointCount : 0), "every point");
    require(lists.rows.size() + lists.columns.size() <=
                (read ? std::uint64_t{info.rowCount} + info.columnCount : std::uint64_t{0}),
            "no more lines than counted");
    const std::uint64_t lineBytes = (std::uint64_t{info.rowCount} + info.columnCount) * 8;
    require(!read || liesInside(info.pointOffset, std::uint64_t{info.pointCount} * 4, input.rest().size()), "points");
    require(!read || liesInside(info.rowOffset, lineBytes, input.rest().size()), "lines");
    require(lists.clusters.size() <= (read ? input.rest().size() / 2 : 0), "no more words than there are");
    return 0;
}
