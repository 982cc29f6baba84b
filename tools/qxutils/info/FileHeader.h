#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace qx::tool {

enum class Content { Image, Defects, FactorySnr };

// Tells what the header of a file says, if it looks filled, and what a defect file (*.cal) or a factory SNR file
// (*-SNR.raw) holds. Returns what the file is; one without room for a header counts as an image.
Content printContent(const std::string& path, std::int64_t bytes);

// The integration time in the header of an image file, in ms; none when it does not tell.
std::optional<float> headerIntegrationTime(const std::string& path);

}  // namespace qx::tool
