#pragma once

#include "foundation/Scratch.h"

#include <array>
#include <cstdint>
#include <span>

namespace qx {

// Names of the calibration files of the NDT mode, by the detector's settings at the time. Kept: a gain id that cannot
// be read is named by the status of reading it.
class NdtFileName {
public:
    static NdtFileName dark() noexcept;       // of a multi-frame acquisition in AED synchronisation
    static NdtFileName gain() noexcept;       // made in the NDT mode
    static NdtFileName fixedGain() noexcept;  // delivered with the detector

    const char* c_str() const noexcept { return text_.data(); }

private:
    std::array<char, 96> text_{};
};

// Whether the detector triggers itself and delivers several frames: its dark image is stored then.
bool storesNdtDark() noexcept;

// A calibration file in memory: the 65536-byte header and the pixels.
class CalibrationFile {
public:
    // bytes of pixels. Whether such a file can be handled at all is fits().
    explicit CalibrationFile(std::int64_t pixelBytes) noexcept;

    static bool fits(std::int64_t pixelBytes) noexcept;
    explicit operator bool() const noexcept { return static_cast<bool>(bytes_); }

    template <class Pixel>
    std::span<Pixel> pixels() noexcept {
        const std::span<char> bytes = pixelBytes();
        return {reinterpret_cast<Pixel*>(bytes.data()), bytes.size() / sizeof(Pixel)};
    }

    // Empties the header and lets the kit fill it.
    void fillHeader(int kind) noexcept;

    // The statuses of writeImageToDisk and readImageFromDisk; 1040 also when the file is longer.
    int write(const char* directory, const NdtFileName& name) noexcept;
    int read(const char* directory, const NdtFileName& name) noexcept;

private:
    int size() const noexcept;
    std::span<char> pixelBytes() noexcept;

    Scratch<char> bytes_;
};

}  // namespace qx
