#include "qxutils_c.h"

#include "Guard.h"
#include "Handles.h"
#include "QxUtils/Quality.h"
#include "QxUtils/Records.h"
#include "QxUtils/StatusCode.h"

#include <algorithm>
#include <bit>
#include <vector>

namespace {

using FactoryLists = qx::c::HandleTable<FactoryDiffIntSNRList>;

// Never destroyed: a host's last threads may still ask.
FactoryLists& factoryLists() {
    static auto* const lists = new FactoryLists;
    return *lists;
}

// More values than any image has squares.
constexpr int kMostSquares = 1024;

}  // namespace

int qx_calcGlobalSNR(const uint16_t* image, int width, int height, float* snr, int capacity) {
    if (image != nullptr && snr == nullptr)
        return StatusNullArgument;
    return qx::c::guarded([&] {
        std::vector<float> series = qx::c::seriesOf(snr, std::min(capacity, kMostSquares));
        const int status = calcGlobalSNR(image, width, height, series);
        if (status == StatusOk)
            std::copy(series.begin(), series.end(), snr);
        return status;
    });
}

int qx_checkGlobalSNR(const uint16_t* image, int width, int height, const float* factorySNR, int count) {
    return qx::c::guarded([&] { return checkGlobalSNR(image, width, height, qx::c::seriesOf(factorySNR, count)); });
}

int qx_evaluateSNRResult(const uint16_t* image, int width, int height, const float* factorySNR, int count,
                         qx_surface_fit_result* result) {
    if (result == nullptr)
        return StatusNullArgument;
    return qx::c::guarded([&] {
        auto record = std::bit_cast<SurfaceFitResult>(*result);
        const int status = evaluateSNRResult(image, width, height, qx::c::seriesOf(factorySNR, count), record);
        *result = std::bit_cast<qx_surface_fit_result>(record);
        return status;
    });
}

int qx_factory_list_create(qx_factory_list* list) {
    return factoryLists().create(list);
}

int qx_factory_list_release(qx_factory_list list) {
    return factoryLists().release(list);
}

int qx_loadAllSNRFromFactory(const char* dir, const char* file, qx_factory_list list, int detectorType) {
    return factoryLists().with(
        list, [&](FactoryDiffIntSNRList& found) { return loadAllSNRFromFactory(dir, file, found, detectorType); });
}

int qx_factory_list_times(qx_factory_list list, int32_t* times, int capacity, int* count) {
    return factoryLists().with(list, [&](const FactoryDiffIntSNRList& found) {
        return qx::c::handOut<int>(found.integrationTimes, times, capacity, count);
    });
}

int qx_factory_list_record_count(qx_factory_list list, int* count) {
    return factoryLists().with(list, [&](const FactoryDiffIntSNRList& found) {
        return qx::c::handOut<FactorySNRRecord>(found.records, nullptr, 0, count);
    });
}

int qx_factory_list_record(qx_factory_list list, int index, qx_factory_record* record, float* snr, int capacity,
                           int* count) {
    return factoryLists().with(list, [&](const FactoryDiffIntSNRList& found) -> int {
        if (record == nullptr)
            return StatusNullArgument;
        if (index < 0 || index >= std::ssize(found.records))
            return StatusWrongParameter;
        const FactorySNRRecord& from = found.records[static_cast<std::size_t>(index)];
        const int status = qx::c::handOut<float>(from.snr, snr, capacity, count);
        if (status == StatusOk)
            *record = {from.integrationTime, from.snrCount, from.meanGray};
        return status;
    });
}

int qx_retrieveAllSNRForQualityCheck(int detectorType, const char* dir) {
    return retrieveAllSNRForQualityCheck(detectorType, dir);
}

int qx_getUniform(const uint16_t* image, int width, int height) {
    return getUniform(image, width, height);
}

int qx_analysisStrip(const uint16_t* image, int width, int height) {
    return analysisStrip(image, width, height);
}

int qx_analysisRcn(int width, int height) {
    return analysisRcn(width, height);
}

int qx_darkImgGrayAnalysis(const uint16_t* image, int width, int height) {
    return darkImgGrayAnalysis(image, width, height);
}

int qx_checkGlobalUniform(const uint16_t* image, int width, int height, float limit) {
    return checkGlobalUniform(image, width, height, limit);
}

int qx_checkFirstImg(const uint16_t* image, const uint16_t* dark, int width, int height) {
    return checkFirstImg(image, dark, width, height);
}

int qx_checkPreImg(const uint16_t* image, const uint16_t* dark, int width, int height) {
    return checkPreImg(image, dark, width, height);
}

int qx_checkCollimator(uint16_t* image, int width, int height) {
    return checkCollimator(image, width, height);
}

int qx_checkSync(uint16_t* image, int width, int height) {
    return checkSync(image, width, height);
}

int qx_checkTube(uint16_t* image, int width, int height) {
    return checkTube(image, width, height);
}

int qx_checkGainImgGroup(const char* const* paths, int count) {
    return checkGainImgGroup(paths, count);
}

int qx_CheckDarkTimeRepeat(const char* list, int time) {
    return CheckDarkTimeRepeat(list, time);
}

int qx_checkFalseTriggAEDImage(const float* image, int width, int height) {
    return checkFalseTriggAEDImage(image, width, height);
}

int qx_checkOffsetImageQuality(const float* image, int width, int height) {
    return checkOffsetImageQuality(image, width, height);
}
