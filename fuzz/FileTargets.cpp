#include "FuzzInput.h"
#include "reference/files/PlainCrc.h"

#include <QxUtils.h>
#include <VirtualDetector.h>

#include <algorithm>
#include <memory>
#include <type_traits>
#include <vector>

using namespace qx::fuzz;

namespace {

// The records of a header whose bytes end where it ends.
void readHeader(const std::string& bytes) {
    const std::vector<char> header(bytes.begin(), bytes.end());
    DetectorFileHead file{};
    DetectorInfoHead detector{};
    PcImgHead host{};
    getDetectorFileHeadFromImageHead(&file, header.data());
    getDetectorInfoHeadFromImageHead(&detector, header.data());
    getPcImageHeadFromImageHead(&host, header.data());
    const float temperature = getTemperatureFromImageHead(header.data());
    require(std::memcmp(&temperature, &detector.temperature, sizeof temperature) == 0, "one temperature");
    require(std::memcmp(host.stored, header.data() + kPcImgHeadOffset, sizeof host) == 0, "bytes as they are stored");
}

// Fields of an image's header, where the file ends, and how many bytes are asked for.
const Target kRawImage("RawImage", [](Input& input) {
    static StoredFile file("image.raw");
    const auto cut = input.number<std::uint16_t>();
    const auto asked = input.number<std::int32_t>();
    const std::size_t length = cut != 0 ? cut : kHeaderBytes;
    file.put(kDetectorFileHeadOffset, input.take(72));
    file.put(kDetectorInfoHeadOffset, input.take(256));
    file.put(kPcImgHeadOffset, input.take(16));
    file.end(length, input.rest());
    const auto bytes = static_cast<int>(length + input.rest().size());

    const int size = asked < 0 ? asked : asked % (bytes + 20);
    const std::unique_ptr<char[]> buffer(new char[static_cast<std::size_t>(std::max(size, 0))]);
    const int status = readImageFromDisk(fuzzFolder().c_str(), "image.raw", buffer.get(), size);
    require(status == (size < 0 ? 1020 : size > bytes ? 1040 : 0), "status by the length");
    require(imageWithHead(fuzzFolder().c_str(), "image.raw", bytes) == 1, "as long as expected");
    require(imageWithHead(fuzzFolder().c_str(), "image.raw", asked) == (asked == bytes), "or not");
    long told = 0;
    require(getImageSize(fuzzFolder().c_str(), "image.raw", told) == 0 && told == bytes, "length of the file");
    unsigned long crc = 0;
    require(readLocalCRC(fuzzFolder().c_str(), "image.raw", crc) == 0, "CRC is taken");
    if (status == 0 && size == bytes) {
        require(crc == qx::plain::crcByTable(buffer.get(), static_cast<std::size_t>(size)), "plain method's CRC");
        if (bytes >= kImageHeaderBytes)
            readHeader({buffer.get(), kHeaderBytes});
    }
    const char* const paths[] = {file.path().c_str(), file.path().c_str()};
    CheckMeasures measures{};
    const int measured = measureGainImgGroup(paths, input.below(3), &measures);
    require(measured == 0 || measured == 1057, "a group of images");
});

// Whether a section is empty or lies behind the header and in the file.
bool liesInside(std::uint64_t offset, std::uint64_t bytes, std::size_t following) {
    return bytes == 0 || (offset >= kHeaderBytes && offset + bytes <= kHeaderBytes + following);
}

// A classic defect file is read as a whole or not at all.
const Target kDefectClassic("DefectClassic", [](Input& input) {
    static StoredFile file("classic.cal");
    putDefects(file, input);
    const std::size_t following = input.rest().size();
    VectorDefect lists{{1}, {2}, {3}, {4}};
    const int status = getDefectIndexFromDefectFile(fuzzFolder().c_str(), "classic.cal", &lists, nullptr);
    require(status == 0 || status == 1040, "0 or 1040");
    FileHeadInfo info{};
    require(getDefectHeadInfo(fuzzFolder().c_str(), "classic.cal", &info) == 0, "header is read");
    const bool read = status == 0;
    require(lists.points.size() == (read ? info.pointCount : 0), "every point");
    const std::uint64_t lines = std::uint64_t{info.rowCount} + info.columnCount;
    require(lists.rows.size() + lists.columns.size() <= (read ? lines : 0), "no more lines than counted");
    require(!read || liesInside(info.pointOffset, std::uint64_t{info.pointCount} * 4, following), "points");
    require(!read || liesInside(info.rowOffset, lines * 8, following), "lines");
    require(lists.clusters.size() <= (read ? following / 2 : 0), "no more words than there are");
});

template <class Group>
void requireGroups(const std::vector<Group>& groups, std::uint32_t count) {
    constexpr bool kIsSigned = std::is_same_v<Group, ClusterGroup>;
    require(groups.size() == count, "every group");
    for (const Group& group : groups) {
        const int told = kIsSigned ? std::max(group.header[0], 0) : group.header[0];
        require(group.entries.size() == static_cast<std::uint32_t>(told), "every entry");
    }
}

// A structured defect file is read as a whole or not at all.
const Target kDefectStructured("DefectStructured", [](Input& input) {
    constexpr const char* kName = "NormalStructurizedDefect.cal";
    static StoredFile file(kName);
    putDefects(file, input);
    DefectInfo lists;
    lists.points.resize(3);
    const int status = getDefectIndexFromDefectFile(fuzzFolder().c_str(), kName, nullptr, &lists);
    require(status == 0 || status == 1040, "0 or 1040");
    FileHeadInfo info{};
    if (status == 0)
        require(getDefectHeadInfo(fuzzFolder().c_str(), kName, &info) == 0, "header is read");
    require(lists.points.size() == info.pointCount, "every point");
    requireGroups(lists.rows, info.rowCount);
    requireGroups(lists.columns, info.columnCount);
    requireGroups(lists.clusters, info.clusterCount);
});

// The input is the file behind its header; it is loaded for the detector type it tells and for another one.
const Target kSnrFile("SnrFile", [](Input& input) {
    static StoredFile file("snr.raw");
    const std::size_t size = input.rest().size();
    file.end(kHeaderBytes, input.rest());
    std::int32_t fields[4] = {};
    std::memcpy(fields, input.rest().data(), size < sizeof fields ? 0 : sizeof fields);
    FactoryDiffIntSNRList list{{1}, {{1, 1, 1.0f, {1.0f}}}};
    const int status = loadAllSNRFromFactory(fuzzFolder().c_str(), "snr.raw", list, fields[3]);
    require(status == 0 || status == 1040, "0 or 1040");
    const std::int64_t told = std::int64_t{fields[0]} * fields[1];
    const std::size_t loaded = status == 0 && told > 0 ? static_cast<std::size_t>(told) : 0;
    require(list.records.size() == 1 + loaded, "every record or none");
    require(loaded == 0 || size == 16 + loaded * (12 + 4 * static_cast<std::size_t>(fields[2])), "as long as it tells");
    for (std::size_t i = 1; i <= loaded; ++i)
        require(list.records[i].snr.size() == static_cast<std::size_t>(fields[2]), "every value");
    require(list.integrationTimes.size() <= list.records.size(), "no more times than records");

    const int other = loadAllSNRFromFactory(fuzzFolder().c_str(), "snr.raw", list, ~fields[3]);
    require(other == (size < sizeof fields ? 1040 : 1020), "another type is refused");
    require(list.records.size() == 1 + loaded, "nothing is appended");
});

// A folder a byte of the input, an image or two in each, of the detector's size or not, with a time and pixels of the
// input's. Without the least side no image has a series; 128 rows make the file as short as it can be.
const Target kSnrFolder("SnrFolder", [](Input& input) {
    constexpr const char* kFolders[] = {"500ms", "ms", "-1ms", "99999999999ms", "other", "500ms.x"};
    constexpr int kSide = 128;
    const std::string root = fuzzFolder() + "series/";
    std::filesystem::remove_all(root);
    std::filesystem::create_directory(root);
    qxkit::VirtualDetector& detector = qxkit::virtualDetector();
    detector.width = kSide - (input.below(8) == 0 ? 1 : 0);
    detector.height = kSide;
    detector.description = input.flag() ? "Halbrook" + input.text() : input.text();
    for (int folders = input.below(4); folders > 0; --folders) {
        const std::string folder = root + kFolders[input.below(6)] + '/';
        std::filesystem::create_directory(folder);
        std::string image(kHeaderBytes, '\0');
        image.replace(kDetectorInfoHeadOffset + offsetof(DetectorInfoHead, integrationTime), 4, input.take(4));
        const std::string pixels = input.take(static_cast<std::size_t>(1 + input.below(64)));
        while (image.size() < kHeaderBytes + 2 * kSide * kSide)
            image += pixels;
        image.resize(kHeaderBytes + 2 * kSide * kSide - (input.below(8) == 0 ? 1 : 0));
        for (int images = input.below(3); images > 0; --images)
            qx::test::writeFile(folder + std::to_string(images), image);
    }
    const int status = retrieveAllSNRForQualityCheck(detector.type, root.c_str());
    require(status == 0 || status == 1020 || status == 1040 || status == 1039, "a stated status");
});

std::vector<std::uint32_t> longPixels(Input& input, std::size_t count) {
    std::vector<std::uint32_t> pixels(count);
    for (std::uint32_t& pixel : pixels)
        pixel = input.number<std::uint32_t>();
    return pixels;
}

// The detector's calibration files and settings are the input's.
const Target kNdt("Ndt", [](Input& input) {
    constexpr std::size_t kPixels = 12;
    static StoredFile gain("ndt-linear-gain0.raw"), fixed("Fixed-LINEAR-gain0.raw"),
        dark("ndt-dark-aed-500ms-gain0-2f.raw"), classic("NormalDefectInfo.cal"),
        structured("NormalStructurizedDefect.cal");
    qxkit::VirtualDetector& detector = qxkit::virtualDetector();
    detector.transfers.clear();
    detector.workDirectory = detector.offsetDirectory = detector.gainDirectory = detector.defectDirectory =
        detector.temperatureDirectory = detector.storageDirectory = fuzzFolder();
    detector.faults.getFpgaReg = 0;
    qxkit::setGainId(0);
    detector.registers.exposureTimeMs = 500;
    detector.syncMode = input.flag() ? 3 : 0;
    detector.ndtFrameCount = input.below(4);
    detector.modeWidth = input.number<std::int8_t>();
    detector.modeHeight = input.number<std::int8_t>();
    detector.config.fixedLinearGainEnabled = input.flag();
    detector.config.defectCorrectionMethod = input.below(3) - 1;
    detector.config.correctedImageDumpLevel = input.below(3);
    const bool hasDark = input.flag();
    std::vector<std::uint32_t> image = longPixels(input, kPixels), darkImage = longPixels(input, kPixels);
    for (StoredFile* const file : {&gain, &fixed, &dark})
        file->end(kHeaderBytes, input.take(static_cast<std::size_t>(input.below(56))));
    putDefects(detector.config.defectCorrectionMethod == 1 ? structured : classic, input);

    const std::vector<std::uint32_t> before = image;
    const int count = input.below(16) == 0 ? static_cast<int>(kPixels) - 1 : static_cast<int>(kPixels);
    const int status = correctNDTImage(image.data(), hasDark ? darkImage.data() : nullptr, count);
    require(status == 0 || image == before, "an image stays when it is refused");

    static StoredFile average("dark-500ms-std-gain0.raw", 0);
    average.end(0, input.rest());
    const int rows = input.below(8);
    CheckMeasures measures{};
    const int taken = measureRcn(2, rows, &measures), verdict = analysisRcn(2, rows);
    require(taken == 0 ? isPassed(measures) == (verdict == 0) : taken == verdict, "one verdict");
    detector.gainDirectory = detector.offsetDirectory = fuzzFolder() + "made/";
    require(executeNDTCAL(image.data(), darkImage.data(), kPixels) == 0, "calibration files are made");
});

}  // namespace
