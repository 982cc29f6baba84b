#pragma once

#include "image/Image.h"
#include "snr/SnrJudgement.h"

#include <VirtualPanel.h>

#include <cstdint>
#include <string>
#include <vector>

// What the demo's panel acquires in factory and field.

namespace qx::tool {

// A one-shot calibration of the story: what somebody did with tube and panel.
struct Exposure {
    std::string name;     // file name without extension
    std::string caption;  // what the user reads
    qxkit::FrameOptions options;
};

struct JudgedExposure {
    Exposure exposure;
    RawImage image;
    SnrJudgement judgement;
};

// The panel, in the factory and then in the field. Everything follows from the seed.
class DemoScene {
public:
    DemoScene(const Shape& shape, std::uint64_t seed);

    RawImage dark() const;
    RawImage rawFlat() const;

    // The mean series of several corrected flats, acquired as the factory does.
    SnrSeries measureFactorySeries() const;

    std::vector<Exposure> fieldExposures() const;
    RawImage correctedFlat(const Exposure& exposure) const;

private:
    Shape shape_;
    qxkit::VirtualPanel panel_;
};

}  // namespace qx::tool
