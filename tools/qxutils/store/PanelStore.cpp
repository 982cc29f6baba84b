#include "store/PanelStore.h"

#include "common/ToolError.h"
#include "files/FileAccess.h"
#include "text/ComparedNumbers.h"
#include "text/DateText.h"
#include "text/FileName.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <system_error>
#include <tuple>
#include <utility>

namespace qx::tool {
namespace {

constexpr const char* kWanted = "a store that qxutils made";

// "QxPS" in the file's header, and the version of the tables.
constexpr std::int64_t kApplication = 0x51785053;
constexpr std::int64_t kVersion = 1;

constexpr std::array kTables = {
    R"(CREATE TABLE results (
        id INTEGER PRIMARY KEY,
        command TEXT NOT NULL,
        "check" TEXT NOT NULL,
        file TEXT NOT NULL,
        bytes INTEGER,
        crc INTEGER,
        width INTEGER,
        height INTEGER,
        time TEXT,
        judged TEXT NOT NULL,
        verdict TEXT NOT NULL,
        code INTEGER,
        message TEXT NOT NULL,
        grade INTEGER,
        detector TEXT NOT NULL,
        content TEXT NOT NULL,
        findings TEXT NOT NULL,
        UNIQUE (command, "check", content, findings)))",
    R"(CREATE TABLE measures (
        result INTEGER NOT NULL REFERENCES results (id),
        position INTEGER NOT NULL,
        name TEXT NOT NULL,
        value REAL,
        unit TEXT NOT NULL,
        decimals INTEGER NOT NULL,
        comparison TEXT,
        limit_value REAL,
        requirement INTEGER,
        met INTEGER,
        PRIMARY KEY (result, position)) WITHOUT ROWID)",
    "CREATE INDEX results_by_file ON results (file)",
    "PRAGMA application_id = 1366839379",
    "PRAGMA user_version = 1",
};
static_assert(kApplication == 1366839379 && kVersion == 1);

constexpr const char* kInsertResult = R"(
    INSERT OR IGNORE INTO results (command, "check", file, bytes, crc, width, height, time, judged, verdict, code,
        message, grade, detector, content, findings)
    VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?))";

constexpr const char* kInsertMeasure = R"(
    INSERT INTO measures (result, position, name, value, unit, decimals, comparison, limit_value, requirement, met)
    VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?))";

// Other files of contents that are kept, of which stores had no list at first.
constexpr const char* kCopiesTable = R"(
    CREATE TABLE IF NOT EXISTS copies (
        command TEXT NOT NULL,
        file TEXT NOT NULL,
        bytes INTEGER,
        crc INTEGER,
        UNIQUE (command, file, bytes, crc)))";

constexpr const char* kInsertCopy = "INSERT OR IGNORE INTO copies (command, file, bytes, crc) VALUES (?, ?, ?, ?)";

// A file that was written in the second in which it was judged may have been written again since.
constexpr const char* kSelectFile = R"(
    SELECT 1 FROM results
    WHERE command = ?1 AND file = ?2 AND bytes = ?3 AND (crc = ?4 OR (time = ?5 AND time < judged))
    UNION ALL
    SELECT 1 FROM copies WHERE command = ?1 AND file = ?2 AND bytes = ?3 AND crc = ?4)";

// Days since 1970 from those of the Julian calendar.
constexpr const char* kSelectPoints = R"(
    SELECT command, "check", position, name, unit, decimals, comparison, limit_value, requirement, met, value, file,
        coalesce(time, judged) AS moment, julianday(coalesce(time, judged)) - 2440587.5 AS day
    FROM measures JOIN results ON results.id = measures.result
    WHERE day IS NOT NULL AND value IS NOT NULL AND instr(name, ?) > 0 AND moment >= ?
    ORDER BY day, results.id, position)";

enum PointColumn {
    kCommand,
    kCheck,
    kPosition,
    kName,
    kUnit,
    kDecimals,
    kComparison,
    kLimit,
    kRequirement,
    kMet,
    kValue,
    kFile,
    kMoment,
    kDay
};

std::int64_t pragma(const Database& database, const char* sql) {
    Statement statement(database, sql);
    return statement.step() ? statement.integer(0) : 0;
}

