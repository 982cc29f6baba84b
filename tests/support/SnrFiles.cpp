#include "SnrFiles.h"

#include "BinaryFields.h"

#include <bit>

namespace qx::test {

std::string imageFile(const TestImage& image, float integrationTimeMs) {
    std::string bytes(65536, '\0');
    putBig(bytes, 12, static_cast<std::uint32_t>(image.width));
    putBig(bytes, 16, static_cast<std::uint32_t>(image.height));
    putBig(bytes, 16384 + 80, std::bit_cast<std::uint32_t>(integrationTimeMs));
    return bytes + words(image.pixels);
}

std::string snrPayload(const SnrFileFields& fields, const std::vector<FactorySNRRecord>& records) {
    std::string bytes;
    append(bytes, fields);
    for (const FactorySNRRecord& record : records) {
        append(bytes, record.integrationTime);
        append(bytes, record.snrCount);
        append(bytes, record.meanGray);
        for (const float value : record.snr)
            append(bytes, value);
    }
    return bytes;
}

}  // namespace qx::test
