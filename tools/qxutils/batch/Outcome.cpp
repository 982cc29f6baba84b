#include "batch/Outcome.h"

#include "results/RecordJson.h"
#include "text/FileName.h"

#include <algorithm>
#include <array>
#include <new>

namespace qx::tool {
namespace {

constexpr std::array kFromBestToWorst = {ExitCode::Passed, ExitCode::NotPassed, ExitCode::Failed, ExitCode::Usage};

}  // namespace

Outcome failedOutcome(const std::string& command, const std::string& file, const std::string& problem,
                      ExitCode exitCode) {
    Record record{command};
    record.subject.file = file;
    record.verdict = Verdict::Failed;
    record.message = printable(problem);
    return {{record}, exitCode, record.message};
}

Outcome outcomeOf(const std::string& command, const std::string& file,
                  const std::function<std::vector<Record>()>& judge) {
    try {
        Outcome outcome{judge()};
        for (Record& record : outcome.records) {
            record.command = command;
            if (record.verdict == Verdict::NotPassed)
                outcome.exitCode = ExitCode::NotPassed;
        }
        return outcome;
    } catch (const ToolError& error) {
        return failedOutcome(command, file, error.what(), error.exitCode());
    } catch (const std::bad_alloc&) {
        return failedOutcome(command, file, file + ": out of memory; use a smaller image");
    } catch (const std::exception& error) {
        return failedOutcome(command, file, file + ": " + error.what());
    }
}

std::string toLine(const Outcome& outcome) {
    Json json = {{"exit", static_cast<int>(outcome.exitCode)}, {"problem", outcome.problem}};
    json["records"] = Json::array();
    for (const Record& record : outcome.records)
        json["records"].push_back({{"record", toJson(record)}, {"text", record.text}});
    return toLine(json);
}

Outcome outcomeFromLine(const std::string& line) {
    const Json json = Json::parse(line);
    Outcome outcome{{}, static_cast<ExitCode>(json.at("exit").get<int>()), json.at("problem")};
    for (const Json& entry : json.at("records")) {
        outcome.records.push_back(recordFromJson(entry.at("record")));
        outcome.records.back().text = entry.at("text");
    }
    return outcome;
}

ExitCode worse(ExitCode first, ExitCode second) {
    const auto rankOf = [](ExitCode code) { return std::ranges::find(kFromBestToWorst, code); };
    return rankOf(first) < rankOf(second) ? second : first;
}

}  // namespace qx::tool
