// Reads the virtual detector's state from TOML. Every table is a list of bindings from a key to a field of a candidate
// copy, which takes the detector's place once the whole file has proved right.

#include "DetectorDirectories.h"
#include "ModeWord.h"
#include "VirtualDetector.h"

#define TOML_EXCEPTIONS 0
#include "TomlLibrary.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <optional>
#include <sstream>
#include <string_view>

namespace qxkit {
namespace {

constexpr std::int64_t kIntMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kIntMax = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t kWordMax = std::numeric_limits<std::uint32_t>::max();
constexpr double kFloatMax = std::numeric_limits<float>::max();
constexpr std::size_t kLongestText = 255;
constexpr std::size_t kLongestFolder = 200;  // leaves room for a file name in the kit's 256-character paths

struct Problem {
    std::uint32_t line = 0;
    std::string key;
    std::string text;
};

using Outcome = std::optional<Problem>;

// Takes a value over, or says what is wrong with it. The key is given in full, as in limits.maxGrayValue.
using Setter = std::function<Outcome(const toml::node& node, const std::string& key)>;

struct Binding {
    std::string_view key;
    Setter set;
};

using Bindings = std::vector<Binding>;

Problem problemAt(const toml::node& node, const std::string& key, std::string text) {
    return {node.source().begin.line, key, std::move(text)};
}

template <class Bound>
std::string rangeText(const char* what, Bound low, Bound high) {
    std::ostringstream text;
    text << "must be " << what << " from " << low << " to " << high;
    return text.str();
}

Setter wholeInto(std::function<void(std::int64_t)> store, std::int64_t low, std::int64_t high) {
    return [store = std::move(store), low, high](const toml::node& node, const std::string& key) -> Outcome {
        const auto value = node.value_exact<std::int64_t>();
        if (!value || *value < low || *value > high)
            return problemAt(node, key, rangeText("a whole number", low, high));
        store(*value);
        return std::nullopt;
    };
}

template <class Field>
Setter whole(Field& field, std::int64_t low = kIntMin, std::int64_t high = kIntMax) {
    return wholeInto([&field](std::int64_t value) { field = static_cast<Field>(value); }, low, high);
}

Setter number(float& field, double low = -kFloatMax, double high = kFloatMax) {
    return [&field, low, high](const toml::node& node, const std::string& key) -> Outcome {
        const auto value = node.is_number() ? node.value<double>() : std::nullopt;
        if (!value || !(*value >= low && *value <= high))
            return problemAt(node, key, rangeText("a number", low, high));
        field = static_cast<float>(*value);
        return std::nullopt;
    };
}

template <class Field>
Setter flag(Field& field) {
    return [&field](const toml::node& node, const std::string& key) -> Outcome {
        const auto value = node.value_exact<bool>();
        if (!value)
            return problemAt(node, key, "must be true or false");
        field = *value ? 1 : 0;
        return std::nullopt;
    };
}

Setter textInto(std::function<void(const std::string&)> store, std::size_t shortest, std::size_t longest) {
    return [=, store = std::move(store)](const toml::node& node, const std::string& key) -> Outcome {
        const auto value = node.value_exact<std::string>();
        if (!value || value->size() < shortest || value->size() > longest || value->find('\0') != std::string::npos)
            return problemAt(node, key, rangeText("a text whose length is", shortest, longest) + " bytes");
        store(*value);
        return std::nullopt;
    };
}

Setter text(std::string& field) {
    return textInto([&field](const std::string& value) { field = value; }, 0, kLongestText);
}

Outcome applyBindings(const toml::table& table, const std::string& prefix, const Bindings& bindings) {
    for (const auto& [key, value] : table) {
        const auto isKnown = [name = key.str()](const Binding& binding) { return binding.key == name; };
        if (std::none_of(bindings.begin(), bindings.end(), isKnown))
            return Problem{key.source().begin.line, prefix + std::string(key.str()), "is not a known key"};
    }
    for (const Binding& binding : bindings) {
        const toml::node* node = table.get(binding.key);
        if (Outcome problem = node == nullptr ? Outcome() : binding.set(*node, prefix + std::string(binding.key)))
            return problem;
    }
    return std::nullopt;
}

Setter section(Bindings bindings) {
    return [bindings = std::move(bindings)](const toml::node& node, const std::string& key) -> Outcome {
        const toml::table* table = node.as_table();
        return table == nullptr ? problemAt(node, key, "must be a table") : applyBindings(*table, key + ".", bindings);
    };
}

// A table with keys of the file's own choice.
Setter openTable(std::function<Outcome(const toml::key&, const toml::node&, const std::string&)> entry) {
    return [entry = std::move(entry)](const toml::node& node, const std::string& key) -> Outcome {
        const toml::table* table = node.as_table();
        if (table == nullptr)
            return problemAt(node, key, "must be a table");
        for (const auto& [name, value] : *table) {
            if (Outcome problem = entry(name, value, key + "." + std::string(name.str())))
                return problem;
        }
        return std::nullopt;
    };
}

// Keys are whole numbers from 0 to highest.
Setter numberedTable(std::function<void(int, std::int64_t)> store, std::int64_t highest, std::int64_t highestValue) {
    return openTable([=, store = std::move(store)](const toml::key& name, const toml::node& value,
                                                   const std::string& key) -> Outcome {
        const std::string_view digits = name.str();
        int id = -1;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), id);
        if (error != std::errc() || end != digits.data() + digits.size() || id < 0 || id > highest) {
            const auto range = rangeText("a whole number", std::int64_t{0}, highest);
            return Problem{name.source().begin.line, key, "the key " + range};
        }
        return wholeInto([&store, id](std::int64_t number) { store(id, number); }, kIntMin, highestValue)(value, key);
    });
}

