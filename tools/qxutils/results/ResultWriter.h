#pragma once

#include "results/Record.h"

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

// How results reach standard output.

namespace qx::tool {

enum class Format { Table, Json, Csv };

// Prints all records of a run for a person.
using PrintTable = std::function<void(std::ostream& out, const std::vector<Record>& records)>;

// Takes the records of a run in their order: JSON and CSV are written as they come, a table at the end.
class ResultWriter {
public:
    ResultWriter(std::ostream& out, Format format, PrintTable printTable);

    void add(const Record& record);
    void finish();

private:
    std::ostream& out_;
    Format format_;
    PrintTable printTable_;
    std::vector<Record> records_;
    bool isFirst_ = true;
};

// The texts of the records, one after the other.
void printTexts(std::ostream& out, const std::vector<Record>& records);

// The same, of several files each below its name.
void printNamedTexts(std::ostream& out, const std::vector<Record>& records);

}  // namespace qx::tool
