// One program holds every target: --target=NAME chooses one for the fuzzing engine that the program is linked with.
// Without an engine the program replays what lies below a corpus folder, each file by the target that its folder names.

#include "FuzzInput.h"

#include <VirtualDetector.h>

#include <span>

namespace {

using namespace qx::fuzz;

void run(std::string_view target, std::string_view bytes) {
    const auto found = targets().find(target);
    require(found != targets().end(), "--target=NAME of a target that there is");
    Input input(bytes);
    found->second(input);
}

}  // namespace

#ifdef QXUTILS_ENGINE

namespace {
std::string chosen;
}

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
    constexpr std::string_view kOption = "--target=";
    for (const char* const argument : std::span(*arguments, static_cast<std::size_t>(*count))) {
        if (std::string_view(argument).starts_with(kOption))
            chosen = argument + kOption.size();
    }
    qxkit::virtualDetector().config.loggingEnabled = 0;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    run(chosen, {reinterpret_cast<const char*>(data), size});
    return 0;
}

#else

int main(int count, char** arguments) {
    require(count == 2, "a corpus folder is named");
    qxkit::virtualDetector().config.loggingEnabled = 0;
    for (const auto& [name, unused] : targets()) {
        int files = 0;
        for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::path(arguments[1]) / name)) {
            std::fprintf(stderr, "%s\n", entry.path().string().c_str());
            run(name, qx::test::readFile(entry.path()));
            ++files;
        }
        require(files > 0, "every target has a corpus");
    }
    return 0;
}

#endif
