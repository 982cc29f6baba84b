#include "checks/FileJudge.h"

#include "common/ToolError.h"
#include "results/Subject.h"
#include "snr/SnrRecord.h"

#include <algorithm>
#include <iterator>
#include <map>

namespace qx::tool {
namespace {

using Records = std::vector<Record>;

struct JudgedFile {
    Records records;
    Subject subject;
};
using Judge = JudgedFile (*)(const FileJudge& judge, const std::string& file);

template <Record (*check)(const RawImage&)>
JudgedFile judgeWords(const FileJudge& judge, const std::string& file) {
    const LoadedImage loaded = loadImageFile(file, judge.settings().shape);
    return {{aboutFile(file, [&] { return check(loaded.image); })}, subjectOf(file, loaded)};
}

template <Record (*check)(const RawImage&, const RawImage&)>
JudgedFile judgeExposure(const FileJudge& judge, const std::string& file) {
    const LoadedImage loaded = loadImageFile(file, judge.settings().shape);
    return {{aboutFile(file, [&] { return check(loaded.image, judge.dark()); })}, subjectOf(file, loaded)};
}

template <Record (*check)(const FloatImage&)>
JudgedFile judgeFloats(const FileJudge& judge, const std::string& file) {
    const FloatImage image = loadFloatImage(file, judge.settings().shape);
    return {{aboutFile(file, [&] { return check(image); })}, subjectOf(file, image)};
}

JudgedFile judgeUniformity(const FileJudge& judge, const std::string& file) {
    const LoadedImage loaded = loadImageFile(file, judge.settings().shape);
    const auto check = [&] {
        return Records{checkSquares(loaded.image), checkBlocks(loaded.image, judge.settings().blockLimit)};
    };
    return {aboutFile(file, check), subjectOf(file, loaded)};
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
    dark_ = loadRawImage(*settings.dark, settings.shape);
}

std::vector<Record> FileJudge::operator()(const std::string& file) const {
    // Results of earlier runs have subjects of their own.
    if (settings_.kind == kSnrKind)
        return snrRecords(file, settings_.shape, factory_);
    JudgedFile judged = judges().at(settings_.kind)(*this, file);
    for (Record& record : judged.records)
        record.subject = judged.subject;
    return judged.records;
}

}  // namespace qx::tool
