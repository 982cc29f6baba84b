#include "demo/DemoReport.h"

#include "report/Report.h"
#include "snr/SnrRecord.h"

#include <cstddef>
#include <iterator>
#include <utility>

namespace qx::tool {
namespace {

// Exposures, the flat field of the flow and its collimated one, the image with a stripe.
constexpr std::size_t kOtherImages = 3;

class DemoReport {
public:
    DemoReport(std::size_t images, std::vector<std::string> logLines) : side_(reducedSide(images)) {
        report_.title = "A virtual panel's day of calibrations";
        report_.heads = {documentHead()};
        report_.facts = {{"Factory series", "mean of corrected flat fields of the same panel"},
                         {"Limits", "the detector's configuration"}};
        report_.logLines = std::move(logLines);
    }

    void addExposure(const JudgedExposure& judged, const SnrSeries& factory) {
        add(snrRecord(judged.judgement, judged.image, factory), "snr", judged.exposure.caption, judged.image.shape);
        show(judged.exposure.caption, judged.image, nullptr);
    }

    void addSteps(const std::vector<FlowStep>& steps, const Shape& shape) {
        std::string image;
        for (const FlowStep& step : steps) {
            image = step.row.image.empty() ? image : step.row.image;
            add(step.row.result, "calibration flow", image, shape);
        }
    }

    void addStripe(const StripeCase& stripe) {
        const char* const name = "stripe of an image that triggered itself";
        const StripeProfile before = profileOf(stripe.striped, kDemoTriggerLine);
        const StripeProfile after = profileOf(stripe.corrected, kDemoTriggerLine);
        Record record;
        record.measures = {{"stripe contrast before", before.contrast, "counts"},
                           {"stripe contrast after", after.contrast, "counts"}};
        add(record, "stripe", name, stripe.striped.shape);
        show(name, stripe.striped, nullptr);
        const Region rows{{0, kDemoTriggerLine - kStripeRows}, {stripe.striped.shape.width, kStripeRows}};
        report_.images.back().overlays.push_back({"rows above the trigger line", {{rows, "stripe"}}});
    }

    // With the marks of the records that were added under this name.
    void show(const std::string& name, const RawImage& image, const RawImage* dark) {
        ReportImage shown{name, summarize(image, side_), {}};
        for (const Record& record : report_.records) {
            if (record.subject.file == name)
                std::ranges::move(overlaysOf(record, image, dark), std::back_inserter(shown.overlays));
        }
        report_.images.push_back(std::move(shown));
    }

    const Report& report() const { return report_; }

private:
    void add(Record record, const char* command, const std::string& name, const Shape& shape) {
        record.command = command;
        record.subject.file = name;
        record.subject.shape = shape;
        report_.records.push_back(std::move(record));
    }

    int side_;
    Report report_;
};

}  // namespace

void writeDemoReport(const std::string& path, const std::vector<JudgedExposure>& exposures, const SnrSeries& factory,
                     const CalibrationFlow& flow, const std::vector<StripeCase>& stripes,
                     const std::vector<std::string>& logLines) {
    DemoReport demo(exposures.size() + kOtherImages, logLines);
    for (const JudgedExposure& judged : exposures)
        demo.addExposure(judged, factory);
    demo.addSteps(flow.good, flow.dark.shape);
    demo.addSteps(flow.bad, flow.dark.shape);
    demo.show("flat field", flow.flat, &flow.dark);
    demo.show("shutter half open", flow.collimated, &flow.dark);
    demo.addStripe(stripes.front());
    writeReport(path, demo.report());
}

}  // namespace qx::tool
