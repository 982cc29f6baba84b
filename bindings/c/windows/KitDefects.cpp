// The kit's two functions with defect lists, as the library's objects ask for them. A kit in C cannot answer under
// their names, so they are looked up when they are called: the flat variants of kit/c first, then the C++ ones.

#include "Guard.h"
#include "QxUtils/Records.h"
#include "QxUtils/StatusCode.h"
#include "qxkit_c.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cwchar>
#include <string_view>
#include <vector>

namespace {

constexpr const char* kSplitName = "_Z30loadDefectFromNoiseAndMultImgsiiP12VectorDefectS0_S0_";
constexpr const char* kCorrectName = "_Z19correctImgDefectMapPfiiP12VectorDefecti";

using Split = int (*)(int, int, VectorDefect*, VectorDefect*, VectorDefect*);
using Correct = int (*)(float*, int, int, VectorDefect*, int);

constexpr const wchar_t* kKitName = L"QxCorrection.dll";

// The kit's library beside this one, where the system has found the other two; null when there is none.
HMODULE loadBeside() noexcept {
    constexpr DWORD kHere = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    HMODULE own = nullptr;
    std::array<wchar_t, 4096> path;
    if (GetModuleHandleExW(kHere, reinterpret_cast<const wchar_t*>(&loadBeside), &own) == 0)
        return nullptr;
    const std::wstring_view file(path.data(), GetModuleFileNameW(own, path.data(), path.size()));
    const std::size_t folder = file.rfind(L'\\') + 1;
    if (folder + std::wcslen(kKitName) >= path.size())
        return nullptr;
    std::wcscpy(path.data() + folder, kKitName);
    return LoadLibraryExW(path.data(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

// The system counts what is loaded; the kit stays until the process ends.
HMODULE loadKit() noexcept {
    if (const HMODULE loaded = GetModuleHandleW(kKitName))
        return loaded;
    const HMODULE beside = loadBeside();
    return beside != nullptr ? beside : LoadLibraryW(kKitName);
}

// Null when the kit has no such function, or there is no kit.
template <class Function>
Function find(const char* name) noexcept {
    const HMODULE kit = loadKit();
    return kit != nullptr ? std::bit_cast<Function>(GetProcAddress(kit, name)) : nullptr;
}

qxkit_list flat(std::vector<int>& list) noexcept {
    const int count = static_cast<int>(list.size());
    return {list.data(), count, count};
}

qxkit_defects flat(VectorDefect& set) noexcept {
    return {flat(set.points), flat(set.clusters), flat(set.rows), flat(set.columns)};
}

// A list that a kit fills, with room for all values of another one.
struct FilledList {
    explicit FilledList(const std::vector<int>& set) : room(set.size()) {}

    qxkit_list list() noexcept { return {room.data(), 0, static_cast<int>(room.size())}; }
    std::vector<int> valuesOf(const qxkit_list& filled) const {
        return {room.begin(), room.begin() + std::clamp(filled.count, 0, static_cast<int>(room.size()))};
    }

    std::vector<int> room;
};

struct FilledSet {
    explicit FilledSet(const VectorDefect& set)
        : points(set.points), clusters(set.clusters), rows(set.rows),
          columns(set.columns), filled{points.list(), clusters.list(), rows.list(), columns.list()} {}

    VectorDefect lists() const {
        return {points.valuesOf(filled.points), clusters.valuesOf(filled.clusters), rows.valuesOf(filled.rows),
                columns.valuesOf(filled.columns)};
    }

    FilledList points, clusters, rows, columns;
    qxkit_defects filled;
};

int splitFlat(decltype(&qxkit_splitDefects) split, int width, int height, VectorDefect& set, VectorDefect& valid,
              VectorDefect& rest) {
    FilledSet toValid(set);
    FilledSet toRest(set);
    const qxkit_defects lists = flat(set);
    const int status = split(width, height, &lists, &toValid.filled, &toRest.filled);
    if (status == StatusOk) {
        valid = toValid.lists();
        rest = toRest.lists();
    }
    return status;
}

}  // namespace

int loadDefectFromNoiseAndMultImgs(int width, int height, VectorDefect* set, VectorDefect* outSetA,
                                   VectorDefect* outSetB) {
    if (const auto split = find<decltype(&qxkit_splitDefects)>("qxkit_splitDefects"))
        return qx::c::guarded([&] { return splitFlat(split, width, height, *set, *outSetA, *outSetB); });
    const auto split = find<Split>(kSplitName);
    return split != nullptr ? split(width, height, set, outSetA, outSetB) : int{StatusFunctionAddressFailed};
}

int correctImgDefectMap(float* image, int width, int height, VectorDefect* set, int option) {
    if (const auto correct = find<decltype(&qxkit_correctDefects)>("qxkit_correctDefects")) {
        const qxkit_defects lists = flat(*set);
        return correct(image, width, height, &lists, option);
    }
    const auto correct = find<Correct>(kCorrectName);
    return correct != nullptr ? correct(image, width, height, set, option) : int{StatusFunctionAddressFailed};
}

// The objects call through the places that an import library would provide.
extern const Split importedSplit asm("__imp__Z30loadDefectFromNoiseAndMultImgsiiP12VectorDefectS0_S0_");
extern const Correct importedCorrect asm("__imp__Z19correctImgDefectMapPfiiP12VectorDefecti");
const Split importedSplit = loadDefectFromNoiseAndMultImgs;
const Correct importedCorrect = correctImgDefectMap;
