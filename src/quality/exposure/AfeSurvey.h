#pragma once

#include "correction/afe/AfeMeasurement.h"
#include "quality/exposure/Exposure.h"

#include <optional>

namespace qx {

// Takes what the AFE balance of an exposure measures while its blocks are visited for another reason: of both kinds of
// differences. Where it cannot, there is nothing to be had of it, and nothing is said about it.
class AfeSurvey {
public:
    // What the blocks are of. Without it nothing is taken.
    void plan(const Exposure& exposure) noexcept { exposure_ = exposure; }

    // The blocks come row by row: with the first one the detector is asked for its AFE width, and memory is taken; the
    // last one completes the survey.
    void add(const DifferenceBlock& block, int blockRow, int blockColumn) noexcept;

    // The measurements of signed and of raised differences, which have had their pass over the image; null unless
    // these are the AFEs.
    AfeMeasurement* ofSigned(const AfeBlocks& blocks) noexcept { return of(signed_, blocks); }
    AfeMeasurement* ofRaised(const AfeBlocks& blocks) noexcept { return of(raised_, blocks); }

private:
    void begin() noexcept;
    AfeMeasurement* of(std::optional<AfeMeasurement>& measurement, const AfeBlocks& blocks) noexcept;
    void addPixels(const Rect& pixels) noexcept;
    void takeRatios(int firstRow, int endRow) noexcept;

    std::optional<Exposure> exposure_;
    std::optional<AfeMeasurement> signed_;
    std::optional<AfeMeasurement> raised_;
    bool isLit_ = true;  // whether all differences since the last ratios are above 0
    bool isComplete_ = false;
};

}  // namespace qx
