#include "QxUtils/Correction.h"

#include "QxUtils/Files.h"
#include "QxUtils/StatusCode.h"
#include "correction/defects/DefectSections.h"
#include "files/FileBytes.h"
#include "files/HeaderLayout.h"
#include "files/RawImageReader.h"
#include "foundation/Diagnostics.h"
#include "foundation/ImageView.h"
#include "foundation/JoinedPath.h"
#include "foundation/Scratch.h"

#include <QxCodec.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string_view>

namespace {

std::uint32_t bigEndian(const char* field) {
    std::uint32_t value = 0;
    reverseCopy(&value, field, sizeof value);
    return value;
}

FileHeadInfo headInfoOf(const char* header) {
    FileHeadInfo info{};
    info.imageWidth = bigEndian(header + qx::kWidthOffset);
    info.imageHeight = bigEndian(header + qx::kHeightOffset);
    std::memcpy(info.words2, header + qx::kDefectWords2Offset, sizeof info.words2);
    std::memcpy(info.words8, header + qx::kDefectWords8Offset, sizeof info.words8);
    std::uint32_t* const sections[] = {&info.pointCount,  &info.pointOffset,  &info.rowCount,     &info.rowOffset,
                                       &info.columnCount, &info.columnOffset, &info.clusterCount, &info.clusterOffset};
    const char* field = header + kDefectSectionsOffset;
    for (std::uint32_t* const section : sections) {
        *section = bigEndian(field);
        field += sizeof *section;
    }
    return info;
}

// Kept: the names are told apart to the letter.
bool isStructured(std::string_view name) {
    return name == "NormalStructurizedDefect.cal" || name == "FactoryStructurizedDefect.cal";
}

template <class... Lists>
void emptyAll(Lists&... lists) {
    (lists.clear(), ...);
}

int readLists(const char* dir, const char* name, VectorDefect* classic, DefectInfo* structured) {
    // The directory may be a text of the kit, which reads the header's numbers.
    const qx::JoinedPath path(dir, name);
    // For what it prints while debugging.
    long size = 0;
    getImageSize(path.c_str(), "", size);
    FileHeadInfo info{};
    int status = getDefectHeadInfo(path.c_str(), "", &info);
    if (status != StatusOk)
        return status;
    const qx::File file = qx::openFile(path.c_str(), qx::OpenMode::ReadBinary);
    if (!file) {
        qx::printDebug("Error opening file.\n");
        return StatusFileOpenFailed;
    }
    qx::FileBytes content;
    status = content.load(file.get());
    if (status != StatusOk)
        return status;
    try {
        const qx::DefectSections sections(content.span(), info);
        return structured != nullptr ? sections.readStructured(*structured) : sections.readClassic(*classic);
    } catch (const std::bad_alloc&) {
        return StatusAllocationFailed;
    }
}

// Calls work(pixel) for the pixels of a 2 x 2 phase, row by row.
template <class Pixel, class Work>
void forPhase(const qx::ImageView<Pixel>& image, int xPhase, int yPhase, Work work) {
    // Kept: in phase 0 an odd side loses its last pixel.
    const int yEnd = image.height - 1 + yPhase;
    const int xEnd = image.width - 1 + xPhase;
    for (int y = yPhase; y < yEnd; y += 2)
        for (int x = xPhase; x < xEnd; x += 2)
            work(image.at(y, x));
}

}  // namespace

int getDefectHeadInfo(const char* dir, const char* name, FileHeadInfo* info) {
    if (dir == nullptr || name == nullptr || info == nullptr)
        return StatusNullArgument;
    const qx::File file = qx::openJoined(dir, name, qx::OpenMode::ReadBinary, "Error opening file.\n");
    if (!file)
        return StatusFileOpenFailed;
    qx::Scratch<char> header(kImageHeaderBytes);
    if (!header)
        return StatusAllocationFailed;
    if (std::fread(header.data(), 1, kImageHeaderBytes, file.get()) != kImageHeaderBytes)
        return StatusFileReadFailed;
    *info = headInfoOf(header.data());
    return StatusOk;
}

int getDefectIndexFromDefectFile(const char* dir, const char* name, VectorDefect* classic, DefectInfo* structured) {
    if (dir == nullptr || name == nullptr)
        return StatusNullArgument;
    if (classic != nullptr)
        emptyAll(classic->points, classic->clusters, classic->rows, classic->columns);
    if (structured != nullptr)
        emptyAll(structured->points, structured->clusters, structured->rows, structured->columns);
    if (isStructured(name))
        return structured == nullptr ? int{StatusNullArgument} : readLists(dir, name, nullptr, structured);
    return classic == nullptr ? int{StatusNullArgument} : readLists(dir, name, classic, nullptr);
}

// Kept: the destination is a copy that is dropped.
void getRealCoordinate(VectorDefect* source, VectorDefect destination, int sourceWidth, int, int, int,
                       int destinationWidth) {
    if (source == nullptr || sourceWidth == 0)
        return;
    emptyAll(destination.points, destination.rows, destination.columns);
    const auto binned = [=](std::int64_t index) {
        return static_cast<int>(index / sourceWidth / 2 * destinationWidth + index % sourceWidth / 2);
    };
    for (const int index : source->points)
        destination.points.push_back(binned(index));
    // Kept: a separator becomes pixel 0.
    for (const int index : source->clusters)
        destination.clusters.push_back(binned(index));
    // Kept: the list grows while it is walked, until memory ends.
    for (std::size_t i = 0; i < source->rows.size(); ++i)
        source->rows.push_back(source->rows[i] / 2);
    // Kept: the emptied list is walked by the length of the other one.
    if (!source->columns.empty())
        throw std::out_of_range("invalid vector<T> subscript");
}

void operateSubImage(float* first, const float* second, int width, int height, int xPhase, int yPhase, int extract) {
    if (first == nullptr || second == nullptr)
        return;
    const auto isPhase = [](int phase) { return phase == 0 || phase == 1; };
    if (!qx::isImageSize(width, height) || !isPhase(xPhase) || !isPhase(yPhase))
        return;
    if (extract != 0)
        forPhase(qx::ImageView<const float>{second, width, height}, xPhase, yPhase,
                 [&](float pixel) { *first++ = pixel; });
    else
        forPhase(qx::ImageView<float>{first, width, height}, xPhase, yPhase, [&](float& pixel) { pixel = *second++; });
}
