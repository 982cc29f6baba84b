#include "harness/StreamRead.h"

#include <cstring>

namespace qx::bench {

namespace {

typedef std::uint64_t Block __attribute__((vector_size(64), aligned(1), may_alias));

}  // namespace

// Four sums, so that the additions never wait for each other.
__attribute__((target_clones("default", "avx2", "avx512f"))) std::uint64_t streamRead(const void* data,
                                                                                      std::size_t byteCount) noexcept {
    const auto* block = static_cast<const Block*>(data);
    const std::size_t blocks = byteCount / sizeof(Block);
    Block sum0{}, sum1{}, sum2{}, sum3{};
    std::size_t i = 0;
    for (; i + 4 <= blocks; i += 4) {
        sum0 += block[i];
        sum1 += block[i + 1];
        sum2 += block[i + 2];
        sum3 += block[i + 3];
    }
    for (; i < blocks; ++i)
        sum0 += block[i];
    const Block sums = (sum0 + sum1) + (sum2 + sum3);
    std::uint64_t total = 0;
    for (std::size_t lane = 0; lane < sizeof(Block) / sizeof(total); ++lane)
        total += sums[lane];
    std::uint64_t tail[sizeof(Block) / sizeof(total)] = {};
    std::memcpy(tail, block + blocks, byteCount % sizeof(Block));
    for (const std::uint64_t word : tail)
        total += word;
    return total;
}

}  // namespace qx::bench
