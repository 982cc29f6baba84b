#include "report/ReportMaker.h"

#include "common/ToolError.h"
#include "files/FileAccess.h"
#include "image/RawImage.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace qx::tool {
namespace {

bool holdsFloats(const std::string& file, const Shape& shape) {
    return fileBytes(file, kRawImageWanted) == shape.pixelCount() * std::int64_t{sizeof(float)};
}

// The file as it is now.
const Subject& presentSubject(SubjectImage& image) {
    return holdsFloats(image.file(), image.shape()) ? image.subjectOfFloats() : image.subjectOfCounts();
}

// The files that results are about, one at a time: most of what is about one stands together.
class PresentImages {
public:
    // The file, if it is still what the record is about.
    SubjectImage* find(const Subject& subject) {
        try {
            if (!subject.shape || fileBytes(subject.file, kRawImageWanted) != subject.bytes.value_or(-1))
                return nullptr;
            if (!image_ || image_->file() != subject.file || image_->shape() != *subject.shape)
                image_.emplace(subject.file, *subject.shape);
            return !subject.crc || presentSubject(*image_).crc == subject.crc ? &*image_ : nullptr;
        } catch (const ToolError&) {
            return nullptr;
        }
    }

private:
    std::optional<SubjectImage> image_;
};

}  // namespace

ReportMaker::ReportMaker(ReportSettings settings, std::size_t files) : settings_(std::move(settings)), files_(files) {
    if (settings_.dark && settings_.shape)
        dark_ = std::make_shared<const RawImage>(loadRawImage(*settings_.dark, *settings_.shape));
    report_.title = settings_.title;
    if (settings_.factory)
        report_.facts.push_back({"Factory series", *settings_.factory});
    if (settings_.dark)
        report_.facts.push_back({"Dark image", *settings_.dark});
}

Outcome ReportMaker::add(const std::string& file) {
    return isResultsName(file) ? addResults(file) : addImage(file);
}

Outcome ReportMaker::addResults(const std::string& file) {
    Outcome outcome;
    try {
        Results results = loadResults(file);
        outcome.records = std::move(results.records);
        std::ranges::move(results.heads, std::back_inserter(report_.heads));
        readsResults_ = true;
    } catch (const ToolError& error) {
        outcome = failedOutcome("report", file, error.what());
    }
    for (const Record& record : outcome.records) {
        if (record.verdict == Verdict::NotPassed)
            outcome.exitCode = worse(outcome.exitCode, ExitCode::NotPassed);
    }
    keep(outcome);
    PresentImages present;
    std::set<std::string> shown;
    for (const Record& record : outcome.records) {
        if (shown.contains(record.subject.file))
            continue;
        if (SubjectImage* const image = present.find(record.subject)) {
            shown.insert(record.subject.file);
            addPicture(*image);
        }
    }
    return outcome;
}

Outcome ReportMaker::addImage(const std::string& file) {
    if (!settings_.shape)
        throw ToolError(file + ": --shape is required for an image; give WIDTHxHEIGHT", ExitCode::Usage);
    if (file == "-")
        throw ToolError("-: a report reads an image more than once; give a file", ExitCode::Usage);
    SubjectImage image(file, *settings_.shape);
    judgesImages_ = true;
    Outcome all;
    const Outcome kinds = outcomeOf("report", file, [&] {
        all = judge(image, kindsOf(file));
        return std::vector<Record>{};
    });
    if (!kinds.problem.empty())
        all = kinds;
    keep(all);
    const std::string problem = addPicture(image);
    if (all.problem.empty() && !problem.empty()) {
        all.problem = problem;
        all.exitCode = ExitCode::Failed;
    }
    return all;
}

// The first problem stands for all: without the file there is none of the verdicts.
Outcome ReportMaker::judge(SubjectImage& image, const std::vector<std::string>& kinds) {
    Outcome all;
    for (const std::string& kind : kinds) {
        Outcome outcome = outcomeOf(commandOf(kind), image.file(), [&] { return judgeOf(kind)(image); });
        std::ranges::move(outcome.records, std::back_inserter(all.records));
        all.exitCode = worse(all.exitCode, outcome.exitCode);
        if (all.problem.empty())
            all.problem = outcome.problem;
    }
    return all;
}

// A kind whose judge cannot be made fails for each file.
const FileJudge& ReportMaker::judgeOf(const std::string& kind) {
    const auto known = judges_.find(kind);
    if (known != judges_.end())
        return known->second;
    FileJudge judge({kind, *settings_.shape, settings_.dark, settings_.blockLimit, settings_.factory, dark_});
    return judges_.emplace(kind, std::move(judge)).first->second;
}

std::vector<std::string> ReportMaker::kindsOf(const std::string& file) const {
    const bool ofFloats = holdsFloats(file, *settings_.shape);
    if (settings_.kinds.empty())
        return ofFloats ? std::vector<std::string>{"offset"} : std::vector<std::string>{"uniform", "strip", "snr"};
    std::vector<std::string> kinds = settings_.kinds;
    std::erase_if(kinds, [&](const std::string& kind) { return judgesFloats(kind) != ofFloats; });
    if (kinds.empty())
        throw ToolError(file + ": none of the checks asked for is one of " +
                        (ofFloats ? "32-bit floats; give --check offset or false-trigger"
                                  : "16-bit pixels; give another --check, or none"));
    return kinds;
}

// The overlays come from the records that are kept already; these say, too, why there is no picture of a file that
// could not be judged.
std::string ReportMaker::addPicture(SubjectImage& image) {
    const int side = reducedSide(files_);
    ReportImage picture{image.file(), {}, {}};
    const auto show = [&](const auto& pixels, const auto&... dark) {
        picture.summary = summarize(pixels, side);
        for (const Record& record : report_.records) {
            if (record.subject.file == image.file())
                std::ranges::move(overlaysOf(record, pixels, dark...), std::back_inserter(picture.overlays));
        }
    };
    try {
        if (holdsFloats(image.file(), image.shape()))
            show(image.floats());
        else
            show(image.counts().image, dark_.get());
    } catch (const ToolError& error) {
        return error.what();
    }
    report_.images.push_back(std::move(picture));
    return {};
}

void ReportMaker::keep(const Outcome& outcome) {
    report_.records.insert(report_.records.end(), outcome.records.begin(), outcome.records.end());
}

Report ReportMaker::finish() const {
    Report report = report_;
    std::string limits;
    if (judgesImages_ || !readsResults_) {
        report.heads.push_back(documentHead());
        limits = settings_.limits.value_or("the detector's configuration");
    }
    if (readsResults_)
        limits += std::string(limits.empty() ? "" : "; ") + "of results, those that stand in them";
    report.facts.insert(report.facts.begin(), {"Limits", limits});
    report.logLines = log_.lines();
    return report;
}

}  // namespace qx::tool
