#pragma once

#include "checks/ImageChecks.h"
#include "results/Record.h"
#include "results/SubjectImage.h"
#include "snr/FactorySeries.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

// The judgements of one image at a time, by name, as commands that take many files need them.

namespace qx::tool {

// The kinds: "first" and "pre" (which need the dark image), "uniform", "strip", "dark", "snr", and, of 32-bit floats,
// "offset" and "false-trigger".
std::vector<std::string> judgedKinds();
bool judgesFloats(const std::string& kind);

// What judges a kind on the command line: "snr", or "check" and the kind.
std::string commandOf(const std::string& kind);

struct JudgeSettings {
    std::string kind;
    Shape shape;
    std::optional<std::string> dark{};            // for "first" and "pre"
    float blockLimit = kDefaultBlockLimit;        // for "uniform"
    std::optional<std::string> factory{};         // for "snr", which measures alone without it
    std::shared_ptr<const RawImage> darkImage{};  // what `dark` holds, where that was read already
    bool tellsContent = true;                     // records have the checksum of what was judged
};

// Judges one file after the other; what they share is loaded once.
class FileJudge {
public:
    // Throws a ToolError when the dark image or the factory's series cannot be loaded, or the dark image is missing.
    explicit FileJudge(const JudgeSettings& settings);

    // A record for each check of the kind; throws a ToolError when there is no verdict.
    std::vector<Record> operator()(const std::string& file) const;
    std::vector<Record> operator()(SubjectImage& image) const;

    const JudgeSettings& settings() const { return settings_; }
    const RawImage& dark() const { return *settings_.darkImage; }

private:
    std::vector<Record> judge(SubjectImage& image) const;

    JudgeSettings settings_;
    std::optional<FactorySeries> factory_;
};

}  // namespace qx::tool
