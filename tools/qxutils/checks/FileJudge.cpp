#include "checks/FileJudge.h"

#include "common/ToolError.h"
#include "results/RecordJson.h"
#include "snr/SnrRecord.h"

#include <algorithm>
#include <iterator>
#include <map>

namespace qx::tool {
namespace {

using Records = std::vector<Record>;

using Judge = Records (*)(const FileJudge& judge, SubjectImage& image);

template <Record (*check)(const RawImage&)>
Records judgeWords(const FileJudge& /*judge*/, SubjectImage& image) {
    return {check(image.counts().image)};
}

template <Record (*check)(const RawImage&, const RawImage&)>
Records judgeExposure(const FileJudge& judge, SubjectImage& image) {
    return {check(image.counts().image, judge.dark())};
}

template <Record (*check)(const FloatImage&)>
Records judgeFloats(const FileJudge& /*judge*/, SubjectImage& image) {
    return {check(image.floats())};
}

Records judgeUniformity(const FileJudge& judge, SubjectImage& image) {
    const RawImage& counts = image.counts().image;
    return {checkSquares(counts), checkBlocks(counts, judge.settings().blockLimit)};
}

const std::map<std::string, Judge>& judges() {
    static const std::map<std::string, Judge> table = {
        {"first", judgeExposure<checkFirst>},
        {"pre", judgeExposure<checkPreview>},
        {"uniform", judgeUniformity},
        {"strip", judgeWords<checkStrips>},
        {"dark", judgeWords<checkDarkLevel>},
        {"offset", judgeFloats<checkOffset>},
        {"false-trigger", judgeFloats<checkFalseTrigger>},
    };
    return table;
}

constexpr const char* kSnrKind = "snr";

bool needsDark(const std::string& kind) {
    return kind == "first" || kind == "pre";
}

}  // namespace

std::vector<std::string> judgedKinds() {
    std::vector<std::string> kinds = {kSnrKind};
    std::ranges::transform(judges(), std::back_inserter(kinds), [](const auto& judge) { return judge.first; });
    return kinds;
}

bool judgesFloats(const std::string& kind) {
    return kind == "offset" || kind == "false-trigger";
}

std::string commandOf(const std::string& kind) {
    return kind == kSnrKind ? kind : "check " + kind;
}

FileJudge::FileJudge(const JudgeSettings& settings) : settings_(settings) {
    if (settings.kind != kSnrKind && !judges().contains(settings.kind))
        throw ToolError("\"" + settings.kind + "\" is no check of one image", ExitCode::Usage);
    if (settings.kind == kSnrKind && settings.factory)
        factory_.emplace(*settings.factory, settings.shape);
    if (!needsDark(settings.kind))
        return;
    if (!settings.dark)
        throw ToolError("DARK is required: the dark image that belongs to the others", ExitCode::Usage);
    if (!settings_.darkImage)
        settings_.darkImage = std::make_shared<const RawImage>(loadRawImage(*settings.dark, settings.shape));
}

std::vector<Record> FileJudge::operator()(const std::string& file) const {
    SubjectImage image(file, settings_.shape);
    return (*this)(image);
}

std::vector<Record> FileJudge::operator()(SubjectImage& image) const {
    // Results of earlier runs have subjects of their own.
    if (settings_.kind == kSnrKind && isResultsName(image.file()))
        return savedSnrRecords(image.file(), factory_);
    Records records = judge(image);
    for (Record& record : records) {
        if (!settings_.tellsContent)
            record.subject.file = image.file();
        else
            record.subject = judgesFloats(settings_.kind) ? image.subjectOfFloats() : image.subjectOfCounts();
    }
    return records;
}

// Why a file cannot be read names it already.
std::vector<Record> FileJudge::judge(SubjectImage& image) const {
    if (settings_.kind == kSnrKind)
        return {snrRecord(image, factory_)};
    if (judgesFloats(settings_.kind))
        image.floats();
    else
        image.counts();
    return aboutFile(image.file(), [&] { return judges().at(settings_.kind)(*this, image); });
}

}  // namespace qx::tool
