#include "Rows.h"
#include "harness/FileReading.h"
#include "harness/Images.h"
#include "harness/Program.h"

#include "Builders.h"

#include <stdexcept>

#ifdef QX_BENCH_TOOL

namespace {

using namespace qx::bench;

// A bright and a dark image as files, and room for what is made of them.
class JobFolder {
public:
    explicit JobFolder(int side) : shape_(std::to_string(side) + 'x' + std::to_string(side)) {
        store("bright.raw", *flatField(side));
        store("dark.raw", qx::test::constantImage(side, side, 1000));
    }

    std::string operator/(const std::string& name) const { return folder_ / name; }
    const std::string& shape() const { return shape_; }

private:
    void store(const std::string& name, const Image& image) {
        const auto* const bytes = reinterpret_cast<const char*>(image.pixels.data());
        qx::test::writeFile(folder_ / name, {bytes, byteCount(image)});
    }

    qx::test::TemporaryDirectory folder_;
    std::string shape_;
};

struct Job {
    std::vector<std::string> command;
    std::vector<std::string> inputs;
    std::vector<std::string> options;
};

int run(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {QX_BENCH_TOOL};
    command.insert(command.end(), arguments.begin(), arguments.end());
    constexpr int kNotPassed = 3;
    const int code = runProgram(command);
    if (code != 0 && code != kNotPassed)
        throw std::runtime_error("the tool ends with " + std::to_string(code));
    return 0;
}

std::vector<std::string> argumentsOf(const Job& job, const JobFolder& folder) {
    std::vector<std::string> arguments = job.command;
    for (const std::string& input : job.inputs)
        arguments.push_back(folder / input);
    arguments.insert(arguments.end(), {"--shape", folder.shape()});
    for (const std::string& option : job.options)
        arguments.push_back(option.starts_with('-') ? option : folder / option);
    return arguments;
}

Row jobRow(const Scale& scale, const Job& job) {
    const auto folder = std::make_shared<const JobFolder>(scale.pick(3072, 600));
    return {.ours = [folder, arguments = argumentsOf(job, *folder)] { return run(arguments); },
            .limitName = "starting, and reading the files",
            .limit =
                [folder, job] {
                    for (const std::string& input : job.inputs)
                        readToFreshMemory(*folder / input);
                    return run({"version"});
                },
            .isJob = true};
}

RowEntry entryOf(const std::string& name, const Job& job) {
    return {"tool: " + name, [job](const Scale& scale) { return jobRow(scale, job); }};
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::jobRows() {
    return {
        entryOf("snr", {{"snr"}, {"bright.raw"}, {}}),
        entryOf("check uniform", {{"check", "uniform"}, {"bright.raw"}, {}}),
        entryOf("check first", {{"check", "first"}, {"bright.raw", "dark.raw"}, {}}),
        entryOf("filter ratio", {{"filter", "ratio"}, {"bright.raw"}, {"-o", "ratio.float"}}),
        entryOf("filter equalize", {{"filter", "equalize"}, {"bright.raw"}, {"-o", "equalized.raw"}}),
        entryOf("preview", {{"preview"}, {"bright.raw"}, {"-o", "preview.png"}}),
    };
}

#else

std::vector<qx::bench::RowEntry> qx::bench::jobRows() {
    return {};
}

#endif
