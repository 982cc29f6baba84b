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
using Judge = Records (*)(const FileJudge& judge, const std::string& file);

RawImage load(const FileJudge& judge, const std::string& file) {
    return loadRawImage(file, judge.settings().shape);
}

FloatImage loadFloats(const FileJudge& judge, const std::string& file) {
    return loadFloatImage(file, judge.settings().shape);
}

Records judgeUniformity(const FileJudge& judge, const std::string& file) {
    const RawImage image = load(judge, file);
    return {checkSquares(image), checkBlocks(image, judge.settings().blockLimit)};
}

const std::map<std::string, Judge>& judges() {
    static const std::map<std::string, Judge> table = {
        {"first", [](const FileJudge& judge,
                     const std::string& file) { return Records{checkFirst(load(judge, file), judge.dark())}; }},
        {"pre", [](const FileJudge& judge,
                   const std::string& file) { return Records{checkPreview(load(judge, file), judge.dark())}; }},
        {"uniform", judgeUniformity},
        {"strip",
         [](const FileJudge& judge, const std::string& file) { return Records{checkStrips(load(judge, file))}; }},
        {"dark",
         [](const FileJudge& judge, const std::string& file) { return Records{checkDarkLevel(load(judge, file))}; }},
        {"offset",
         [](const FileJudge& judge, const std::string& file) { return Records{checkOffset(loadFloats(judge, file))}; }},
        {"false-trigger", [](const FileJudge& judge,
                             const std::string& file) { return Records{checkFalseTrigger(loadFloats(judge, file))}; }},
        {"snr", [](const FileJudge& judge, const std::string& file) {
             return snrRecords(file, judge.settings().shape, judge.settings().factory);
         }}};
    return table;
}

bool needsDark(const std::string& kind) {
    return kind == "first" || kind == "pre";
}

}  // namespace

std::vector<std::string> judgedKinds() {
    std::vector<std::string> kinds;
    std::ranges::transform(judges(), std::back_inserter(kinds), [](const auto& judge) { return judge.first; });
    return kinds;
}

FileJudge::FileJudge(const JudgeSettings& settings) : settings_(settings) {
    if (!judges().contains(settings.kind))
        throw ToolError("\"" + settings.kind + "\" is no check of one image", ExitCode::Usage);
    if (!needsDark(settings.kind))
        return;
    if (!settings.dark)
        throw ToolError("DARK is required: the dark image that belongs to the others", ExitCode::Usage);
    dark_ = loadRawImage(*settings.dark, settings.shape);
}

std::vector<Record> FileJudge::operator()(const std::string& file) const {
    std::vector<Record> records = judges().at(settings_.kind)(*this, file);
    for (Record& record : records) {
        if (record.subject.file.empty())
            record.subject = subjectOf(file, settings_.shape);
    }
    return records;
}

}  // namespace qx::tool
