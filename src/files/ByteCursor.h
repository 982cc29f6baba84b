#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

namespace qx {

// Reads values from the bytes of a file, in the order and with the byte order they are stored in. What would leave the
// bytes is not read; from then on the cursor stands failed and gives zeros.
class ByteCursor {
public:
    explicit ByteCursor(std::span<const char> bytes) noexcept : bytes_(bytes) {}

    bool failed() const noexcept { return failed_; }
    std::size_t position() const noexcept { return position_; }

    void moveTo(std::uint64_t offset) noexcept {
        failed_ = failed_ || offset > bytes_.size();
        position_ = failed_ ? position_ : static_cast<std::size_t>(offset);
    }

    // Whether so many more records of a size are there; fails otherwise.
    bool holds(std::uint64_t count, std::size_t recordBytes) noexcept {
        failed_ = failed_ || count > (bytes_.size() - position_) / recordBytes;
        return !failed_;
    }

    // The bytes of so many records, in place; none when they are not there.
    std::span<const char> take(std::uint64_t count, std::size_t recordBytes) noexcept {
        if (!holds(count, recordBytes))
            return {};
        const std::span<const char> taken = bytes_.subspan(position_, static_cast<std::size_t>(count) * recordBytes);
        position_ += taken.size();
        return taken;
    }

    template <class Value>
    Value read() noexcept {
        static_assert(std::is_trivially_copyable_v<Value>);
        Value value{};
        if (holds(1, sizeof(Value))) {
            std::memcpy(&value, bytes_.data() + position_, sizeof value);
            position_ += sizeof value;
        }
        return value;
    }

    // Copies whole records.
    template <class Value, std::size_t extent>
    void read(std::span<Value, extent> values) noexcept {
        static_assert(std::is_trivially_copyable_v<Value>);
        if (values.empty() || !holds(values.size(), sizeof(Value)))
            return;
        std::memcpy(values.data(), bytes_.data() + position_, values.size_bytes());
        position_ += values.size_bytes();
    }

private:
    std::span<const char> bytes_;
    std::size_t position_ = 0;
    bool failed_ = false;
};

}  // namespace qx
