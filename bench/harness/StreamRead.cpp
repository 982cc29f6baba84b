#include "harness/StreamRead.h"

#include <cstring>
#include <immintrin.h>

namespace qx::bench {

namespace {

typedef std::uint64_t Block __attribute__((vector_size(64), aligned(1), may_alias));
constexpr std::size_t kWords = sizeof(Block) / sizeof(std::uint64_t);

// Farther ahead than the processor's own prefetch looks: a sixth faster from the last-level cache.
constexpr std::size_t kPrefetchBlocks = 64;

// A block that straddles two cache lines costs two reads, but shifting the start pays only over many blocks.
constexpr std::size_t kAlignFromBytes = 4096;

std::size_t bytesBeforeBlocks(const void* data, std::size_t byteCount) {
    const std::size_t misalignment = reinterpret_cast<std::uintptr_t>(data) % sizeof(Block);
    return byteCount < kAlignFromBytes || misalignment == 0 ? 0 : sizeof(Block) - misalignment;
}

std::vector<Bytes>* noted = nullptr;

void note(const void* data, std::size_t byteCount) {
    if (noted != nullptr)
        noted->emplace_back(static_cast<const std::byte*>(data), byteCount);
}

// Fewer bytes than a block.
std::uint64_t sumOfPart(const unsigned char* bytes, std::size_t count) {
    if (count == 0)
        return 0;
    std::uint64_t words[kWords] = {};
    std::memcpy(words, bytes, count);
    std::uint64_t sum = 0;
    for (const std::uint64_t word : words)
        sum += word;
    return sum;
}

}  // namespace

// Four sums, so that the additions never wait for each other.
__attribute__((target_clones("default", "avx2", "avx512f"))) std::uint64_t streamRead(const void* data,
                                                                                      std::size_t byteCount) noexcept {
    note(data, byteCount);
    note(data, byteCount);
    const auto* bytes = static_cast<const unsigned char*>(data);
    const std::size_t head = bytesBeforeBlocks(data, byteCount);
    const auto* block = reinterpret_cast<const Block*>(bytes + head);
    const std::size_t blocks = (byteCount - head) / sizeof(Block);
    Block sum0{}, sum1{}, sum2{}, sum3{};
    std::size_t i = 0;
    for (; i + 4 <= blocks; i += 4) {
        if (i + kPrefetchBlocks < blocks) {
#pragma GCC unroll 4
            for (std::size_t line = 0; line < 4; ++line)
                __builtin_prefetch(block + i + kPrefetchBlocks + line);
        }
        sum0 += block[i];
        sum1 += block[i + 1];
        sum2 += block[i + 2];
        sum3 += block[i + 3];
    }
    for (; i < blocks; ++i)
        sum0 += block[i];
    const Block sums = (sum0 + sum1) + (sum2 + sum3);
    std::uint64_t total = sumOfPart(bytes, head);
    for (std::size_t lane = 0; lane < kWords; ++lane)
        total += sums[lane];
    const std::size_t done = head + blocks * sizeof(Block);
    return total + sumOfPart(bytes + done, byteCount - done);
}

// The lowest bit of every byte changes, so that floats stay numbers of their size.
__attribute__((target_clones("default", "avx2", "avx512f"))) void streamUpdate(void* data,
                                                                               std::size_t byteCount) noexcept {
    note(data, byteCount);
    constexpr unsigned char kLowBit = 1;
    constexpr std::uint64_t kLowBits = 0x0101010101010101u;
    auto* bytes = static_cast<unsigned char*>(data);
    const std::size_t head = bytesBeforeBlocks(data, byteCount);
    auto* block = reinterpret_cast<Block*>(bytes + head);
    const std::size_t blocks = (byteCount - head) / sizeof(Block);
    const Block mask = Block{} + kLowBits;
    for (std::size_t i = 0; i < blocks; ++i) {
        if (i + kPrefetchBlocks < blocks)
            __builtin_prefetch(block + i + kPrefetchBlocks, 1);
        block[i] ^= mask;
    }
    for (std::size_t i = 0; i < head; ++i)
        bytes[i] ^= kLowBit;
    for (std::size_t i = head + blocks * sizeof(Block); i < byteCount; ++i)
        bytes[i] ^= kLowBit;
}

std::vector<Bytes> bytesStreamedBy(const std::function<void()>& work) {
    std::vector<Bytes> ranges;
    noted = &ranges;
    work();
    noted = nullptr;
    return ranges;
}

void flush(const std::vector<Bytes>& ranges) {
    constexpr std::size_t kLineBytes = 64;
    for (const Bytes range : ranges) {
        for (std::size_t place = 0; place < range.size(); place += kLineBytes)
            _mm_clflush(range.data() + place);
        if (!range.empty())
            _mm_clflush(&range.back());
    }
    _mm_mfence();
}

}  // namespace qx::bench
