#pragma once

#include "Guard.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace qx::c {

// A number that no handle had before, of whatever kind.
std::uint64_t nextHandle() noexcept;

// The objects behind the handles of one kind. A handle is looked up and never followed, so one that was released, that
// was never given out or is of another kind finds nothing. Safe on several threads at once; an object that is released
// while another thread works on it lives until that work ends.
template <class Object>
class HandleTable {
public:
    int create(std::uint64_t* handle) noexcept {
        if (handle == nullptr)
            return StatusNullArgument;
        return guarded([&] {
            auto object = std::make_shared<Object>();
            const std::uint64_t number = nextHandle();
            const std::lock_guard lock(mutex_);
            objects_.emplace(number, std::move(object));
            *handle = number;
            return StatusOk;
        });
    }

    int release(std::uint64_t handle) noexcept {
        const std::lock_guard lock(mutex_);
        return objects_.erase(handle) == 1 ? StatusOk : StatusWrongParameter;
    }

    // What work(object) returns, or 1020.
    template <class Work>
    int with(std::uint64_t handle, Work work) noexcept {
        const std::shared_ptr<Object> object = find(handle);
        return object != nullptr ? guarded([&]() -> int { return work(*object); }) : int{StatusWrongParameter};
    }

private:
    std::shared_ptr<Object> find(std::uint64_t handle) noexcept {
        const std::lock_guard lock(mutex_);
        const auto found = objects_.find(handle);
        return found != objects_.end() ? found->second : nullptr;
    }

    std::mutex mutex_;
    std::map<std::uint64_t, std::shared_ptr<Object>> objects_;
};

}  // namespace qx::c
