#include "report/Overlays.h"

#include "report/OverlayParts.h"

namespace qx::tool {
namespace {

Overlay snrSquares(const Record& record, const Shape& shape) {
    Overlay overlay{"SNR squares", {}};
    for (const SnrSquare& square : record.squares) {
        const MarkState state = !square.expected ? MarkState::Examined
                                : square.isBelow ? MarkState::NotMet
                                                 : MarkState::Met;
        overlay.marks.push_back(
            {squareAt((shape.height - square.side) / 2, (shape.width - square.side) / 2, square.side),
             std::to_string(square.side), state});
    }
    return overlay;
}

// Those that mark something.
std::vector<Overlay> finished(std::vector<Overlay> overlays, const Record& record) {
    std::erase_if(overlays, [](const Overlay& overlay) { return overlay.marks.empty(); });
    for (Overlay& overlay : overlays)
        overlay.check = record.check;
    return overlays;
}

std::vector<Overlay> allOverlays(const Record& record, const RawImage& image, const RawImage* dark) {
    if (!record.squares.empty())
        return {snrSquares(record, image.shape)};
    if (record.check == "checkFirstImg" || record.check == "checkPreImg")
        return exposureOverlays(record, image, dark);
    if (record.measures.empty())
        return {};
    const Measure& measure = record.measures.front();
    if (record.check == "getUniform")
        return {uniformSquares(measure, image, nullptr)};
    if (record.check == "checkGlobalUniform")
        return {deviatingBlocks(measure, image)};
    if (record.check == "analysisStrip")
        return {stripPair(measure, image)};
    if (record.check == "darkImgGrayAnalysis")
        return {darkestStrip(measure, image)};
    return {};
}

std::vector<Overlay> allOverlays(const Record& record, const FloatImage& image) {
    if (record.measures.empty())
        return {};
    if (record.check == "checkFalseTriggAEDImage")
        return {triggerAreas(record, image)};
    if (record.check == "checkOffsetImageQuality")
        return {patchTiles(record.measures.front(), image)};
    if (record.check == "analysisRcn")
        return {steppingRows(record.measures.front(), image)};
    return {};
}

}  // namespace

MarkState stateOf(const Measure& measure) {
    return !measure.limit ? MarkState::Examined : measure.limit->met ? MarkState::Met : MarkState::NotMet;
}

Region squareAt(int row, int column, int side) {
    return {{column, row}, {side, side}};
}

std::vector<Overlay> overlaysOf(const Record& record, const RawImage& image, const RawImage* dark) {
    return finished(allOverlays(record, image, dark), record);
}

std::vector<Overlay> overlaysOf(const Record& record, const FloatImage& image) {
    return finished(allOverlays(record, image), record);
}

}  // namespace qx::tool
