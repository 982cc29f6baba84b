#pragma once

#include "batch/Outcome.h"
#include "checks/FileJudge.h"
#include "report/LogTail.h"
#include "report/Report.h"
#include "results/SubjectImage.h"

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qx::tool {

struct ReportSettings {
    std::string title;
    std::optional<Shape> shape;
    std::vector<std::string> kinds;  // of FileJudge; those that need nothing but the image when empty
    std::optional<std::string> dark;
    std::optional<std::string> factory;
    std::optional<std::string> limits;  // told, not loaded
    float blockLimit = kDefaultBlockLimit;
};

// Judges files one by one, and keeps what a report tells of them.
class ReportMaker {
public:
    // The more files there are, the smaller are their pictures.
    ReportMaker(ReportSettings settings, std::size_t files);

    // A raw image of 16-bit pixels or 32-bit floats, or results of earlier runs (*.json).
    Outcome add(const std::string& file);

    Report finish() const;

private:
    Outcome addResults(const std::string& file);
    Outcome addImage(const std::string& file);
    Outcome judge(SubjectImage& image, const std::vector<std::string>& kinds);
    const FileJudge& judgeOf(const std::string& kind);
    // Returns why there is none.
    std::string addPicture(SubjectImage& image);
    void keep(const Outcome& outcome);
    std::vector<std::string> kindsOf(const std::string& file) const;

    ReportSettings settings_;
    std::size_t files_;
    std::shared_ptr<const RawImage> dark_;
    std::map<std::string, FileJudge> judges_;  // by their kinds
    bool judgesImages_ = false;
    bool readsResults_ = false;
    LogTail log_;
    Report report_;
};

}  // namespace qx::tool
