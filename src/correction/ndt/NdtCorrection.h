#pragma once

#include "QxUtils/Records.h"
#include "correction/ndt/NdtArithmetic.h"
#include "correction/ndt/NdtFiles.h"

#include <cstdint>
#include <optional>
#include <span>

namespace qx {

// Offset, gain and defect correction of one NDT image, in place. The image stays as it is until nothing can fail any
// more but the dump.
class NdtCorrection {
public:
    // dark may be empty: it is loaded then.
    NdtCorrection(std::span<std::uint32_t> image, std::span<const std::uint32_t> dark) noexcept
        : image_(image), dark_(dark) {}

    int run() noexcept;

private:
    int provideDark() noexcept;
    int loadDark() noexcept;
    int provideFixedGain() noexcept;
    int provideNdtGain() noexcept;

    NdtFrame frame() noexcept;
    void correctInPlace() noexcept;
    int correctWithDefects(int method) noexcept;
    int correctDefects(int method, std::span<float> results) noexcept;
    int dump() noexcept;

    std::span<std::uint32_t> image_;
    std::span<const std::uint32_t> dark_;
    std::optional<CalibrationFile> storedDark_;
    std::optional<CalibrationFile> gain_;
    bool isFixedGain_ = false;
};

}  // namespace qx
