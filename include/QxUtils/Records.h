#pragma once

// Records that cross the library's boundary.

#include <cstddef>
#include <cstdint>
#include <vector>

// Tube illumination of a flat field and the grade of a one-shot calibration. Eight 32-bit fields. The library writes
// `evaluation` alone: the first-image check fills the others in a record of its own, logs them and drops it.
//   F(x, y) = a [1 - b (x - p)^2 - c (y - q)^2 - d x y]
// is the peak's model over the medians of 32 x 32 pixels without four blocks at every side, x and y counted in blocks
// from the middle one, number w / 2 of w blocks across and h / 2 of h down:
//   x0 = 32 (w / 2 + p + 4), y0 = 32 (h / 2 + q + 4), truncated.
struct SurfaceFitResult {
    float asymDegree;  // asymmetry degree, 0 for a symmetric field
    std::int32_t x0;   // tube centre column, in full-resolution pixels from the left
    std::int32_t y0;   // tube centre row, in full-resolution pixels from the top
    float a;           // counts
    float b;           // per square of a block, as c and d
    float c;
    float d;
    std::int32_t evaluation;  // 1090 excellent, 1091 good, 1092 not good enough
};
static_assert(sizeof(SurfaceFitResult) == 32);
static_assert(offsetof(SurfaceFitResult, asymDegree) == 0);
static_assert(offsetof(SurfaceFitResult, x0) == 4);
static_assert(offsetof(SurfaceFitResult, y0) == 8);
static_assert(offsetof(SurfaceFitResult, a) == 12);
static_assert(offsetof(SurfaceFitResult, b) == 16);
static_assert(offsetof(SurfaceFitResult, c) == 20);
static_assert(offsetof(SurfaceFitResult, d) == 24);
static_assert(offsetof(SurfaceFitResult, evaluation) == 28);

// Defect lists of an image. Pixel indices are row * width + column; cluster groups are separated by -1.
struct VectorDefect {
    std::vector<int> points;
    std::vector<int> clusters;
    std::vector<int> rows;
    std::vector<int> columns;
};

// The numbers of a defect file's header, in the order of the record. Words without a name here are passed through as
// they are stored.
struct FileHeadInfo {
    std::uint32_t imageWidth;   // pixels
    std::uint32_t imageHeight;  // pixels
    std::uint32_t words2[6];
    std::uint32_t words8[8];
    std::uint32_t pointCount;
    std::uint32_t pointOffset;  // bytes from the start of the file, as the other offsets
    std::uint32_t rowCount;
    std::uint32_t rowOffset;  // rows and columns together in a classic file
    std::uint32_t columnCount;
    std::uint32_t columnOffset;
    std::uint32_t clusterCount;
    std::uint32_t clusterOffset;
};
static_assert(sizeof(FileHeadInfo) == 96);
static_assert(offsetof(FileHeadInfo, words2) == 8);
static_assert(offsetof(FileHeadInfo, words8) == 32);
static_assert(offsetof(FileHeadInfo, pointCount) == 64);
static_assert(offsetof(FileHeadInfo, clusterOffset) == 92);

// Where pointCount lies in the header; what is behind it in the record follows it there, in network order.
inline constexpr int kDefectSectionsOffset = 40;

// An entry of a structured defect file. A point or cluster entry is the pixel (x1, y1); an entry of a row group names
// the row y1, one of a column group the column x1.
struct DefectEntry {
    std::int32_t x1;
    std::int32_t y1;
    std::int32_t x2;
    std::int32_t y2;
};
static_assert(sizeof(DefectEntry) == 16);

struct LineGroup {
    std::int32_t header[5];  // the first one counts the entries
    std::vector<DefectEntry> entries;
};

struct ClusterGroup {
    std::int32_t header[4];  // the first one counts the entries; below 0 there are none
    std::vector<DefectEntry> entries;
};

// The lists of a structured defect file.
struct DefectInfo {
    std::vector<DefectEntry> points;
    std::vector<ClusterGroup> clusters;
    std::vector<LineGroup> rows;
    std::vector<LineGroup> columns;
};

// Length of the image header that precedes the pixels of a calibration or NDT image file.
inline constexpr int kImageHeaderBytes = 65536;

// Regions of the image header and where they begin. Numbers are in the processor's order here, in network order in the
// header.
inline constexpr int kDetectorFileHeadOffset = 0;
inline constexpr int kDetectorInfoHeadOffset = 16384;
inline constexpr int kPcImgHeadOffset = 32768;

// Words without a name belong to the detector.
struct DetectorFileHead {
    char stored[8];
    std::int32_t word8;
    std::int32_t width;   // pixels
    std::int32_t height;  // pixels
    std::int32_t words20[13];
};
static_assert(sizeof(DetectorFileHead) == 72);
static_assert(offsetof(DetectorFileHead, word8) == 8);
static_assert(offsetof(DetectorFileHead, width) == 12);
static_assert(offsetof(DetectorFileHead, height) == 16);
static_assert(offsetof(DetectorFileHead, words20) == 20);

// Fields are named after their offsets where their meaning belongs to the detector; "stored" ones keep
// their bytes.
struct DetectorInfoHead {
    std::int32_t word0;
    std::int32_t word4;
    char stored8[32];
    std::int32_t detectorType;
    std::int32_t words44[3];
    char stored56[24];
    float integrationTime;  // ms
    float floats84[11];
    float temperature;  // degrees Celsius
    float float132;
    char stored136[260];
    std::int32_t words396[7];
    char stored424[60];
    float floats484[8];
    char stored516[4];
    float float520;
    char stored524[4];
    float float528;
    char stored532[4];
    std::int32_t words536[4];
    char stored552[8];
    std::int32_t words560[4];
    char stored576[64];
    std::int32_t words640[4];
};
static_assert(sizeof(DetectorInfoHead) == 656);
static_assert(offsetof(DetectorInfoHead, detectorType) == 40);
static_assert(offsetof(DetectorInfoHead, stored56) == 56);
static_assert(offsetof(DetectorInfoHead, integrationTime) == 80);
static_assert(offsetof(DetectorInfoHead, temperature) == 128);
static_assert(offsetof(DetectorInfoHead, float132) == 132);
static_assert(offsetof(DetectorInfoHead, words396) == 396);
static_assert(offsetof(DetectorInfoHead, floats484) == 484);
static_assert(offsetof(DetectorInfoHead, float520) == 520);
static_assert(offsetof(DetectorInfoHead, float528) == 528);
static_assert(offsetof(DetectorInfoHead, words536) == 536);
static_assert(offsetof(DetectorInfoHead, words560) == 560);
static_assert(offsetof(DetectorInfoHead, words640) == 640);

// Written by the host, every byte as it is stored.
struct PcImgHead {
    char stored[568];
};
static_assert(sizeof(PcImgHead) == 568);

// What a factory SNR file tells behind its header, in the processor's order, as all that follows.
struct FactorySnrFileHead {
    std::int32_t integrationTimes;
    std::int32_t dose;       // images an integration time
    std::int32_t snrLength;  // values in a series
    std::int32_t detectorType;
};
static_assert(sizeof(FactorySnrFileHead) == 16);

// The SNR series of one factory image.
struct FactorySNRRecord {
    int integrationTime;  // ms
    int snrCount;         // values in the series, as the file tells
    float meanGray;       // counts
    std::vector<float> snr;
};

// What a factory SNR file holds.
struct FactoryDiffIntSNRList {
    std::vector<int> integrationTimes;  // ms, each once, in the order of the file
    std::vector<FactorySNRRecord> records;
};
