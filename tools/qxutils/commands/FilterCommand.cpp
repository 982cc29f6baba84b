#include "commands/Command.h"
#include "filter/FilterSummary.h"
#include "filter/Filters.h"
#include "image/ImageFiles.h"
#include "picture/Comparison.h"
#include "picture/PngWriter.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qx::tool {
namespace {

struct FilterOptions {
    ImageFiles files;
    std::optional<std::string> zoom;
    int radius = 2;
    int window = 7;
};

// Counts that keep their meaning are shown as those of the original.
enum class Counts { Kept, Spread };

struct Filtered {
    RawImage image;
    std::string caption;
    Counts counts = Counts::Kept;
};

using Filter = Filtered (*)(const RawImage&, const FilterOptions&);

Filtered filterMedian(const RawImage& image, const FilterOptions& options) {
    return {medianOfRows(image, options.radius), "median, radius " + std::to_string(options.radius)};
}

Filtered filterColumnMedian(const RawImage& image, const FilterOptions& /*options*/) {
    return {medianOfColumns(image), "column-median"};
}

Filtered filterSavgol(const RawImage& image, const FilterOptions& options) {
    return {smoothRows(image, options.window), "savgol, window " + std::to_string(options.window)};
}

Filtered filterEqualize(const RawImage& image, const FilterOptions& /*options*/) {
    return {equalize(image), "equalize", Counts::Spread};
}

ComparedImage compared(const Filtered& filtered, const GreyWindow& original) {
    return compared(filtered.image, filtered.counts == Counts::Kept ? original : GreyWindow{}, filtered.caption);
}

ExitCode runFilter(const FilterOptions& options, Filter filter) {
    const RawImage image = options.files.load();
    options.files.requireOutputs();
    const Region region = parseRegion(options.zoom, image.shape);
    const Filtered filtered = filter(image, options);
    saveRawImage(options.files.output, filtered.image);
    printChanges(image, filtered.image);
    if (options.files.picture) {
        const GreyWindow window = windowOf(image, region);
        writePng(*options.files.picture,
                 drawComparison({compared(image, window, "before"), compared(filtered, window)}, region, 2));
    }
    return ExitCode::Passed;
}

ExitCode runRatio(const FilterOptions& options) {
    const RawImage image = options.files.load();
    options.files.requireOutputs();
    const Region region = parseRegion(options.zoom, image.shape);
    const FloatImage ratio = localRatio(image);
    saveFloatImage(options.files.output, ratio);
    printRatios(ratio);
    if (options.files.picture) {
        writePng(*options.files.picture,
                 drawComparison({compared(image, windowOf(image, region), "before"), compared(ratio, region, "ratio")},
                                region, 2));
    }
    return ExitCode::Passed;
}

ExitCode runCompare(const FilterOptions& options) {
    const RawImage image = options.files.load();
    options.files.requirePicture();
    const Region region = parseRegion(options.zoom, image.shape);
    const GreyWindow window = windowOf(image, region);
    std::vector<ComparedImage> images = {compared(image, window, "before")};
    for (const Filter filter : {filterMedian, filterColumnMedian, filterSavgol, filterEqualize})
        images.push_back(compared(filter(image, options), window));
    images.push_back(compared(localRatio(image), region, "ratio"));
    writePng(options.files.picture.value(), drawComparison(images, region, 3));
    return ExitCode::Passed;
}

// The subcommands of "filter", each with the options it needs.
class FilterKinds {
public:
    FilterKinds(CLI::App& parent, Command& chosen) : parent_(parent), chosen_(chosen) {}

    CLI::App& add(const char* name, const char* description, Filter filter) {
        return add(name, description, [filter](const FilterOptions& options) { return runFilter(options, filter); });
    }

    CLI::App& add(const char* name, const char* description, std::function<ExitCode(const FilterOptions&)> run) {
        CLI::App& kind = addOfImage(name, description, std::move(run));
        addOutputs(kind, options_->files, "Picture of the image before and after");
        addZoom(kind, options_->zoom);
        return kind;
    }

    void addComparison(const char* name, const char* description) {
        CLI::App& kind = addOfImage(name, description, runCompare);
        kind.add_option("--png", options_->files.picture, "PNG file to write")->required();
        addZoom(kind, options_->zoom);
        addRadius(kind);
        addWindow(kind);
    }

    void addRadius(CLI::App& kind) {
        kind.add_option("--radius", options_->radius, "Pixels of the median's window on each side of its middle")
            ->check(CLI::Range(1, kMaxSide))
            ->capture_default_str();
    }

    void addWindow(CLI::App& kind) {
        kind.add_option("--window", options_->window, "Pixels that are smoothed together: 5, 7, 15, 23, 31 or 51")
            ->capture_default_str();
    }

private:
    CLI::App& addOfImage(const char* name, const char* description, std::function<ExitCode(const FilterOptions&)> run) {
        CLI::App* kind = parent_.add_subcommand(name, description);
        addInput(*kind, options_->files);
        kind->callback([options = options_, run = std::move(run), &chosen = chosen_] {
            chosen = [options, run] { return run(*options); };
        });
        return *kind;
    }

    CLI::App& parent_;
    Command& chosen_;
    std::shared_ptr<FilterOptions> options_ = std::make_shared<FilterOptions>();
};

}  // namespace

void addFilterCommand(CLI::App& app, Command& chosen) {
    CLI::App* command = app.add_subcommand("filter", "Filter a raw 16-bit image");
    command->require_subcommand(1);
    FilterKinds kinds(*command, chosen);
    kinds.addRadius(kinds.add("median", "The median of pixels beside each other", filterMedian));
    kinds.add("column-median", "The median of five pixels above each other", filterColumnMedian);
    kinds.add("equalize", "Counts spread over the whole range, by rank", filterEqualize);
    kinds.add("ratio", "The median around each pixel over the pixel, as raw 32-bit floats", runRatio);
    kinds.addWindow(kinds.add("savgol", "The quadratic through pixels beside each other", filterSavgol));
    kinds.addComparison("compare", "A picture of what each of them does");
}

}  // namespace qx::tool
