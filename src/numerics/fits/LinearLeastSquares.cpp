#include "numerics/fits/LinearLeastSquares.h"

#include "QxUtils/StatusCode.h"
#include "foundation/Diagnostics.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"
#include "kernels/SumKernels.h"
#include "numerics/fits/SingularValues.h"
#include "platform/Console.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace qx {
namespace {

constexpr double kEditingThreshold = 1e-5;

// Singular values that are small against the largest carry noise alone.
void editSingularValues(float* w, int count) noexcept {
    float largest = 0.0f;
    for (int j = 0; j < count; ++j)
        largest = w[j] > largest ? w[j] : largest;
    const double exact = largest;
    const auto threshold = static_cast<float>(exact * kEditingThreshold);
    for (int j = 0; j < count; ++j)
        w[j] = w[j] < threshold ? 0.0f : w[j];
}

class Fit {
public:
    // scratch holds a number for each sample.
    Fit(const FitSamples& samples, FitBasis basis, int first, int second, float* scratch)
        : samples_(samples), basis_(basis), first_(first), second_(second), scratch_(scratch) {}

    int solve(float* a, const FitWorkspace& workspace) noexcept {
        fillDesign(workspace.u);
        const float* const weighted = weightedData();
        int status = svdcmp(workspace.u, workspace.w, workspace.v);
        if (status != StatusOk)
            return status;
        editSingularValues(workspace.w, workspace.u.columns);
        return svdBackSubstitute(workspace.u, workspace.w, workspace.v, weighted, a);
    }

    // Chi-square and the squared correlation, every sum in the order of the samples. The memory of U serves for the
    // basis once more.
    float measure(const float* a, ColumnMatrix values, float& fitResult) noexcept {
        const float* const fitted = fittedData(a, values);
        constexpr int kSamples = 256;
        std::array<float, kSamples> residuals;
        float chiSquare = 0.0f;
        float dataSum = 0.0f;
        float fitSum = 0.0f;
        for (int start = 0; start < samples_.count; start += kSamples) {
            const int count = std::min(kSamples, samples_.count - start);
            const float* const data = samples_.y + start;
            const float* const fit = fitted + start;
            for (int i = 0; i < count; ++i)
                residuals[i] = (data[i] - fit[i]) / samples_.sigma[start + i];
            for (int i = 0; i < count; ++i) {
                const float residual = residuals[i];
                chiSquare += residual * residual;
                dataSum += data[i];
                fitSum += fit[i];
            }
        }
        const auto size = static_cast<float>(samples_.count);
        fitResult = correlation(fitted, dataSum / size, fitSum / size);
        return chiSquare;
    }

private:
    // Leaves the weights in the scratch.
    void fillDesign(ColumnMatrix u) noexcept {
        basis_(samples_.x, u, first_, second_);
        for (int i = 0; i < samples_.count; ++i)
            scratch_[i] = 1.0f / samples_.sigma[i];
        for (int j = 0; j < u.columns; ++j)
            multiplyByScratch(u.column(j));
    }

    void multiplyByScratch(float* __restrict values) const noexcept {
        for (int i = 0; i < samples_.count; ++i)
            values[i] *= scratch_[i];
    }

    const float* weightedData() noexcept {
        for (int i = 0; i < samples_.count; ++i)
            scratch_[i] *= samples_.y[i];
        return scratch_;
    }

    const float* fittedData(const float* a, ColumnMatrix values) noexcept {
        basis_(samples_.x, values, first_, second_);
        std::fill_n(scratch_, samples_.count, 0.0f);
        for (int j = 0; j < values.columns; ++j)
            sumKernels().addMultiple(values.column(j), samples_.count, a[j], scratch_);
        return scratch_;
    }

    float correlation(const float* fitted, float dataMean, float fitMean) const noexcept {
        float mixed = 0.0f;
        float fitSquares = 0.0f;
        float dataSquares = 0.0f;
        for (int i = 0; i < samples_.count; ++i) {
            const float data = samples_.y[i] - dataMean;
            const float fit = fitted[i] - fitMean;
            mixed += data * fit;
            fitSquares += fit * fit;
            dataSquares += data * data;
        }
        const float r = mixed / std::sqrt(fitSquares * dataSquares);
        return r * r;
    }

    FitSamples samples_;
    FitBasis basis_;
    int first_;
    int second_;
    float* scratch_;
};

}  // namespace

// Kept: a lack of memory leaves the log without a line at the end; it is told on the console whatever the debug flag,
// without a line end.
int svdfit(const FitSamples& samples, int first, int second, float* a, const FitWorkspace& workspace, float& chiSquare,
           FitBasis basis, float& fitResult) noexcept {
    LoggedOperation operation("svdfit", " terminates with a return value ");
    Scratch<float> scratch(samples.count);
    if (!scratch) {
        printConsole("allocation failure in vector()");
        return operation.endUntold(StatusAllocationFailed);
    }
    Fit fit(samples, basis, first, second, scratch.data());
    const int status = fit.solve(a, workspace);
    if (status == StatusFitNotConverged) {
        printDebug("svdfit failed, no convergence in 30 svdcmp iterations\n");
        WriteLogFile(LogModuleUtils, LogError, "svdfit failed, no convergence in 30 svdcmp iterations", kLogNoValue);
        return operation.end(status);
    }
    if (status != StatusOk)
        return operation.endUntold(status);
    chiSquare = fit.measure(a, workspace.u, fitResult);
    logInfo(kLogNoValue, "fitResult=%.3f", static_cast<double>(fitResult));
    return operation.end(StatusOk);
}

}  // namespace qx
