#include "demo/Demo.h"

#include "demo/CalibrationFlow.h"
#include "demo/DemoPictures.h"
#include "demo/DemoReport.h"
#include "demo/DemoScene.h"
#include "demo/FieldExposures.h"
#include "demo/FlowPictures.h"
#include "image/RawImage.h"
#include "ndt/NdtDemo.h"
#include "ndt/NdtPicture.h"
#include "picture/PngWriter.h"
#include "report/LogTail.h"
#include "snr/FactorySeries.h"
#include "snr/FactorySnrDemo.h"
#include "stripe/StripeDemo.h"
#include "text/FileName.h"

#include <filesystem>
#include <ostream>
#include <system_error>
#include <vector>

namespace qx::tool {
namespace {

namespace fs = std::filesystem;

void writeFlowPictures(const fs::path& folder, const CalibrationFlow& flow) {
    constexpr double kSmall = 288.0;
    constexpr double kLarge = 576.0;
    std::vector<Tile> tiles = drawBalance(flow, kSmall);
    tiles.push_back(drawShadow(flow, kSmall));
    writePicture(toName(folder / "flow.png"), drawTiles(tiles, 3, "What the first-image check looks at"));
    writePicture(toName(folder / "afe-balance.png"), drawTiles(drawBalance(flow, kLarge), 2));
    writePicture(toName(folder / "shadow.png"), drawTiles({drawShadow(flow, kLarge)}, 1));
}

void writeFieldPictures(const fs::path& folder, const DemoScene& scene, const std::vector<JudgedExposure>& exposures) {
    const auto path = [&folder](const std::string& name) { return toName(folder / (name + ".png")); };
    const RawImage rawFlat = scene.rawFlat();
    const auto writePreview = [&path](const std::string& name, const RawImage& image, const std::string& caption) {
        writePicture(path(name), drawPreview(makePreview(image, PercentileWindow{}, kPreviewWidth), caption));
    };
    writePreview("raw-dark", scene.dark(), "raw dark image");
    writePreview("raw-flat", rawFlat, "raw flat field");
    for (const JudgedExposure& judged : exposures)
        writePreview(judged.exposure.name, judged.image, judged.exposure.caption);
    writePicture(path("squares"), drawSquares(exposures.front().image));
    writePicture(path("overview"), drawOverview(rawFlat, exposures));
    writePicture(path("snr-series"), drawSeriesPlot(exposures));
}

void reportFiles(std::ostream& out, const std::string& folder, const JudgedExposure& kept,
                 const CalibrationFlow& flow) {
    out << "\nReport of the day: " << folder << "/report.html (report.json and report.csv beside it)\n"
        << "Pictures: " << folder
        << "/*.png (begin with overview.png, flow.png, stripe.png, ndt.png and snr-series.png)\n"
        << "In overview.png black to white is 2 % below to 2 % above the median of each corrected image.\n";
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(toPath(folder) / "logs", error))
        out << "Daily log: " << toName(entry.path()) << '\n';
    out << "Try: qxutils snr " << folder << '/' << kept.exposure.name << ".raw --shape " << toText(kept.image.shape)
        << " --factory " << folder << "/factory-snr.toml\n"
        << "Try: qxutils check first " << folder << "/flow/collimated.raw " << folder << "/flow/dark.raw --shape "
        << toText(flow.dark.shape) << '\n'
        << "Try: qxutils stripe " << folder << "/striped.raw --shape " << toText(flow.dark.shape) << " --trigger "
        << kDemoTriggerLine << " -o corrected.raw --png before-after.png\n"
        << "Try: qxutils ndt calibrate " << folder << "/ndt/bright.raw " << folder << "/ndt/dark.raw --shape "
        << toText(kNdtDemoPanel) << " --out calibration\n";
}

}  // namespace

int runDemo(std::ostream& out, const Shape& shape, std::uint64_t seed, const std::string& folder) {
    out << "Building a virtual panel of " << toText(shape) << " pixels, seed " << seed << std::endl;
    const LogTail log;
    const DemoScene scene(shape, seed);
    out << "Measuring the factory series" << std::endl;
    const SnrSeries factory = scene.measureFactorySeries();
    const std::vector<JudgedExposure> exposures = judgeField(out, scene, factory);
    printField(out, exposures, factory);
    out << "\nWalking through the calibration flow" << std::endl;
    const CalibrationFlow flow = runCalibrationFlow(seed, folder + "/flow");
    const int wrongVerdicts = printFlow(out, flow);

    out << "\nCorrecting images that triggered themselves" << std::endl;
    const std::vector<StripeCase> stripes = correctDemoStripes(seed);
    printStripes(out, stripes);

    out << "\nCorrecting images of non-destructive testing" << std::endl;
    const NdtDemo ndt = runNdtDemo(seed, folder + "/ndt");
    printNdt(out, ndt);

    out << "\nFactory SNR: measuring the images of the factory" << std::endl;
    printFactorySnrDemo(out, runFactorySnrDemo(seed, folder + "/factory"));

    writeFlowPictures(toPath(folder), flow);
    writePicture(folder + "/stripe.png", drawStripeCase(stripes.front()));
    writePicture(folder + "/stripe-line.png", drawStripeCase(stripes.back()));
    writePicture(folder + "/ndt.png", drawNdt(ndt));
    saveRawImage(folder + "/striped.raw", stripes.front().striped);
    writeFieldPictures(toPath(folder), scene, exposures);
    saveFactorySeries(folder + "/factory-snr.toml", factory);
    saveRawImage(folder + '/' + exposures.back().exposure.name + ".raw", exposures.back().image);
    writeDemoReport(folder + "/report.html", exposures, factory, flow, stripes, log.lines());
    reportFiles(out, folder, exposures.back(), flow);
    return wrongVerdicts;
}

}  // namespace qx::tool
