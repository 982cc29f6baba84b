#include "correction/ndt/NdtFiles.h"

#include "QxUtils/Files.h"
#include "QxUtils/Foundation.h"
#include "files/RawImageReader.h"

#include <QxSysMgt.h>

#include <climits>
#include <cstdio>
#include <cstring>

namespace qx {

NdtFileName NdtFileName::dark() noexcept {
    NdtFileName name;
    std::snprintf(name.text_.data(), name.text_.size(), "ndt-dark-aed-%dms-gain%d-%df.raw", getCurrentExpTime(),
                  getGainId(), getNDTFrameNum());
    return name;
}

NdtFileName NdtFileName::gain() noexcept {
    NdtFileName name;
    std::snprintf(name.text_.data(), name.text_.size(), "ndt-linear-gain%d.raw", getGainId());
    return name;
}

NdtFileName NdtFileName::fixedGain() noexcept {
    NdtFileName name;
    std::snprintf(name.text_.data(), name.text_.size(), "%s%d%s", "Fixed-LINEAR-gain", getGainId(), ".raw");
    return name;
}

bool storesNdtDark() noexcept {
    constexpr int kAedSynchronisation = 3;
    return getSyncMode() == kAedSynchronisation && getNDTFrameNum() > 1;
}

CalibrationFile::CalibrationFile(std::int64_t pixelBytes) noexcept : bytes_(kImageHeaderBytes + pixelBytes) {}

bool CalibrationFile::fits(std::int64_t pixelBytes) noexcept {
    return pixelBytes <= INT_MAX - kImageHeaderBytes;
}

void CalibrationFile::fillHeader(int kind) noexcept {
    constexpr int kOption = 1;
    std::memset(bytes_.data(), 0, kImageHeaderBytes);
    fillImgHead(bytes_.data(), kind, kOption);
}

int CalibrationFile::write(const char* directory, const NdtFileName& name) noexcept {
    return writeImageToDisk(directory, name.c_str(), bytes_.data(), size());
}

int CalibrationFile::read(const char* directory, const NdtFileName& name) noexcept {
    RawImageReader reader(directory, name.c_str());
    if (reader.read(bytes_.data(), bytes_.span().size()))
        reader.expectEnd();
    return reader.finish();
}

int CalibrationFile::size() const noexcept {
    return static_cast<int>(bytes_.count());
}

std::span<char> CalibrationFile::pixelBytes() noexcept {
    return bytes_.span().subspan(kImageHeaderBytes);
}

}  // namespace qx