// SQLite says of a folder only that it cannot be opened.
const std::string& checkedPath(const std::string& path, PanelStore::Use use) {
    requireName(path, kWanted);
    std::error_code error;
    if (use == PanelStore::Use::Reading || std::filesystem::is_directory(toPath(path), error))
        fileBytes(path, kWanted);
    return path;
}

int flagsFor(PanelStore::Use use) {
    return SQLITE_OPEN_READWRITE | (use == PanelStore::Use::Writing ? SQLITE_OPEN_CREATE : 0);
}

std::string now() {
    return timeText(std::chrono::system_clock::now());
}

// What was judged, as far as that tells it from anything else.
std::string contentOf(const Subject& subject, const std::string& judged) {
    if (subject.crc)
        return std::to_string(*subject.crc) + ' ' + std::to_string(subject.bytes.value_or(-1));
    return subject.file + ' ' + (subject.time.empty() ? judged : subject.time);
}

// The numbers and their limits, in short.
std::string findingsOf(const Record& record) {
    std::string text = std::to_string(record.code.value_or(0));
    for (const Measure& measure : allMeasures(record)) {
        text += ' ' + shortText(measure.value);
        if (measure.limit)
            text += symbolOf(measure.limit->comparison) + shortText(measure.limit->value);
    }
    return text;
}

std::optional<std::string> known(const std::string& text) {
    return text.empty() ? std::nullopt : std::optional(text);
}

void insertMeasure(const Database& database, std::int64_t result, std::size_t position, const Measure& measure) {
    Statement statement(database, kInsertMeasure);
    statement.bind(result).bind(position).bind(measure.name).bind(measure.value).bind(measure.unit);
    statement.bind(measure.decimals);
    if (const auto& limit = measure.limit)
        statement.bind(symbolOf(limit->comparison)).bind(limit->value).bind(limit->requirement).bind(limit->met);
    statement.step();
}

// Without a CRC the content has the file's name in it.
void insertCopy(const Database& database, const Record& record) {
    const Subject& subject = record.subject;
    if (!subject.crc)
        return;
    Statement statement(database, kInsertCopy);
    statement.bind(record.command).bind(subject.file).bind(subject.bytes).bind(subject.crc);
    statement.step();
}

std::optional<Limit> limitOf(const Statement& row) {
    const std::string symbol = row.text(kComparison);
    const auto comparison = std::ranges::find(kComparisons, symbol, symbolOf);
    if (comparison == kComparisons.end())
        return std::nullopt;
    return Limit{*comparison, row.real(kLimit), static_cast<int>(row.integer(kRequirement)), row.integer(kMet) != 0};
}

// Of a row that begins with a command and a check: "dark", "darkImgGrayAnalysis", "check dark".
std::array<std::string, 3> checkNamesOf(const Statement& row) {
    const std::string command = row.text(kCommand);
    return {command.substr(command.find_last_of(' ') + 1), row.text(kCheck), command};
}

bool isWanted(const std::string& check, const Statement& row) {
    return check.empty() || std::ranges::count(checkNamesOf(row), check) > 0;
}

// A measure's place among those of its check, which are not all there where an earlier one decides.
struct PlacedSeries {
    TrendSeries series;
    std::int64_t place = 0;
};

PlacedSeries& placeFor(std::vector<PlacedSeries>& all, const Statement& row) {
    const std::string check = row.text(row.text(kCheck).empty() ? kCommand : kCheck);
    const auto found = std::ranges::find_if(all, [&](const PlacedSeries& other) {
        return other.series.check == check && other.series.measure == row.text(kName) &&
               other.series.unit == row.text(kUnit);
    });
    if (found != all.end())
        return *found;
    TrendSeries series{check, row.text(kName), row.text(kUnit), static_cast<int>(row.integer(kDecimals))};
    return all.emplace_back(PlacedSeries{std::move(series), row.integer(kPosition)});
}

