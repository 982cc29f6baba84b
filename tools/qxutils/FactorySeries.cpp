#include "FactorySeries.h"

#include "Command.h"

#include <nlohmann/json.hpp>
#include <toml++/toml.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

namespace qx::tool {
namespace {

constexpr std::int64_t kMaxFileBytes = 1 << 20;

std::string readText(const std::string& path) {
    if (fileBytes(path) > kMaxFileBytes)
        throw ToolError(path + ": too long for a list of SNR values; give a text, TOML or JSON file");
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file || !text)
        throw ToolError(path + ": cannot be read; check that you may read it and that it is not empty");
    return text.str();
}

SnrSeries parseToml(const std::string& text) {
    const toml::table table = toml::parse(text);
    const toml::array* list = table["snr"].as_array();
    if (list == nullptr)
        throw std::runtime_error("no list named snr");
    SnrSeries series;
    for (const toml::node& node : *list) {
        const auto value = node.value<double>();
        series.push_back(value ? static_cast<float>(*value) : 0.0F);
    }
    return series;
}

SnrSeries parseJson(const std::string& text) {
    const nlohmann::json content = nlohmann::json::parse(text);
    return (content.is_array() ? content : content.at("snr")).get<SnrSeries>();
}

SnrSeries parsePlain(const std::string& text) {
    SnrSeries series;
    std::istringstream words(text);
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
    const std::string text = readText(path);
    const std::filesystem::path extension = std::filesystem::path(path).extension();
    try {
        if (extension == ".toml")
            return parseToml(text);
        return extension == ".json" ? parseJson(text) : parsePlain(text);
    } catch (const std::exception& error) {
        std::string reason = error.what();
        std::replace(reason.begin(), reason.end(), '\n', ' ');
        throw ToolError(path + ": " + reason + "; give a list of SNR values, smallest square first");
    }
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

SnrSeries loadFactorySeries(const std::string& path, std::size_t minimumCount) {
    SnrSeries series = parseSeries(path);
    const auto isUsable = [](float value) { return std::isfinite(value) && value > 0; };
    if (!std::all_of(series.begin(), series.end(), isUsable))
        throw ToolError(path + ": every SNR value must be a positive number");
    if (series.size() < minimumCount) {
        throw ToolError(path + ": " + std::to_string(series.size()) + " SNR values, but an image of this shape needs " +
                        std::to_string(minimumCount) + "; measure the factory series on images of the same shape");
    }
    return series;
}

void saveFactorySeries(const std::string& path, const SnrSeries& series) {
    toml::array list;
    for (const float value : series)
        list.push_back(shortestDecimal(value));
    std::ofstream file(path, std::ios::binary);
    file << "# SNR series of the factory, smallest square first.\n" << toml::table{{"snr", std::move(list)}} << '\n';
    if (!file.flush())
        throw ToolError(path + ": cannot be written; check that the folder exists and has room");
}

}  // namespace qx::tool
