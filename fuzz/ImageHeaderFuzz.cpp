#include "FuzzInput.h"

#include <QxUtils/Files.h>

#include <cstring>
#include <vector>

using namespace qx::fuzz;

namespace {

// A header of the three regions, no longer than what is read of it.
std::vector<char> headerOf(const std::string& file, const std::string& information, const std::string& pc) {
    std::vector<char> header(kPcImgHeadOffset + pc.size());
    std::memcpy(header.data(), file.data(), file.size());
    std::memcpy(header.data() + kDetectorInfoHeadOffset, information.data(), information.size());
    std::memcpy(header.data() + kPcImgHeadOffset, pc.data(), pc.size());
    return header;
}

template <class Record>
std::string bytesOf(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

struct Records {
    DetectorFileHead file{};
    DetectorInfoHead information{};
    PcImgHead pc{};
};

Records recordsOf(const std::vector<char>& header) {
    Records records;
    getDetectorFileHeadFromImageHead(&records.file, header.data());
    getDetectorInfoHeadFromImageHead(&records.information, header.data());
    getPcImageHeadFromImageHead(&records.pc, header.data());
    return records;
}

}  // namespace

// Records taken out of records give back the header.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    const std::string information = input.take(sizeof(DetectorInfoHead));
    const std::string file = input.take(sizeof(DetectorFileHead));
    const std::string pc = input.take(sizeof(PcImgHead));
    const std::vector<char> header = headerOf(file, information, pc);
    const Records once = recordsOf(header);
    const Records twice = recordsOf(headerOf(bytesOf(once.file), bytesOf(once.information), bytesOf(once.pc)));
    require(bytesOf(twice.file) == file && bytesOf(twice.information) == information && bytesOf(twice.pc) == pc,
            "conversion is its own inverse");
    require(bytesOf(once.pc) == pc, "region of the host stays");
    const float temperature = getTemperatureFromImageHead(header.data());
    require(std::memcmp(&temperature, &once.information.temperature, sizeof temperature) == 0, "one temperature");
    return 0;
}
