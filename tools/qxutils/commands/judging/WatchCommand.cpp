#include "batch/Outcome.h"
#include "checks/FileJudge.h"
#include "commands/Subcommand.h"
#include "detector/DetectorSetup.h"
#include "files/FileAccess.h"
#include "options/BatchOptions.h"
#include "options/Choice.h"
#include "options/ImageOptions.h"
#include "options/NumberCheck.h"
#include "results/RecordJson.h"
#include "results/Subject.h"
#include "store/OpenStore.h"
#include "watch/FolderWatch.h"

#include <QxUtils/Records.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qx::tool {
namespace {

struct WatchOptions {
    std::string folder;
    std::string shape;
    JudgeSettings judge;
    std::optional<std::string> limits;
    std::optional<std::string> store;
    bool existing = false;
    bool looks = false;
    int count = 0;
};

std::vector<std::int64_t> completeSizes(const JudgeSettings& settings) {
    if (judgesFloats(settings.kind))
        return {settings.shape.pixelCount() * std::int64_t{sizeof(float)}};
    return {settings.shape.pixelBytes(), settings.shape.pixelBytes() + kImageHeaderBytes};
}

void printLine(const Record& record) {
    Json line = documentHead();
    line.update(toJson(record));
    std::cout << toLine(line) << '\n';
    if (!std::cout.flush())
        throw ToolError("standard output cannot be written; check where it goes");
}

// Judges the files that it is told of, each content of a file once.
class ArrivalJudge {
public:
    explicit ArrivalJudge(const WatchOptions& options)
        : folder_(options.folder), command_(commandOf(options.judge.kind)),
          completeSizes_(completeSizes(options.judge)), judge_(options.judge), store_(openStore(options.store)) {}

    void take(const std::string& name) {
        const std::string file = folder_ + '/' + name;
        const std::optional<FileState> state = stateOf(file);
        if (!state || std::ranges::find(completeSizes_, state->bytes) == completeSizes_.end())
            return;
        const bool isNew = !told_.contains(name);
        if (isNew && isStored(subjectOf(file)))
            return;
        const std::vector<Record> records = outcomeOf(command_, file, [&] { return judge_(file); }).records;
        // It is written again, and comes again when that ends; or it is gone.
        if (stateOf(file) != state)
            return;
        const Told now{records.front().subject.crc, *state};
        if (isNew ? isStored(records.front().subject) : told_[name].isSame(now))
            return;
        tell(records);
        told_[name] = now;
    }

    int lines() const { return lines_; }

private:
    bool isStored(const Subject& subject) const { return store_ && store_->holds(command_, subject); }

    void tell(const std::vector<Record>& records) {
        // What was told is kept, whatever happens in between.
        if (store_)
            store_->add(records, documentHead().at("detector"));
        for (const Record& record : records)
            printLine(record);
        lines_ += static_cast<int>(records.size());
    }

    // What was judged last under a name.
    struct Told {
        std::optional<std::uint32_t> crc;  // of what was read; nothing when that failed
        FileState state;

        bool isSame(const Told& other) const { return crc == other.crc && (crc || state == other.state); }
    };

    std::string folder_;
    std::string command_;
    std::vector<std::int64_t> completeSizes_;
    FileJudge judge_;
    std::unique_ptr<PanelStore> store_;
    std::map<std::string, Told> told_;
    int lines_ = 0;
};

ExitCode runWatch(const WatchOptions& given) {
    WatchOptions options = given;
    options.judge.shape = parseShape(options.shape);
    if (options.judge.factory && options.judge.kind != "snr")
        throw ToolError("--factory is for --check snr alone", ExitCode::Usage);
    requireFolder(options.folder, "the folder to watch");
    if (options.limits)
        loadDetectorFile(*options.limits);
    const StopRequest stop;
    ArrivalJudge judge(options);
    const auto isOver = [&] { return stop.isMade() || (options.count > 0 && judge.lines() >= options.count); };
    const auto watch =
        watchFolder(options.folder, options.existing, options.looks ? WatchBy::Looking : WatchBy::Notices);
    while (!isOver()) {
        for (const std::string& name : watch->next(stop)) {
            if (isOver())
                break;
            judge.take(name);
        }
    }
    return ExitCode::Passed;
}

}  // namespace

void addWatchCommand(CLI::App& app, Command& chosen) {
    auto [command, options] =
        addSubcommand(app, chosen, "watch",
                      "Judge raw images as they arrive in a folder, one line of JSON for each verdict", runWatch);
    command.add_option("FOLDER", options.folder, "The folder; files whose names end in .raw count")->required();
    takeOneOf(command.add_option("--check", options.judge.kind, "What to judge them by, such as uniform, dark or snr")
                  ->required(),
              judgedKinds());
    addShapeOption(command, options.shape);
    command.add_option("--dark", options.judge.dark, "The dark image that belongs to them, for first and pre")
        ->type_name("FILE");
    command.add_option("--factory", options.judge.factory, "Judge by the SNR series in this file, for snr")
        ->type_name("FILE");
    addLimitsOption(command, options.limits);
    addStoreOption(command, options.store);
    command.add_flag("--existing", options.existing,
                     "Judge the files that are there already, too; with --store those it does not keep yet");
    command.add_flag("--look", options.looks,
                     "Look twice a second instead of waiting for the system's notices, as network folders need");
    command.add_option("--count", options.count, "End when so many lines are written; an image's lines stay together")
        ->check(numberFrom(1));
}

}  // namespace qx::tool
