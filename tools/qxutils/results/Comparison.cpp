#include "results/Comparison.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace qx::tool {
namespace {

std::string fileName(const Record& record) {
    const std::string& file = record.subject.file;
    return file.substr(file.find_last_of("/\\") + 1);
}

bool isOfSameFile(const Record& first, const Record& second) {
    return first.command == second.command && fileName(first) == fileName(second);
}

bool isSameJudgement(const Record& first, const Record& second) {
    return first.check == second.check && isOfSameFile(first, second);
}

bool isSameFileWithoutCheck(const Record& first, const Record& second) {
    return (first.check.empty() || second.check.empty()) && isOfSameFile(first, second);
}

std::optional<double> known(double value) {
    return std::isnan(value) ? std::nullopt : std::optional(value);
}

// The grade, and the limits of the measures. What is expected of an SNR square is left out: it follows from the image.
std::vector<Measure> termsOf(const Record& record) {
    std::vector<Measure> terms;
    for (const Measure& measure : record.measures) {
        if (measure.limit)
            terms.push_back({"limit of " + measure.name, measure.limit->value, measure.unit, measure.decimals});
    }
    if (record.grade)
        terms.push_back({"grade", static_cast<double>(*record.grade), "", 0});
    return terms;
}

std::vector<ComparedMeasure> compareMeasures(const std::vector<Measure>& today, const std::vector<Measure>& reference) {
    std::vector<ComparedMeasure> compared;
    for (const Measure& measure : today)
        compared.push_back({measure.name, measure.unit, measure.decimals, known(measure.value)});
    for (const Measure& measure : reference) {
        const auto same = std::ranges::find(compared, measure.name, &ComparedMeasure::name);
        if (same != compared.end())
            same->reference = known(measure.value);
        else
            compared.push_back({measure.name, measure.unit, measure.decimals, std::nullopt, known(measure.value)});
    }
    return compared;
}

ComparedRecord compareRecord(const Record& today, const Record& reference) {
    ComparedRecord compared{today, reference, compareMeasures(allMeasures(today), allMeasures(reference))};
    std::ranges::copy_if(compareMeasures(termsOf(today), termsOf(reference)), std::back_inserter(compared.measures),
                         [](const ComparedMeasure& term) { return term.difference().value_or(0.0) != 0.0; });
    return compared;
}

// Moves the records that belong together from both lists, those that are left over so far, to the pairs.
void pairUp(Comparison& comparison, bool (*belongTogether)(const Record&, const Record&)) {
    std::vector<Record> left;
    for (Record& record : comparison.onlyToday) {
        const auto other = std::ranges::find_if(
            comparison.onlyReference, [&](const Record& reference) { return belongTogether(record, reference); });
        if (other == comparison.onlyReference.end()) {
            left.push_back(std::move(record));
            continue;
        }
        comparison.records.push_back(compareRecord(record, *other));
        comparison.onlyReference.erase(other);
    }
    comparison.onlyToday = std::move(left);
}

}  // namespace

std::optional<double> ComparedMeasure::difference() const {
    return today && reference ? known(*today - *reference) : std::nullopt;
}

std::optional<double> ComparedMeasure::percent() const {
    const std::optional<double> change = difference();
    return change && *reference != 0.0 ? known(100.0 * *change / std::abs(*reference)) : std::nullopt;
}

bool ComparedMeasure::isChanged() const {
    return today != reference;
}

bool ComparedRecord::isChanged() const {
    return today.verdict != reference.verdict || std::ranges::any_of(measures, &ComparedMeasure::isChanged);
}

bool Comparison::isChanged() const {
    return !onlyToday.empty() || !onlyReference.empty() || std::ranges::any_of(records, &ComparedRecord::isChanged);
}

bool Comparison::isWorse() const {
    return std::ranges::any_of(records, &ComparedRecord::isWorse);
}

Comparison compareRecords(const std::vector<Record>& today, const std::vector<Record>& reference) {
    Comparison comparison{{}, today, reference};
    pairUp(comparison, isSameJudgement);
    pairUp(comparison, isSameFileWithoutCheck);
    return comparison;
}

}  // namespace qx::tool
