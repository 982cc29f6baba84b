#include "results/ResultWriter.h"

#include "results/RecordCsv.h"
#include "results/RecordJson.h"
#include "text/FileName.h"

#include <ostream>
#include <utility>

namespace qx::tool {
namespace {

// The head with the list of results still open.
std::string openDocument() {
    Json head = documentHead();
    head["results"] = Json::array();
    const std::string line = toLine(head);
    return line.substr(0, line.size() - 2);
}

}  // namespace

ResultWriter::ResultWriter(std::ostream& out, Format format, PrintTable printTable)
    : out_(out), format_(format), printTable_(std::move(printTable)) {
    if (format == Format::Json)
        out << openDocument();
    else if (format == Format::Csv)
        printCsvHead(out);
}

void ResultWriter::add(const Record& record) {
    if (format_ == Format::Json)
        out_ << (isFirst_ ? "\n" : ",\n") << toLine(toJson(record));
    else if (format_ == Format::Csv)
        printCsv(out_, record);
    else
        records_.push_back(record);
    isFirst_ = false;
}

void ResultWriter::finish() {
    if (format_ == Format::Json)
        out_ << (isFirst_ ? "]}\n" : "\n]}\n");
    else if (format_ == Format::Table)
        printTable_(out_, records_);
}

void printTexts(std::ostream& out, const std::vector<Record>& records) {
    for (const Record& record : records)
        out << record.text;
}

void printNamedTexts(std::ostream& out, const std::vector<Record>& records) {
    for (const Record& record : records) {
        if (records.size() > 1 && !record.text.empty())
            out << printable(record.subject.file) << '\n';
        out << record.text;
    }
}

}  // namespace qx::tool
