#include "commands/Subcommand.h"
#include "files/WholeFile.h"
#include "filter/FilterSummary.h"
#include "filter/Filters.h"
#include "filter/RatioSummary.h"
#include "options/ImageOptions.h"
#include "options/NumberCheck.h"
#include "picture/Comparison.h"
#include "picture/PngWriter.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace qx::tool {
namespace {

struct FilterOptions {
    ImageOptions files;
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

// What pictures show of the image that is filtered.
struct Original {
    const RawImage& image;
    Region shown;
    GreyWindow window = windowOf(image, shown);
};

ComparedImage compared(const Original& original) {
    return compared(original.image, original.window, "before");
}

ComparedImage compared(const Original& original, const Filtered& filtered) {
    const GreyWindow window = filtered.counts == Counts::Kept ? original.window : GreyWindow{};
    return compared(filtered.image, window, filtered.caption);
}

ComparedImage compared(const Original& original, const FloatImage& ratio) {
    return compared(ratio, original.shown, "ratio");
}

// The original beside what was made of it.
template <class Result>
void drawBoth(const ImageFiles& files, const RawImage& image, const Region& shown, const Result& result) {
    const Original original{image, shown};
    // A list in braces would copy them.
    std::vector<ComparedImage> both;
    both.push_back(compared(original));
    both.push_back(compared(original, result));
    writePicture(files.picture.value(), drawComparison(both, shown, 2));
}

using Filter = Filtered (*)(const RawImage& image, const FilterOptions& options);

ExitCode runFilter(const FilterOptions& options, const std::string& command, Filter filter) {
    return runImages(options.files, command, [&](const RawImage& image, const ImageFiles& files) {
        const Region shown = options.files.shownPart(image);
        const Filtered filtered = filter(image, options);
        saveRawImage(files.output.value(), filtered.image);
        Record record = changesOf(image, filtered.image);
        if (files.picture)
            drawBoth(files, image, shown, filtered);
        return record;
    });
}

// Written as it comes: all of it is needed for the picture alone.
ExitCode runRatio(const FilterOptions& options) {
    return runImages(options.files, "filter ratio", [&](const RawImage& image, const ImageFiles& files) {
        const Region shown = options.files.shownPart(image);
        RatioSummary summary(image);
        FloatImage ratio{image.shape, {}};
        if (files.picture)
            makeRoom(ratio.pixels, image.pixels.size());
        WholeFile file(files.output.value());
        localRatio(image, [&](std::span<const float> rows) {
            file.write(pixelBytes(rows));
            summary.add(rows);
            if (files.picture)
                ratio.pixels.insert(ratio.pixels.end(), rows.begin(), rows.end());
        });
        file.commit();
        Record record = summary.record();
        if (files.picture)
            drawBoth(files, image, shown, ratio);
        return record;
    });
}

ExitCode runCompare(const FilterOptions& options) {
    return runImages(options.files, "filter compare", [&](const RawImage& image, const ImageFiles& files) {
        const Original original{image, options.files.shownPart(image)};
        std::vector<ComparedImage> images = {compared(original)};
        for (const auto filter : {filterMedian, filterColumnMedian, filterSavgol, filterEqualize})
            images.push_back(compared(original, filter(image, options)));
        images.push_back(compared(original, localRatio(image)));
        writePicture(files.picture.value(), drawComparison(images, original.shown, 3));
        return Record{};
    });
}

// The subcommands of "filter", each with the options it needs.
class FilterKinds {
public:
    FilterKinds(CLI::App& app, Command& chosen) : family_(app, chosen, "filter", "Filter raw 16-bit images") {}

    CLI::App& add(const char* name, const char* description, Filter filter) {
        const std::string command = std::string("filter ") + name;
        return add(name, description,
                   [filter, command](const FilterOptions& options) { return runFilter(options, command, filter); });
    }

    CLI::App& add(const char* name, const char* description, std::function<ExitCode(const FilterOptions&)> run) {
        CLI::App& kind = addOfImage(name, description, std::move(run));
        addOutputs(kind, family_.options().files, "Picture of the image before and after");
        addZoom(kind, family_.options().files);
        return kind;
    }

    void addComparison(const char* name, const char* description) {
        CLI::App& kind = addOfImage(name, description, runCompare);
        kind.add_option("--png", family_.options().files.picture,
                        "PNG or SVG file to write, by its name, or a folder for several")
            ->type_name("FILE")
            ->required();
        addZoom(kind, family_.options().files);
        addRadius(kind);
        addWindow(kind);
    }

    void addRadius(CLI::App& kind) {
        kind.add_option("--radius", family_.options().radius,
                        "Pixels of the median's window on each side of its middle")
            ->check(numberWithin(1, kMaxSide))
            ->capture_default_str();
    }

    void addWindow(CLI::App& kind) {
        kind.add_option("--window", family_.options().window,
                        "Pixels that are smoothed together: 5, 7, 15, 23, 31 or 51")
            ->capture_default_str();
    }

private:
    CLI::App& addOfImage(const char* name, const char* description, std::function<ExitCode(const FilterOptions&)> run) {
        CLI::App& kind = family_.add(name, description, std::move(run));
        addInput(kind, family_.options().files);
        return kind;
    }

    CommandFamily<FilterOptions> family_;
};

}  // namespace

void addFilterCommand(CLI::App& app, Command& chosen) {
    FilterKinds kinds(app, chosen);
    kinds.addRadius(kinds.add("median", "The median of pixels beside each other", filterMedian));
    kinds.add("column-median", "The median of five pixels above each other", filterColumnMedian);
    kinds.add("equalize", "Counts spread over the whole range, by rank", filterEqualize);
    kinds.add("ratio", "The median around each pixel over the pixel, as raw 32-bit floats", runRatio);
    kinds.addWindow(kinds.add("savgol", "The quadratic through pixels beside each other", filterSavgol));
    kinds.addComparison("compare", "A picture of what each of them does");
}

}  // namespace qx::tool
