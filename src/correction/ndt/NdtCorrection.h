#pragma once

#include "QxUtils/Records.h"
#include "correction/ndt/NdtArithmetic.h"
#include "correction/ndt/NdtFiles.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace qx {

// Offset, gain and defect correction of one NDT image, in place. The image stays as it is until nothing can fail any
// more but the dump.
class NdtCorrection {
public:
    // dark may be null: it is loaded then.
    NdtCorrection(std::uint32_t* image, const std::uint32_t* dark, std::size_t count) noexcept
        : image_(image), dark_(dark), count_(count) {}

    int run() noexcept;

private:
    int provideDark() noexcept;
    int loadDark() noexcept;
    int downloadDark(const NdtFileName& name) noexcept;
    int provideFixedGain() noexcept;
    int provideNdtGain() noexcept;

    NdtGain gain() noexcept;
    void correctInPlace() noexcept;
    int correctWithDefects(int method) noexcept;
    int correctDefects(int method, float* results) noexcept;
    int dump() noexcept;

    std::uint32_t* image_;
    const std::uint32_t* dark_;
    std::size_t count_;
    std::optional<CalibrationFile> storedDark_;
    std::optional<CalibrationFile> gain_;
    bool isFixedGain_ = false;
};

}  // namespace qx
