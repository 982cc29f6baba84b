#include "snr/SnrRecord.h"

#include "common/ToolError.h"
#include "info/FileHeader.h"
#include "results/RecordJson.h"
#include "results/RecordText.h"
#include "text/ComparedNumbers.h"
#include "text/FileName.h"
#include "text/TextTable.h"

#include <QxUtils.h>

#include <algorithm>
#include <ostream>
#include <set>

namespace qx::tool {
namespace {

void printSquares(std::ostream& out, const std::vector<SnrSquare>& squares) {
    TextTable table({"square, pixels", "SNR"});
    for (const SnrSquare& square : squares)
        table.addRow({std::to_string(square.side), formatNumber(square.measured, 1)});
    table.print(out);
}

void printJudgedSquares(std::ostream& out, const std::vector<SnrSquare>& squares) {
    constexpr std::size_t kResultColumn = 4;
    TextTable table({"square, pixels", "SNR", "factory", "expected", "result"});
    for (const SnrSquare& square : squares) {
        const auto [measured, expected] = textsCompared(square.measured, square.expected.value(), 1);
        table.addRow({std::to_string(square.side), measured, formatNumber(square.factory.value(), 1), expected,
                      square.isBelow ? "below" : "ok"},
                     {{kResultColumn, square.isBelow ? TextColour::Red : TextColour::Green}});
    }
    table.print(out);
}

const char* meaningOf(int code) {
    const char* const message = getStatusMessage(code);
    return message == nullptr ? "never assigned" : message;
}

// Results of earlier runs may come from anywhere.
bool isJudged(const Record& record) {
    return record.code && std::ranges::all_of(record.squares, [](const SnrSquare& square) {
               return square.factory && square.expected;
           });
}

void printRecord(std::ostream& out, const Record& record) {
    if (!isJudged(record)) {
        printSquares(out, record.squares);
        return;
    }
    printJudgedSquares(out, record.squares);
    const std::string verdict = "verdict " + std::to_string(*record.code) + ": " + printable(record.message);
    out << coloured(verdict, colourOf(record.verdict)) << '\n';
    if (record.grade)
        out << "grade " << *record.grade << ": " << meaningOf(*record.grade) << '\n';
}

std::string squaresBelowText(const Record& record) {
    const auto below = std::ranges::count_if(record.squares, [](const SnrSquare& square) { return square.isBelow; });
    return record.code ? std::to_string(below) + " of " + std::to_string(record.squares.size()) : "";
}

void printSummary(std::ostream& out, const std::vector<Record>& records) {
    constexpr std::size_t kVerdictColumn = 4;
    TextTable table({"file", "SNR of the smallest square", "of the largest", "squares below", "verdict", "grade"});
    std::set<int> codes;
    for (const Record& record : records) {
        const auto codeText = [](std::optional<int> code) { return code ? std::to_string(*code) : ""; };
        table.addRow({record.subject.file, formatNumber(record.squares.front().measured, 1),
                      formatNumber(record.squares.back().measured, 1), squaresBelowText(record), codeText(record.code),
                      codeText(record.grade)},
                     {{kVerdictColumn, colourOf(record.verdict)}});
        for (const std::optional<int> code : {record.code, record.grade})
            codes.insert(code.value_or(StatusOk));
    }
    table.print(out);
    for (const int code : codes) {
        if (code != StatusOk)
            out << "  " << code << "  " << meaningOf(code) << '\n';
    }
}

}  // namespace

Record snrRecord(const RawImage& image, const std::optional<SnrSeries>& factory) {
    Record record;
    const std::vector<int> sides = snrSquareSides(image.shape);
    if (!factory) {
        const SnrSeries series = measureSnr(image);
        for (std::size_t i = 0; i < sides.size(); ++i)
            record.squares.push_back({sides[i], plainNumber(series[i])});
        return record;
    }
    return snrRecord(judgeSnr(image, *factory), image, *factory);
}

Record snrRecord(const SnrJudgement& judgement, const RawImage& image, const SnrSeries& factory) {
    const std::vector<int> sides = snrSquareSides(image.shape);
    Record record;
    record.check = "checkGlobalSNR";
    record.code = judgement.verdict;
    record.message = getStatusMessage(judgement.verdict);
    record.verdict = judgement.passed() ? Verdict::Passed : Verdict::NotPassed;
    record.grade = judgement.grade;
    record.measures.push_back(measureOf(judgement.below.measures[0], 0));
    for (std::size_t i = 0; i < sides.size(); ++i) {
        record.squares.push_back({sides[i], plainNumber(judgement.measured[i]), plainNumber(factory[i]),
                                  plainNumber(judgement.expected[i]), judgement.isBelow(i)});
    }
    return record;
}

Record snrRecord(SubjectImage& image, const std::optional<FactorySeries>& factory) {
    const LoadedImage& loaded = image.counts();
    std::optional<SnrSeries> series;
    if (factory)
        series = factory->nearest(integrationTimeOf(loaded.header));
    return aboutFile(image.file(), [&] { return snrRecord(loaded.image, series); });
}

std::vector<Record> savedSnrRecords(const std::string& file, const std::optional<FactorySeries>& factory) {
    if (factory)
        throw ToolError(file + ": a series that was saved is not judged again; give its image, or no --factory");
    std::vector<Record> records = loadRecords(file);
    std::erase_if(records, [](const Record& record) { return record.squares.empty(); });
    if (records.empty())
        throw ToolError(file + ": holds no SNR series; give results of qxutils snr");
    return records;
}

void printSnrRecords(std::ostream& out, const std::vector<Record>& records) {
    std::vector<Record> measured = records;
    std::erase_if(measured, [](const Record& record) { return record.squares.empty(); });
    if (records.size() == 1 && !measured.empty())
        printRecord(out, measured.front());
    else if (!measured.empty())
        printSummary(out, measured);
}

}  // namespace qx::tool
