#pragma once

#include "Builders.h"

#include <cstdint>
#include <cstring>
#include <deque>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace qx::test {

// Arguments drawn from the types of a signature. What is behind pointers belongs to this object and is the same for the
// same seed, so that two calls can be compared by what they leave there.
class DrawnArguments {
public:
    // Numbers lie between 0 and side, or at side and a little below; there is room for an image of side x side.
    DrawnArguments(std::uint64_t seed, int side, bool isLarge, std::string folder)
        : random_(seed), side_(side), isLarge_(isLarge), folder_(std::move(folder)) {}

    template <class T>
    T draw() {
        if constexpr (std::is_pointer_v<T>)
            return pointer<std::remove_pointer_t<T>>();
        else if constexpr (std::is_same_v<T, char>)
            return ',';
        else if constexpr (std::is_floating_point_v<T>)
            return static_cast<T>(random_.uniform());
        else
            return static_cast<T>(isLarge_ ? side_ - random_.below(9) : random_.below(side_ + 1));
    }

    bool operator==(const DrawnArguments& other) const { return blocks_ == other.blocks_; }

private:
    using Block = std::vector<char>;

    template <class Pointee>
    Pointee* pointer() {
        using T = std::remove_const_t<Pointee>;
        if constexpr (std::is_same_v<Pointee, const char>)
            return text();
        else if constexpr (std::is_pointer_v<T>)
            return table<T>();
        else if constexpr (std::is_arithmetic_v<T>)
            return numbers<T>();
        else
            return static_cast<T*>(static_cast<void*>(block(kRecordRoom).data()));
    }

    // The first text is the folder, the next one the name of a file there; an image header may lie in either.
    const char* text() {
        constexpr std::size_t kHeaderBytes = 65536;
        const std::string content = texts_++ == 0 ? folder_ : "file.raw";
        Block& bytes = block(kHeaderBytes + content.size());
        for (char& byte : bytes)
            byte = static_cast<char>(random_.next());
        std::memcpy(bytes.data(), content.c_str(), content.size() + 1);
        return bytes.data();
    }

    template <class T>
    T* numbers() {
        const std::size_t count = room();
        T* const values = reinterpret_cast<T*>(block(count * sizeof(T)).data());
        for (std::size_t i = 0; i < count; ++i)
            values[i] =
                static_cast<T>(std::is_integral_v<T> && sizeof(T) > 2 ? random_.below(200) : random_.below(60000));
        return values;
    }

    // A pointer for each of so many rows; a table is no result.
    template <class T>
    T* table() {
        Block& bytes = tables_.emplace_back(static_cast<std::size_t>(side_ + 1) * sizeof(T));
        T* const rows = static_cast<T*>(static_cast<void*>(bytes.data()));
        T const shared = pointer<std::remove_pointer_t<T>>();
        for (int i = 0; i <= side_; ++i)
            rows[i] = shared;
        return rows;
    }

    // More than any record takes, for a table of them.
    static constexpr std::size_t kRecordRoom = 32768;

    std::size_t room() const {
        const auto side = static_cast<std::size_t>(side_ + 1);
        return side * side + 64;
    }
    Block& block(std::size_t bytes) { return blocks_.emplace_back(bytes); }

    SplitMix64 random_;
    int side_;
    bool isLarge_;
    std::string folder_;
    int texts_ = 0;
    std::deque<Block> blocks_;
    std::deque<Block> tables_;
};

}  // namespace qx::test
