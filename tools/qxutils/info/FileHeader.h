#pragma once

#include <QxUtils/Records.h>

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace qx::tool {

// What the header at the beginning of an image, defect or factory SNR file says.
struct FileHeader {
    DetectorFileHead file{};
    DetectorInfoHead detector{};

    // Whether its width and height are sides of an image and make up the file's length, with 2 or 4 bytes a pixel.
    bool fits(std::int64_t fileBytes) const;
};

FileHeader loadFileHeader(const std::string& path);

// Of a factory SNR file, which keeps its size in the processor's order.
FileHeader loadFactorySnrHeader(const std::string& path);

void printHeader(std::ostream& out, const FileHeader& header);

// The integration time in the header of an image, in ms; none when it does not tell, or without a header.
std::optional<float> integrationTimeOf(const std::vector<char>& header);

}  // namespace qx::tool
