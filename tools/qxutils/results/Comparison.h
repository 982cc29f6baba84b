#pragma once

#include "results/RecordJson.h"

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

// What changed between two sets of results, those of today and those of a reference.

namespace qx::tool {

// A measure of one record or of both.
struct ComparedMeasure {
    std::string name;
    std::string unit;
    int decimals = 0;
    std::optional<double> today{};
    std::optional<double> reference{};

    std::optional<double> difference() const;
    std::optional<double> percent() const;  // of the reference; none of 0
    bool isChanged() const;
};

// The same judgement of the same file, today and in the reference.
struct ComparedRecord {
    Record today;
    Record reference;
    std::vector<ComparedMeasure> measures{};  // with the limits and the grade that changed

    bool isChanged() const;

    // Whether it passed in the reference, and does not pass or fails today.
    bool isWorse() const {
        return reference.verdict == Verdict::Passed &&
               (today.verdict == Verdict::NotPassed || today.verdict == Verdict::Failed);
    }
};

struct Comparison {
    std::vector<ComparedRecord> records{};
    std::vector<Record> onlyToday{};
    std::vector<Record> onlyReference{};

    bool isChanged() const;
    bool isWorse() const;
};

// Records of the same command, check and file name, without its folder, belong together, in their order where there are
// several; one that names no check, failed or only measured, belongs to the first one left of its command and file
// name.
Comparison compareRecords(const std::vector<Record>& today, const std::vector<Record>& reference);

// For a person, within 80 columns: what changed, and how many results did not.
void printTable(std::ostream& out, const Comparison& comparison);

// {"program", "version", "changed", "worse", "records": [{"command", "check", "file", "verdict", "referenceVerdict",
// "measures": [{"name", "unit", "today", "reference", "difference", "percent"}]}], "onlyToday": [{"command", "check",
// "file", "verdict"}], "onlyReference": [likewise]}; a number that there is not is null.
Json toJson(const Comparison& comparison);

// command,check,file,verdict,referenceVerdict,measure,unit,today,reference,difference,percent: a line for each measure,
// or one for a record without any; the verdict is empty that there is not.
void printCsv(std::ostream& out, const Comparison& comparison);

}  // namespace qx::tool