Bindings limits(ConfigInfo& config) {
    return {
        {"loggingEnabled", flag(config.loggingEnabled)},
        {"uniformityCvLimit", number(config.uniformityCvLimit)},
        {"stripMeanDiffLimit", whole(config.stripMeanDiffLimit)},
        {"rcnRowDiffLimit", number(config.rcnRowDiffLimit)},
        {"darkLevelFloor", whole(config.darkLevelFloor)},
        {"gainGroupCvLimit", number(config.gainGroupCvLimit)},
        {"exposedBlockFloor", whole(config.exposedBlockFloor)},
        {"falseTriggerMedianFloor", whole(config.falseTriggerMedianFloor)},
        {"maxGrayValue", whole(config.maxGrayValue, 0, kWordMax)},
        {"fixedLinearGainEnabled", flag(config.fixedLinearGainEnabled)},
        {"defectCorrectionMethod", whole(config.defectCorrectionMethod)},
        {"correctedImageDumpLevel", whole(config.correctedImageDumpLevel)},
    };
}

Setter modeBits(FpgaReg& registers, int shift) {
    const auto store = [&registers, shift](std::int64_t id) { setModeBits(registers, static_cast<int>(id), shift); };
    return wholeInto(store, 0, kHighestModeId);
}

// Later bindings refine earlier ones: single words, then the named fields, then the ids in the mode word.
Bindings registerBlock(FpgaReg& registers) {
    const auto setWord = [&registers](int index, std::int64_t value) {
        const auto word = static_cast<std::uint32_t>(value);
        std::memcpy(reinterpret_cast<std::uint8_t*>(&registers) + 4 * index, &word, sizeof(word));
    };
    return {
        {"words", numberedTable(setWord, sizeof(FpgaReg) / 4 - 1, kWordMax)},
        {"exposureTimeMs", number(registers.exposureTimeMs)},
        {"modeWord", whole(registers.modeWord, kIntMin, kWordMax)},
        {"powerMode", modeBits(registers, kPowerModeShift)},
        {"gainId", modeBits(registers, kGainShift)},
    };
}

Bindings panel(VirtualDetector& detector) {
    return {
        {"type", whole(detector.type)},
        {"width", whole(detector.width, 1)},
        {"height", whole(detector.height, 1)},
        {"description", text(detector.description)},
        {"machineId", text(detector.machineId)},
        {"afeWidth", whole(detector.afeWidth)},
        {"temperatureC", number(detector.temperatureC)},
    };
}

Bindings acquisition(VirtualDetector& detector) {
    return {
        {"mode", whole(detector.mode)},
        {"width", whole(detector.modeWidth, 1)},
        {"height", whole(detector.modeHeight, 1)},
        {"syncMode", whole(detector.syncMode)},
        {"ndtFrameCount", whole(detector.ndtFrameCount)},
        {"aedTriggerLine", whole(detector.aedTriggerLine)},
        {"integrationTimeMs", whole(detector.integrationTimeMs)},
        {"timeIntervalS", number(detector.timeIntervalS)},
    };
}