std::vector<TrendSeries> inOrder(std::vector<PlacedSeries>& placed) {
    std::ranges::stable_sort(placed, [](const PlacedSeries& first, const PlacedSeries& second) {
        return std::tie(first.series.check, first.place) < std::tie(second.series.check, second.place);
    });
    std::vector<TrendSeries> all;
    std::ranges::transform(placed, std::back_inserter(all), [](PlacedSeries& each) { return std::move(each.series); });
    return all;
}

}  // namespace

PanelStore::PanelStore(const std::string& path, Use use)
    : path_(checkedPath(path, use)), database_(path, flagsFor(use)) {
    // In this order: another process may make the store in between, which gives it tables and the number at once.
    const bool isEmpty = pragma(database_, "SELECT count(*) FROM sqlite_master") == 0;
    const std::int64_t application = pragma(database_, "PRAGMA application_id");
    if (application != kApplication && (application != 0 || !isEmpty || use == Use::Reading))
        throw ToolError(path + ": is no store of qxutils; give " + kWanted + ", or a new name");
    if (pragma(database_, "PRAGMA user_version") > kVersion)
        throw ToolError(path + ": was made by a newer qxutils; use that one");
    if (use == Use::Writing)
        create();
}

void PanelStore::create() {
    database_.run("PRAGMA journal_mode = WAL");
    database_.run("PRAGMA synchronous = FULL");
    if (pragma(database_, "PRAGMA application_id") != kApplication) {
        Transaction transaction(database_);
        // Another process may have been faster.
        if (pragma(database_, "PRAGMA application_id") != kApplication) {
            for (const char* const sql : kTables)
                database_.run(sql);
        }
        transaction.commit();
    }
    database_.run(kCopiesTable);
}

void PanelStore::add(const std::vector<Record>& records, const Json& detector) {
    const std::string detectorText = toLine(detector);
    Transaction transaction(database_);
    for (const Record& record : records) {
        if (record.verdict != Verdict::Failed)
            insert(record, detectorText);
    }
    transaction.commit();
}

void PanelStore::insert(const Record& record, const std::string& detector) {
    const Subject& subject = record.subject;
    const std::string judged = now();
    Statement statement(database_, kInsertResult);
    statement.bind(record.command).bind(record.check).bind(subject.file).bind(subject.bytes).bind(subject.crc);
    statement.bind(subject.shape ? std::optional(subject.shape->width) : std::nullopt);
    statement.bind(subject.shape ? std::optional(subject.shape->height) : std::nullopt);
    statement.bind(known(subject.time)).bind(judged).bind(toText(record.verdict)).bind(record.code);
    statement.bind(record.message).bind(record.grade).bind(detector);
    statement.bind(contentOf(subject, judged)).bind(findingsOf(record));
    statement.step();
    if (!database_.hasChanged()) {
        insertCopy(database_, record);
        return;
    }
    const std::int64_t result = database_.lastRow();
    const std::vector<Measure> measures = allMeasures(record);
    for (std::size_t position = 0; position < measures.size(); ++position)
        insertMeasure(database_, result, position, measures[position]);
}

bool PanelStore::holds(const std::string& command, const Subject& subject) const {
    Statement statement(database_, kSelectFile);
    statement.bind(command).bind(subject.file).bind(subject.bytes).bind(subject.crc).bind(subject.time);
    return statement.step();
}

std::vector<std::string> PanelStore::checkNames() const {
    Statement row(database_, R"(SELECT DISTINCT command, "check" FROM results)");
    std::vector<std::string> names;
    while (row.step())
        std::ranges::copy(checkNamesOf(row), std::back_inserter(names));
    return names;
}

std::vector<TrendSeries> PanelStore::series(const TrendFilter& filter) const {
    Statement row(database_, kSelectPoints);
    row.bind(filter.measure).bind(filter.since);
    std::vector<PlacedSeries> placed;
    while (row.step()) {
        if (!std::isfinite(row.real(kValue)) || !isWanted(filter.check, row))
            continue;
        auto& [series, place] = placeFor(placed, row);
        place = std::min(place, row.integer(kPosition));
        series.limit = limitOf(row);
        series.points.push_back({row.text(kMoment), row.real(kDay), row.real(kValue), row.text(kFile)});
    }
    return inOrder(placed);
}

}  // namespace qx::tool
