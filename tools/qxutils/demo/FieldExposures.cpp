#include "demo/FieldExposures.h"

#include "snr/SnrJudgement.h"
#include "text/ComparedNumbers.h"
#include "text/TextTable.h"

#include <QxUtils/StatusCode.h>

#include <cstddef>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <utility>

namespace qx::tool {
namespace {

void printSquares(std::ostream& out, const std::vector<JudgedExposure>& exposures, const SnrSeries& factory) {
    std::vector<std::string> header = {"square, pixels", "factory"};
    for (const JudgedExposure& judged : exposures)
        header.push_back(judged.exposure.name);
    TextTable table(header);
    const std::vector<int> sides = snrSquareSides(exposures.front().image.shape);
    for (std::size_t square = 0; square < sides.size(); ++square) {
        std::map<std::size_t, TextColour> tooLow;
        std::vector<std::string> row = {std::to_string(sides[square]), formatNumber(factory[square], 0)};
        for (const auto& [exposure, image, judgement] : exposures) {
            const auto [measured, expected] = textsCompared(judgement.measured[square], judgement.expected[square], 0);
            if (judgement.isBelow(square))
                tooLow[row.size()] = TextColour::Red;
            row.push_back(measured + (judgement.isBelow(square) ? " < " : " / ") + expected);
        }
        table.addRow(row, tooLow);
    }
    out << "\nSNR of each square, measured / expected (\"<\" where it falls below). The expectation is scaled to the\n"
           "image's smallest square: a low dose alone does not fail.\n";
    table.print(out);
}

void printVerdicts(std::ostream& out, const std::vector<JudgedExposure>& exposures) {
    TextTable table({"image", "verdict", "grade", "meaning"});
    std::set<int> codes;
    for (const auto& [exposure, image, judgement] : exposures) {
        table.addRow({exposure.name, std::to_string(judgement.verdict), std::to_string(judgement.grade),
                      gradeName(judgement.grade)},
                     {{1, judgement.verdict == StatusOk ? TextColour::Green : TextColour::Red}});
        codes.insert({judgement.verdict, judgement.grade});
    }
    out << "\nVerdicts:\n";
    table.print(out);
    out << '\n';
    for (const int code : codes)
        out << "  " << code << "  " << getStatusMessage(code) << '\n';
}

}  // namespace

std::vector<JudgedExposure> judgeField(std::ostream& out, const DemoScene& scene, const SnrSeries& factory) {
    std::vector<JudgedExposure> judged;
    for (const Exposure& exposure : scene.fieldExposures()) {
        out << "Calibrating in the field: " << exposure.caption << std::endl;
        RawImage image = scene.correctedFlat(exposure);
        const SnrJudgement judgement = judgeSnr(image, factory);
        judged.push_back({exposure, std::move(image), judgement});
    }
    return judged;
}

void printField(std::ostream& out, const std::vector<JudgedExposure>& exposures, const SnrSeries& factory) {
    printSquares(out, exposures, factory);
    printVerdicts(out, exposures);
}

}  // namespace qx::tool
