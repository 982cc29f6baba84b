// Writes the inputs of the tests that have binary headers into the folder it is given.
#include "Builders.h"
#include "DefectFiles.h"
#include "SnrFiles.h"

#include <filesystem>
#include <initializer_list>
#include <string>

namespace {

namespace fs = std::filesystem;
using namespace qx::test;

constexpr int kSide = 600;
constexpr int kPixel = 12345;

ClassicDefects classicDefects() {
    ClassicDefects defects{
        kSide, {}, {{17, 0, 17, 599}, {18, 0, 18, 599}, {0, 33, 599, 33}}, {7, 8, 8, 8, -1, 9, 9, -1}};
    for (int i = 0; i < 12; ++i)
        defects.points.push_back({100 + i, 200});
    return defects;
}

DefectInfo structuredDefects() {
    DefectInfo defects;
    defects.points = {{1, 2, 0, 0}, {3, 4, 0, 0}};
    defects.clusters = {{{2}, {{5, 6, 0, 0}, {5, 7, 0, 0}}}};
    defects.rows = {{{1}, {{0, 44, 999, 44}}}, {{2}, {{0, 45, 999, 45}, {0, 46, 999, 46}}}};
    defects.columns = {{{1}, {{55, 0, 55, 999}}}};
    return defects;
}

// A classic file without entries whose header tells this size.
std::string sizedFile(std::uint32_t width, std::uint32_t height) {
    FileHeadInfo info{};
    info.imageWidth = width;
    info.imageHeight = height;
    return defectHeader(info);
}

std::string snrFile(int detectorType, int records) {
    const SnrFileFields fields{records, 1, 4, detectorType};
    return std::string(65536, '\0') + snrPayload(fields, {{300, 4, 1000.0f, {1.0f, 2.0f, 2.0f, 2.0f}},
                                                          {500, 4, 2000.0f, {7.0f, 7.0f, 7.0f, 7.5f}}});
}

void writeDefects(const fs::path& folder) {
    const std::string classic = classicFile(classicDefects());
    writeFile(folder / "classic.cal", classic);
    writeFile(folder / "cut.cal", classic.substr(0, 65540));
    writeFile(folder / "NormalStructurizedDefect.cal", structuredFile(structuredDefects()));
    writeFile(folder / "sizeless.cal", sizedFile(0, 600));
    writeFile(folder / "huge.cal", sizedFile(4000000000, 4000000000));
}

void writeImages(const fs::path& folder, const TestImage& image, int time, std::initializer_list<const char*> names) {
    fs::create_directories(folder);
    for (const char* const name : names)
        writeFile(folder / name, imageFile(image, static_cast<float>(time)));
}

void writeSnr(const fs::path& folder) {
    const TestImage flat = flatImage(kSide, kSide, kPixel, 20.0, 1);
    writeFile(folder / "timed.raw", imageFile(flat, 480.0f));
    writeFile(folder / "timed300.raw", imageFile(flat, 310.0f));
    writeFile(folder / "two-SNR.raw", snrFile(3, 2));
    writeFile(folder / "lying-SNR.raw", snrFile(3, 3));
    writeFile(folder / "none-SNR.raw", snrFile(3, 0));
    writeFile(folder / "short-SNR.raw", "short");
    for (const char* const factory : {"factory", "other", "cut"}) {
        writeImages(folder / factory / "300ms", flat, 300, {"first.raw", "second.raw"});
        writeImages(folder / factory / "500ms", flat, 500, {"first.raw", "second.raw"});
    }
    writeFile(folder / "factory" / "300ms" / ".qx-0123ef", "of a killed writer");
    writeFile(folder / "cut" / "500ms" / "third.raw", "short");
    writeImages(folder / "uneven" / "300ms", flat, 300, {"first.raw"});
    writeImages(folder / "uneven" / "500ms", flat, 500, {"first.raw", "second.raw"});
    writeFile(folder / "factory.toml", "[detector]\nwidth = 600\nheight = 600\ntype = 5\n");
}

// A row of 64 that steps over the whole range, and 12 x 11 pixels of which one in the middle is 0.
void writeExtremes(const fs::path& folder) {
    writeFile(folder / "step.raw", std::string(64, '\0') + std::string(64, '\xFF'));
    std::string zero(std::size_t{2} * 12 * 11, 'A');
    zero.replace(std::size_t{2} * (5 * 12 + 5), 2, 2, '\0');
    writeFile(folder / "zero.raw", zero);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    writeDefects(argv[1]);
    writeSnr(argv[1]);
    writeExtremes(argv[1]);
    return 0;
}
