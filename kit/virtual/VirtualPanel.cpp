// What is fixed in a panel: dark pattern, response and defects.

#include "VirtualPanel.h"

#include "BlockGain.h"
#include "PanelNoise.h"
#include "SlowPattern.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace qxkit {
namespace {

constexpr int kShortestCluster = 3;
constexpr int kLongestCluster = 8;

std::size_t pixelIndex(const PanelParameters& panel, int row, int column) {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(panel.width) + static_cast<std::size_t>(column);
}

std::vector<float> darkPattern(const PanelParameters& panel) {
    const NoiseStream pixelNoise(panel.seed, NoiseSource::DarkPixel);
    const SlowPattern slow(NoiseStream(panel.seed, NoiseSource::DarkSlow), panel.slowPitch, panel.darkSlowSigma);
    std::vector<double> slowRow(static_cast<std::size_t>(panel.width));
    std::vector<float> dark;
    dark.reserve(pixelIndex(panel, panel.height, 0));
    for (int row = 0; row < panel.height; ++row) {
        slow.row(row, slowRow);
        for (const double level : slowRow) {
            const double pixel = panel.darkPixelSigma * pixelNoise.gaussian(dark.size());
            dark.push_back(static_cast<float>(panel.darkLevel + level + pixel));
        }
    }
    return dark;
}

// Steps go up or down at random but turn back before the gain leaves 1 by more than the largest step.
std::vector<double> afeGains(const PanelParameters& panel) {
    const NoiseStream noise(panel.seed, NoiseSource::AfeStep);
    const int count = panel.afeWidth > 0 ? std::max(panel.width / panel.afeWidth, 1) : 1;
    std::vector<double> gains{1.0};
    for (std::uint64_t afe = 1; afe < static_cast<std::uint64_t>(count); ++afe) {
        const double step = panel.afeStepMin + (panel.afeStepMax - panel.afeStepMin) * noise.uniform(2 * afe);
        const double last = gains.back();
        bool up = noise.below(2 * afe + 1, 2) == 1;
        const double next = up ? last * (1.0 + step) : last * (1.0 - step);
        up = std::abs(next - 1.0) > panel.afeStepMax ? !up : up;
        gains.push_back(up ? last * (1.0 + step) : last * (1.0 - step));
    }
    return gains;
}

std::vector<float> responseMap(const PanelParameters& panel, const std::vector<double>& gains) {
    const NoiseStream noise(panel.seed, NoiseSource::PixelGain);
    std::vector<float> response;
    response.reserve(pixelIndex(panel, panel.height, 0));
    for (int row = 0; row < panel.height; ++row) {
        for (int column = 0; column < panel.width; ++column) {
            const double gain = blockGain(panel, gains, row, column);
            response.push_back(
                static_cast<float>(gain * (1.0 + panel.pixelGainSigma * noise.gaussian(response.size()))));
        }
    }
    return response;
}

class DefectMaker {
public:
    DefectMaker(const PanelParameters& panel, PanelTruth& truth)
        : panel_(panel), truth_(truth), place_(panel.seed, NoiseSource::DefectPlace),
          strength_(panel.seed, NoiseSource::DefectStrength), taken_(truth.dark.size(), 0) {}

    void makeAll() {
        makeHalfColumns();
        makeRows();
        for (int i = 0; i < panel_.clusters; ++i)
            makeCluster();
        makePoints();
    }

private:
    int draw(int limit) { return static_cast<int>(place_.below(draws_++, static_cast<std::uint64_t>(limit))); }

    void kill(int row, int column) { truth_.response[pixelIndex(panel_, row, column)] = 0.0f; }
    bool isFree(int row, int column) const {
        const bool inside = row >= 0 && row < panel_.height && column >= 0 && column < panel_.width;
        return inside && taken_[pixelIndex(panel_, row, column)] == 0;
    }
    void take(int row, int column) { taken_[pixelIndex(panel_, row, column)] = 1; }

    // Half of a small side at most, so that a panel with a single line keeps it.
    std::vector<int> distinctLines(int count, int lines) {
        std::set<int> chosen;
        while (static_cast<int>(chosen.size()) < std::min(count, lines / 2))
            chosen.insert(draw(lines));
        return {chosen.begin(), chosen.end()};
    }

    void makeHalfColumns() {
        truth_.defects.columns = distinctLines(panel_.deadHalfColumns, panel_.width);
        const int split = panel_.height / 2;
        for (const int column : truth_.defects.columns) {
            const bool upper = draw(2) == 0;
            const HalfColumn half{column, upper ? 0 : split, upper ? split : panel_.height - split};
            truth_.halfColumns.push_back(half);
            for (int row = 0; row < panel_.height; ++row)
                take(row, column);
            for (int row = half.firstRow; row < half.firstRow + half.rowCount; ++row)
                kill(row, column);
        }
    }

