#include "files/TemporaryName.h"

#include "files/NativeFile.h"
#include "text/FileName.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <random>
#include <string>
#include <utility>

namespace qx::tool {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kSlots = 8;
constexpr std::size_t kPathRoom = 4096;
constexpr std::size_t kMaxNameBytes = 255;
constexpr int kNoSlot = -1;

// What an interruption may read at any moment. A copy of the process knows the names but does not own them.
struct Slot {
    std::atomic<unsigned long> owner = 0;
    std::array<fs::path::value_type, kPathRoom> path{};
};

std::array<Slot, kSlots> slots;

int claimSlot(const fs::path& path) {
    static const bool prepared = (onInterruption(removeTemporaryFiles), true);
    const auto free = std::ranges::find_if(slots, [](const Slot& slot) { return slot.owner == 0; });
    if (!prepared || free == slots.end() || path.native().size() >= kPathRoom)
        return kNoSlot;
    *std::ranges::copy(path.native(), free->path.begin()).out = 0;
    free->owner = processNumber();
    return static_cast<int>(free - slots.begin());
}

bool isWithinCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

}  // namespace

void removeTemporaryFiles() noexcept {
    const unsigned long self = processNumber();
    // A folder goes once it is empty.
    for (const auto remove : {removeFile, removeFolder}) {
        for (const Slot& slot : slots) {
            if (slot.owner == self)
                remove(slot.path.data());
        }
    }
}

TemporaryName::TemporaryName(fs::path path) : path_(std::move(path)), slot_(claimSlot(path_)) {}

TemporaryName::~TemporaryName() {
    removeFile(path_.c_str());
    removeFolder(path_.c_str());
    if (slot_ != kNoSlot)
        slots[static_cast<std::size_t>(slot_)].owner = 0;
}

fs::path nameBeside(const fs::path& file) {
    const std::string end =
        ".qxutils-" + std::to_string(processNumber()) + '-' + std::to_string(std::random_device{}());
    std::string name = '.' + toName(file.filename());
    const std::size_t room = kMaxNameBytes - end.size();
    if (name.size() > room) {
        std::size_t length = room;
        while (isWithinCharacter(name[length]))
            --length;
        name.resize(length);
    }
    return file.parent_path() / toPath(name + end);
}

}  // namespace qx::tool
