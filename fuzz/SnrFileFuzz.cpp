#include "FuzzInput.h"

#include <QxUtils/Quality.h>
#include <VirtualDetector.h>

#include <cstring>

using namespace qx::fuzz;

// The input is the file behind its header; it is loaded for the detector type it tells and for another one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qxkit::virtualDetector().config.loggingEnabled = 0;
    const std::string payload(reinterpret_cast<const char*>(data), size);
    store("snr.raw", std::string(kHeaderBytes, '\0') + payload);
    std::int32_t fields[4] = {};
    std::memcpy(fields, payload.data(), size < sizeof fields ? 0 : sizeof fields);
    FactoryDiffIntSNRList list{{1}, {{1, 1, 1.0f, {1.0f}}}};
    const int status = loadAllSNRFromFactory(fuzzFolder(), "snr.raw", list, fields[3]);
    require(status == 0 || status == 1040, "0 or 1040");
    const std::int64_t told = std::int64_t{fields[0]} * fields[1];
    const std::size_t loaded = status == 0 && told > 0 ? static_cast<std::size_t>(told) : 0;
    require(list.records.size() == 1 + loaded, "every record or none");
    require(loaded == 0 || size == 16 + loaded * (12 + 4 * static_cast<std::size_t>(fields[2])), "as long as it tells");
    for (std::size_t i = 1; i <= loaded; ++i)
        require(list.records[i].snr.size() == static_cast<std::size_t>(fields[2]), "every value");
    require(list.integrationTimes.size() <= list.records.size(), "no more times than records");

    const int other = loadAllSNRFromFactory(fuzzFolder(), "snr.raw", list, ~fields[3]);
    require(other == (size < sizeof fields ? 1040 : 1020), "another type is refused");
    require(list.records.size() == 1 + loaded, "nothing is appended");
    return 0;
}
