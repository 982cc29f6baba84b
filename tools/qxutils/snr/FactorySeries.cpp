#include "snr/FactorySeries.h"

#include "common/ToolError.h"
#include "files/FileAccess.h"
#include "files/InputFile.h"
#include "image/RawImage.h"
#include "results/RecordJson.h"
#include "snr/FactorySnrRecords.h"
#include "text/FileName.h"
#include "text/TextStream.h"

#include <QxUtils/Files.h>

#include <TomlLibrary.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <sstream>

namespace qx::tool {
namespace {

constexpr const char* kWanted = "a text, TOML or JSON file with SNR values, or a raw reference image";

// 0, which no series may hold, for a number that is none or has no place in a float.
float toSnr(std::optional<double> value) {
    return value && *value > 0 && *value <= std::numeric_limits<float>::max() ? static_cast<float>(*value) : 0.0f;
}

SnrSeries parseToml(const std::string& text) {
    if (qxkit::mayNestTooDeep(text))
        throw std::runtime_error("more points on a line than a key may have");
    const toml::table table = toml::parse(text);
    const toml::array* list = table["snr"].as_array();
    if (list == nullptr)
        throw std::runtime_error("no list named snr");
    SnrSeries series;
    for (const toml::node& node : *list)
        series.push_back(toSnr(node.value<double>()));
    return series;
}

// The first series among results.
SnrSeries savedSeries(const std::vector<Record>& results) {
    for (const Record& result : results) {
        SnrSeries series;
        for (const SnrSquare& square : result.squares)
            series.push_back(toSnr(square.measured));
        if (!series.empty())
            return series;
    }
    throw std::runtime_error("no result with an SNR series");
}

SnrSeries parseJsonList(const std::string& text) {
    Json list = parseJson(text, false);
    // Results in lines are no JSON as a whole.
    const Json first = list.is_discarded() ? parseJson(text.substr(0, text.find('\n')), false) : list;
    if (first.is_object() && (first.contains("results") || first.contains("verdict")))
        return savedSeries(parseRecords(text));
    if (list.is_discarded())
        throw std::runtime_error("not valid JSON");
    if (list.is_object())
        list = list.value("snr", Json());
    if (!list.is_array())
        throw std::runtime_error("no list named snr");
    SnrSeries series;
    for (const Json& item : list)
        series.push_back(toSnr(item.is_number() ? std::optional(item.get<double>()) : std::nullopt));
    return series;
}

SnrSeries parsePlain(const std::string& text) {
    SnrSeries series;
    std::istringstream words(text);
    words.exceptions(std::ios::badbit);
    for (std::string word; words >> word;) {
        float value = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
        if (error != std::errc{} || end != word.data() + word.size())
            throw std::runtime_error("\"" + word.substr(0, 40) + "\" is not a number");
        series.push_back(value);
    }
    return series;
}

SnrSeries parseSeries(const std::string& path) {
    const std::string text = readSettings(path, kWanted);
    try {
        if (hasEnding(path, ".toml"))
            return parseToml(text);
        return hasEnding(path, ".json") ? parseJsonList(text) : parsePlain(text);
    } catch (const std::exception& error) {
        std::string reason = error.what();
        std::replace(reason.begin(), reason.end(), '\n', ' ');
        throw ToolError(path + ": " + reason + "; give a list of SNR values, smallest square first");
    }
}

bool isReferenceImage(const std::string& path, const Shape& shape) {
    const auto isNamed = [&path](const char* ending) { return hasEnding(path, ending); };
    if (std::ranges::any_of(std::array{".toml", ".json", ".txt", ".raw"}, isNamed))
        return isNamed(".raw");
    const std::optional<std::int64_t> bytes = InputFile(path, kWanted).bytes();
    return !bytes || *bytes == shape.pixelBytes() || *bytes == shape.pixelBytes() + kImageHeaderBytes;
}

FactoryDiffIntSNRList readList(const std::string& path, const Shape& shape) {
    if (isFactorySnrName(path))
        return loadFactorySnrFile(path);
    FactoryDiffIntSNRList list;
    list.records.resize(1);
    list.records.front().snr =
        isReferenceImage(path, shape) ? measureSnr(loadRawImage(path, shape)) : parseSeries(path);
    return list;
}

// The number with the fewest digits that reads back as the same float.
double shortestDecimal(float value) {
    char text[32];
    const auto written = std::to_chars(text, text + sizeof(text), value);
    double decimal = 0;
    std::from_chars(text, written.ptr, decimal);
    return decimal;
}

}  // namespace

FactorySeries::FactorySeries(const std::string& path, const Shape& shape)
    : path_(path), squares_(snrSquareSides(shape).size()), list_(readList(path, shape)) {}

const SnrSeries& FactorySeries::nearest(std::optional<float> integrationTimeMs) const {
    const SnrSeries& series = nearestRecord(list_, integrationTimeMs).snr;
    const auto isUsable = [](float value) { return std::isfinite(value) && value > 0; };
    if (!std::ranges::all_of(series, isUsable))
        throw ToolError(path_ + ": every SNR value must be a positive number");
    if (series.size() < squares_) {
        throw ToolError(path_ + ": " + std::to_string(series.size()) +
                        " SNR values, but an image of this shape needs " + std::to_string(squares_) +
                        "; measure the factory series on images of the same shape");
    }
    return series;
}

void saveFactorySeries(const std::string& path, const SnrSeries& series) {
    toml::array list;
    for (const float value : series)
        list.push_back(shortestDecimal(value));
    TextStream text;
    text << "# SNR series of the factory, smallest square first.\n" << toml::table{{"snr", std::move(list)}} << '\n';
    writeFile(path, text.str());
}

}  // namespace qx::tool