Bindings faultStatuses(DetectorFaults& faults) {
    const auto fileStatus = [&faults](const toml::key& name, const toml::node& value, const std::string& key) {
        return whole(faults.transferFileByName[std::string(name.str())])(value, key);
    };
    return {
        {"getFpgaReg", whole(faults.getFpgaReg)},
        {"getDetectorIparam", whole(faults.getDetectorIparam)},
        {"getDetectorInformation", whole(faults.getDetectorInformation)},
        {"getModeInfo", whole(faults.getModeInfo)},
        {"getAFEWidthByDetectorDescription", whole(faults.getAFEWidthByDetectorDescription)},
        {"getStatusInformation", whole(faults.getStatusInformation)},
        {"fillImgHead", whole(faults.fillImgHead)},
        {"transferFile", whole(faults.transferFile)},
        {"transferFileByName", openTable(fileStatus)},
    };
}

// A folder to create, and where the file asks for it.
struct PlannedFolder {
    std::filesystem::path path;
    std::uint32_t line = 0;
    std::string key;
};

// One run over a file: the candidate, and the folders to create before it is taken over.
struct Loading {
    VirtualDetector candidate;
    std::filesystem::path base;
    std::vector<PlannedFolder> folders;

    void place(const DirectoryRole& role, const PlannedFolder& folder) {
        candidate.*role.field = toKitDirectory(folder.path);
        folders.push_back(folder);
    }
};

// '\\' separates in the file, too, on every platform.
std::filesystem::path pathOf(std::string utf8) {
    std::replace(utf8.begin(), utf8.end(), '\\', '/');
    return {std::u8string(utf8.begin(), utf8.end())};
}

// Stores the folder as the file names it.
Setter folder(std::function<void(const PlannedFolder&)> store) {
    return [store = std::move(store)](const toml::node& node, const std::string& key) -> Outcome {
        const auto plan = [&](const std::string& value) { store({pathOf(value), node.source().begin.line, key}); };
        return textInto(plan, 1, kLongestFolder)(node, key);
    };
}

// The root comes first, so that single folders can lie elsewhere.
Bindings directories(Loading& loading) {
    Bindings bindings{{"root", folder([&loading](const PlannedFolder& root) {
                           for (const DirectoryRole& role : kDirectoryRoles)
                               loading.place(role, {loading.base / root.path / role.folder, root.line, root.key});
                       })}};
    for (const DirectoryRole& role : kDirectoryRoles) {
        bindings.push_back({role.key, folder([&loading, &role](const PlannedFolder& single) {
                                loading.place(role, {loading.base / single.path, single.line, single.key});
                            })});
    }
    return bindings;
}

Bindings wholeFile(Loading& loading) {
    VirtualDetector& detector = loading.candidate;
    const auto setParameter = [&detector](int id, std::int64_t value) {
        detector.iparams[id] = static_cast<int>(value);
    };
    return {
        {"limits", section(limits(detector.config))},
        {"registers", section(registerBlock(detector.registers))},
        {"detector", section(panel(detector))},
        {"acquisition", section(acquisition(detector))},
        {"iparams", numberedTable(setParameter, kIntMax, kIntMax)},
        {"directories", section(directories(loading))},
        {"faults", section(faultStatuses(detector.faults))},
    };
}

std::string oneLine(const std::filesystem::path& file, const std::string& rest) {
    std::string line = file.string() + rest;
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}

std::string describe(const std::filesystem::path& file, const Problem& problem) {
    return oneLine(file, ":" + std::to_string(problem.line) + ": " + problem.key + ": " + problem.text);
}

// A folder opens as a stream on some platforms, so it is told apart beforehand.
std::optional<std::string> readText(const std::filesystem::path& file) {
    std::error_code error;
    std::ifstream stream(file, std::ios::binary);
    if (!std::filesystem::is_regular_file(file, error) || !stream)
        return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

}  // namespace

std::string loadVirtualDetector(const std::filesystem::path& file) {
    const auto source = readText(file);
    if (!source)
        return oneLine(file, ": cannot be read");
    if (mayNestTooDeep(*source))
        return oneLine(file, ": more points on a line than a key may have");
    const toml::parse_result parsed = toml::parse(*source);
    if (!parsed) {
        const auto line = parsed.error().source().begin.line;
        return describe(file, {line, "not valid TOML", std::string(parsed.error().description())});
    }
    const DetectorLock lock;
    Loading loading{virtualDetector(), file.parent_path(), {}};
    if (const Outcome problem = applyBindings(parsed.table(), "", wholeFile(loading)))
        return describe(file, *problem);
    for (const PlannedFolder& planned : loading.folders) {
        if (const std::string problem = createFolder(planned.path); !problem.empty())
            return describe(file, {planned.line, planned.key, problem});
    }
    virtualDetector() = std::move(loading.candidate);
    return {};
}

}  // namespace qxkit
