// Stands in for a fuzzing engine: replays the files of a folder and, for --seconds N, changes them at random. The last
// input is kept as crash-<target's name> below the current folder while it runs, so that one that ends the program is
// there afterwards.

#include "Builders.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using qx::test::SplitMix64;

void run(const std::string& input) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

std::size_t position(SplitMix64& random, std::size_t end) {
    return static_cast<std::size_t>(random.below(static_cast<int>(end)));
}

// One change: a bit, a byte, a number that matters, a cut, or a piece said twice.
void change(std::string& input, SplitMix64& random) {
    constexpr std::uint32_t kNumbers[] = {0,     1,     2,          16,         20,         0xFFFF,     0x10000,
                                          65535, 65552, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF, 0x10000000};
    if (input.size() < 4)
        input.append(4, '\0');
    const std::size_t at = position(random, input.size() - 3);
    switch (random.below(6)) {
    case 0:
        input[at] = static_cast<char>(input[at] ^ 1 << random.below(8));
        break;
    case 1:
        input[at] = static_cast<char>(random.next());
        break;
    case 2:
        for (int i = 0; i < 4; ++i)
            input[at + static_cast<std::size_t>(i)] = static_cast<char>(kNumbers[random.below(14)] >> 8 * i);
        break;
    case 3:
        input.resize(at);
        break;
    case 4:
        input[at] = static_cast<char>(input[at] + random.below(9) - 4);
        break;
    default:
        if (input.size() < 4096)
            input.insert(position(random, input.size()), input.substr(at, 1 + position(random, 64)));
    }
}

void mutate(const std::vector<std::string>& corpus, double seconds, std::uint64_t seed, const std::string& crashFile) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    SplitMix64 random(seed);
    long runs = 0;
    for (; Clock::now() < end; ++runs) {
        std::string input = corpus.empty() ? std::string() : corpus[position(random, corpus.size())];
        for (int changes = 1 + random.below(5); changes > 0; --changes)
            change(input, random);
        qx::test::writeFile(crashFile, input);
        run(input);
    }
    std::filesystem::remove(crashFile);
    std::printf("%ld inputs\n", runs);
}

}  // namespace

int main(int count, char** arguments) {
    std::vector<std::string> corpus;
    double seconds = 0;
    std::uint64_t seed = 1;
    for (int i = 1; i < count; ++i) {
        const std::string_view argument = arguments[i];
        if (argument == "--seconds" && i + 1 < count)
            seconds = std::atof(arguments[++i]);
        else if (argument == "--seed" && i + 1 < count)
            seed = std::strtoull(arguments[++i], nullptr, 10);
        else
            for (const auto& entry : std::filesystem::directory_iterator(arguments[i]))
                corpus.push_back(qx::test::readFile(entry.path()));
    }
    for (const std::string& input : corpus)
        run(input);
    std::printf("%d files replayed\n", static_cast<int>(corpus.size()));
    if (seconds > 0)
        mutate(corpus, seconds, seed, "crash-" + std::filesystem::path(arguments[0]).stem().string());
    return corpus.empty() ? 1 : 0;
}