    void makeRows() {
        truth_.defects.rows = distinctLines(panel_.deadRows, panel_.height);
        for (const int row : truth_.defects.rows) {
            for (int column = 0; column < panel_.width; ++column) {
                take(row, column);
                kill(row, column);
            }
        }
    }

    // A random walk; steps onto other defects are not taken.
    void makeCluster() {
        int row = draw(panel_.height);
        int column = draw(panel_.width);
        const int size = kShortestCluster + draw(kLongestCluster - kShortestCluster + 1);
        std::set<int> pixels;
        for (int step = 0; step < 8 * kLongestCluster && static_cast<int>(pixels.size()) < size; ++step) {
            if (isFree(row, column)) {
                take(row, column);
                kill(row, column);
                pixels.insert(static_cast<int>(pixelIndex(panel_, row, column)));
            }
            const int side = draw(4);
            row = std::clamp(row + (side == 0) - (side == 1), 0, panel_.height - 1);
            column = std::clamp(column + (side == 2) - (side == 3), 0, panel_.width - 1);
        }
        if (!pixels.empty()) {
            std::vector<int>& clusters = truth_.defects.clusters;
            clusters.insert(clusters.end(), pixels.begin(), pixels.end());
            clusters.push_back(-1);
        }
    }

    void makePoints() {
        // The order of the arguments makes 0 of a share that is no number.
        const double share = std::min(std::max(0.0, panel_.defectivePixelShare), 1.0);
        const auto wanted = static_cast<std::size_t>(std::lround(share * static_cast<double>(taken_.size())));
        std::vector<int>& points = truth_.defects.points;
        for (std::size_t attempt = 0; attempt < 4 * wanted && points.size() < wanted; ++attempt) {
            const int row = draw(panel_.height);
            const int column = draw(panel_.width);
            if (isFree(row, column)) {
                take(row, column);
                points.push_back(static_cast<int>(pixelIndex(panel_, row, column)));
                spoil(static_cast<std::size_t>(points.back()));
            }
        }
        std::sort(points.begin(), points.end());
    }

    // Half are dead, a quarter hot, a quarter weak.
    void spoil(std::size_t pixel) {
        const int kind = draw(4);
        if (kind < 2)
            truth_.response[pixel] = 0.0f;
        else if (kind == 2)
            truth_.dark[pixel] += static_cast<float>(300.0 + 300.0 * strength_.uniform(pixel));
        else
            truth_.response[pixel] *= static_cast<float>(0.5 + 0.3 * strength_.uniform(pixel));
    }

    const PanelParameters& panel_;
    PanelTruth& truth_;
    NoiseStream place_;
    NoiseStream strength_;
    std::uint64_t draws_ = 0;
    std::vector<std::uint8_t> taken_;
};

}  // namespace

VirtualPanel::VirtualPanel(const PanelParameters& parameters) : parameters_(parameters) {
    parameters_.width = std::max(parameters_.width, 0);
    parameters_.height = std::max(parameters_.height, 0);
    truth_.dark = darkPattern(parameters_);
    truth_.afeGains = afeGains(parameters_);
    truth_.response = responseMap(parameters_, truth_.afeGains);
    if (!truth_.dark.empty())
        DefectMaker(parameters_, truth_).makeAll();
}

AddedLevel stripStep(const PanelParameters& panel, int firstColumn, double counts) {
    const int column = std::max(firstColumn, 0);
    return {{0, column, panel.height, panel.width - column}, counts};
}

Attenuator collimatedCorner(int rows, int columns, double transmission) {
    return {{0, 0, rows, columns}, transmission, false};
}

std::vector<Attenuator> standardPhantom(const PanelParameters& panel) {
    constexpr int kSteps = 8;
    const int unitRows = panel.height / 16;
    const int unitColumns = panel.width / 16;
    std::vector<Attenuator> phantom;
    for (int step = 0; step < kSteps; ++step) {
        const Rectangle area{2 * unitRows, (4 + step) * unitColumns, 2 * unitRows, unitColumns};
        phantom.push_back({area, 0.9 - 0.1 * step, false});
    }
    for (int disc = 0; disc < 4; ++disc) {
        const Rectangle area{7 * unitRows, (3 + 3 * disc) * unitColumns, 2 * unitRows, 2 * unitColumns};
        phantom.push_back({area, 0.8 - 0.15 * disc, true});
    }
    phantom.push_back({{12 * unitRows, 4 * unitColumns, unitRows, 8 * unitColumns}, 0.02, false});
    return phantom;
}

}  // namespace qxkit
