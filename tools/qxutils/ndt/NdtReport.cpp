#include "ndt/NdtReport.h"

#include "common/ToolError.h"
#include "text/FileName.h"
#include "text/TextStream.h"
#include "text/TextTable.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <numeric>
#include <ostream>
#include <system_error>

namespace qx::tool {

namespace fs = std::filesystem;

Record statisticsOf(const std::vector<std::pair<std::string, const LongImage*>>& images) {
    Record record;
    TextTable table({"image", "mean, counts", "stdev, counts", "min, counts", "max, counts"});
    for (const auto& [name, image] : images) {
        const std::vector<std::uint32_t>& pixels = image->pixels;
        const double mean = std::accumulate(pixels.begin(), pixels.end(), 0.0) / image->pixelCount();
        double squares = 0.0;
        for (const std::uint32_t value : pixels)
            squares += (value - mean) * (value - mean);
        const double deviation = std::sqrt(squares / image->pixelCount());
        const auto [least, largest] = std::minmax_element(pixels.begin(), pixels.end());
        table.addRow({name, formatNumber(mean, 1), formatNumber(deviation, 1), std::to_string(*least),
                      std::to_string(*largest)});
        record.measures.insert(record.measures.end(), {{"mean " + name, mean, "counts", 1},
                                                       {"standard deviation " + name, deviation, "counts", 1},
                                                       {"minimum " + name, static_cast<double>(*least), "counts"},
                                                       {"maximum " + name, static_cast<double>(*largest), "counts"}});
    }
    TextStream text;
    table.print(text);
    record.text = text.str();
    return record;
}

void printCalibrationFiles(std::ostream& out, const fs::path& folder) {
    TextTable table({"calibration file", "size, bytes"});
    for (const char* const kind : {"offset", "gain", "defect"}) {
        std::map<std::string, std::uintmax_t> files;
        std::error_code error;
        for (fs::directory_iterator entry(folder / kind, error), end; !error && entry != end; entry.increment(error)) {
            if (entry->is_regular_file(error))
                files[toName(entry->path())] = entry->file_size(error);
        }
        if (error && error != std::errc::no_such_file_or_directory)
            throw ToolError(toName(folder / kind) + ": cannot be listed (" + error.message() +
                            "); check that you may read it");
        for (const auto& [path, bytes] : files)
            table.addRow({path, std::to_string(bytes)});
    }
    table.print(out);
}

}  // namespace qx::tool
