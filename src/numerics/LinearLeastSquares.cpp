#include "numerics/LinearLeastSquares.h"

#include "QxUtils/StatusCode.h"
#include "foundation/Diagnostics.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"
#include "numerics/SingularValues.h"
#include "platform/Console.h"

#include <cmath>
#include <cstddef>
#include <cstdio>

namespace qx {
namespace {

constexpr double kEditingThreshold = 1e-5;

// Singular values that are small against the largest carry noise alone.
void editSingularValues(float* w, int count) noexcept {
    float largest = 0.0f;
    for (int j = 0; j < count; ++j)
        largest = w[j] > largest ? w[j] : largest;
    const auto threshold = static_cast<float>(static_cast<double>(largest) * kEditingThreshold);
    for (int j = 0; j < count; ++j)
        w[j] = w[j] < threshold ? 0.0f : w[j];
}

class Fit {
public:
    // values holds a number for each of the `count` basis functions, weighted one for each sample.
    Fit(const FitSamples& samples, FitBasis basis, int first, int second, float* values, int count, float* weighted)
        : samples_(samples), basis_(basis), first_(first), second_(second), values_(values), count_(count),
          weighted_(weighted) {}

    int solve(float* a, const FitWorkspace& workspace) noexcept {
        fillDesign(workspace.u);
        int status = svdcmp(workspace.u, workspace.w, workspace.v);
        if (status != StatusOk)
            return status;
        editSingularValues(workspace.w, count_);
        return svdBackSubstitute(workspace.u, workspace.w, workspace.v, weighted_, a);
    }

    // Chi-square and the squared correlation, every sum in the order of the samples.
    float measure(const float* a, float& fitResult) noexcept {
        float chiSquare = 0.0f;
        float dataSum = 0.0f;
        float fitSum = 0.0f;
        float* const fitted = weighted_;
        for (int i = 0; i < samples_.count; ++i) {
            fitted[i] = valueAt(i, a);
            const float residual = (samples_.y[i] - fitted[i]) / samples_.sigma[i];
            chiSquare += residual * residual;
            dataSum += samples_.y[i];
            fitSum += fitted[i];
        }
        const auto size = static_cast<float>(samples_.count);
        fitResult = correlation(fitted, dataSum / size, fitSum / size);
        return chiSquare;
    }

private:
    void evaluate(int i) noexcept { basis_(samples_.x[i], values_, count_, first_, second_); }

    void fillDesign(ColumnMatrix u) noexcept {
        for (int i = 0; i < samples_.count; ++i) {
            evaluate(i);
            const float weight = 1.0f / samples_.sigma[i];
            for (int j = 0; j < count_; ++j)
                u.at(i, j) = values_[j] * weight;
            weighted_[i] = samples_.y[i] * weight;
        }
    }

    float valueAt(int i, const float* a) noexcept {
        evaluate(i);
        float sum = 0.0f;
        for (int j = 0; j < count_; ++j)
            sum += a[j] * values_[j];
        return sum;
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
    float* values_;
    int count_;
    float* weighted_;
};

}  // namespace

int svdfit(const FitSamples& samples, int first, int second, float* a, int count, const FitWorkspace& workspace,
           float& chiSquare, FitBasis basis, float& fitResult) noexcept {
    logBegin("svdfit");
    Scratch<float> weighted(static_cast<std::size_t>(samples.count));
    Scratch<float> values(static_cast<std::size_t>(count));
    if (!weighted || !values) {
        printConsole("allocation failure in vector()");
        return StatusAllocationFailed;
    }
    Fit fit(samples, basis, first, second, values.data(), count, weighted.data());
    const int status = fit.solve(a, workspace);
    if (status == StatusFitNotConverged) {
        printDebug("svdfit failed, no convergence in 30 svdcmp iterations\n");
        WriteLogFile(LogModuleUtils, LogError, "svdfit failed, no convergence in 30 svdcmp iterations", kLogNoValue);
        logEnd("svdfit", " terminates with a return value ", status);
    }
    if (status != StatusOk)
        return status;
    chiSquare = fit.measure(a, fitResult);
    logInfo(kLogNoValue, "fitResult=%.3f", static_cast<double>(fitResult));
    logEnd("svdfit", " terminates with a return value ", StatusOk);
    return StatusOk;
}

}  // namespace qx
