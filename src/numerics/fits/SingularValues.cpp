#include "numerics/fits/SingularValues.h"

#include "QxUtils/StatusCode.h"
#include "foundation/Panels.h"
#include "foundation/Scratch.h"
#include "kernels/SumKernels.h"
#include "numerics/fits/Bidiagonal.h"
#include "numerics/fits/DotProducts.h"
#include "platform/Console.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace qx {
namespace {

constexpr int kMaxSweeps = 30;

float withSignOf(float magnitude, float sign) noexcept {
    return sign >= 0.0f ? std::fabs(magnitude) : -std::fabs(magnitude);
}

// The hypotenuse by the ratio of its sides, which cannot overflow on the way.
float hypotenuseOf(float longer, float shorter) noexcept {
    const float ratio = shorter / longer;
    const double length = longer;
    const double square = ratio * ratio;
    return static_cast<float>(length * std::sqrt(1.0 + square));
}

float hypotenuse(float a, float b) noexcept {
    const float first = std::fabs(a);
    const float second = std::fabs(b);
    if (first > second)
        return hypotenuseOf(first, second);
    return second == 0.0f ? 0.0f : hypotenuseOf(second, first);
}

// A rotation of two columns.
struct Rotation {
    int first;
    int second;
    float c;
    float s;
};

// Rotations of a tall matrix, gathered and then applied to a few rows at a time.
class PendingRotations {
public:
    explicit PendingRotations(ColumnMatrix matrix) noexcept : matrix_(matrix) {}

    void add(const Rotation& rotation) noexcept {
        if (count_ == pending_.size())
            apply();
        pending_[count_++] = rotation;
    }

    void apply() noexcept {
        forPanels(matrix_.rows, kRowsAtOnce, [this](int row, int rows) {
            for (std::size_t i = 0; i < count_; ++i) {
                const Rotation& r = pending_[i];
                sumKernels().rotate(matrix_.column(r.first) + row, matrix_.column(r.second) + row, rows, r.c, r.s);
            }
        });
        count_ = 0;
    }

private:
    ColumnMatrix matrix_;
    std::array<Rotation, 128> pending_;
    std::size_t count_ = 0;
};

// QR sweeps over a bidiagonal matrix, the rotations of which U and V take part in.
class Diagonalisation {
public:
    // norm is what magnitudes are negligible against.
    Diagonalisation(ColumnMatrix u, ColumnMatrix v, const Bidiagonal& b, float norm) noexcept
        : v_(v), w_(b.diagonal), above_(b.above), norm_(norm), rotations_(u) {}

    // False when a singular value does not converge.
    bool run() noexcept {
        for (int k = v_.columns - 1; k >= 0; --k)
            if (!converge(k))
                return false;
        rotations_.apply();
        return true;
    }

private:
    bool isNegligible(float value) const noexcept { return std::fabs(value) + norm_ == norm_; }

    // Implicitly shifted QR sweeps until the singular value k stands alone.
    bool converge(int k) noexcept {
        for (int sweep = 1;; ++sweep) {
            bool cancel = false;
            const int l = firstOfBlock(k, cancel);
            if (cancel)
                cancelOffDiagonal(l, k);
            if (l == k)
                break;
            if (sweep == kMaxSweeps)
                return false;
            sweepBlock(l, k);
        }
        if (w_[k] < 0.0f) {
            w_[k] = -w_[k];
            for (int j = 0; j < v_.rows; ++j)
                v_.at(j, k) = -v_.at(j, k);
        }
        return true;
    }

    // Where the block that ends at k begins; `cancel` when the diagonal element before it vanishes. Nothing precedes
    // the first column.
    int firstOfBlock(int k, bool& cancel) const noexcept {
        int l = k;
        for (; l > 0 && !isNegligible(above_[l]); --l) {
            cancel = isNegligible(w_[l - 1]);
            if (cancel)
                break;
        }
        return l;
    }

    void cancelOffDiagonal(int l, int k) noexcept {
        float c = 0.0f;
        float s = 1.0f;
        for (int i = l; i <= k; ++i) {
            const float f = s * above_[i];
            above_[i] = c * above_[i];
            if (isNegligible(f))
                break;
            const float g = w_[i];
            float h = hypotenuse(f, g);
            w_[i] = h;
            h = 1.0f / h;
            c = g * h;
            s = -f * h;
            rotations_.add({l - 1, i, c, s});
        }
    }

    void sweepBlock(int l, int k) noexcept {
        float x = w_[l];
        const float last = w_[k];
        float y = w_[k - 1];
        float g = above_[k - 1];
        float h = above_[k];
        float f = ((y - last) * (y + last) + (g - h) * (g + h)) / (2.0f * h * y);
        g = hypotenuse(f, 1.0f);
        f = ((x - last) * (x + last) + h * ((y / (f + withSignOf(g, f))) - h)) / x;
        float c = 1.0f;
        float s = 1.0f;
        for (int j = l; j < k; ++j) {
            g = above_[j + 1];
            y = w_[j + 1];
            h = s * g;
            g = c * g;
            float z = hypotenuse(f, h);
            above_[j] = z;
            c = f / z;
            s = h / z;
            f = x * c + g * s;
            g = g * c - x * s;
            h = y * s;
            y *= c;
            sumKernels().rotate(v_.column(j), v_.column(j + 1), v_.rows, c, s);
            z = hypotenuse(f, h);
            w_[j] = z;
            if (z != 0.0f) {
                z = 1.0f / z;
                c = f * z;
                s = h * z;
            }
            f = c * g + s * y;
            x = c * y - s * g;
            rotations_.add({j, j + 1, c, s});
        }
        above_[l] = 0.0f;
        above_[k] = f;
        w_[k] = x;
    }

    ColumnMatrix v_;
    float* w_;
    float* above_;
    float norm_;
    PendingRotations rotations_;
};

// Kept: what fails is told on the console whatever the debug flag, without a line end.
int allocationFailure() noexcept {
    printConsole("allocation failure in vector()");
    return StatusAllocationFailed;
}

int convergenceFailure() noexcept {
    printConsole("no convergence in 30 svdcmp iterations");
    return StatusFitNotConverged;
}

}  // namespace

int svdcmp(ColumnMatrix u, float* w, ColumnMatrix v) noexcept {
    Scratch<float> scratch(3, u.columns);
    if (!scratch)
        return allocationFailure();
    const Bidiagonal b{w, scratch.data()};
    const float norm = bidiagonalise(u, v, b, scratch.data() + u.columns);
    return Diagonalisation(u, v, b, norm).run() ? StatusOk : convergenceFailure();
}

int svdBackSubstitute(ColumnMatrix u, const float* w, ColumnMatrix v, const float* b, float* a) noexcept {
    Scratch<float> projections(u.columns);
    if (!projections)
        return allocationFailure();
    float* const t = projections.data();
    dotProducts(b, u, 0, u.columns, 0, t);
    for (int j = 0; j < u.columns; ++j)
        t[j] = w[j] == 0.0f ? 0.0f : t[j] / w[j];
    for (int j = 0; j < v.rows; ++j) {
        float s = 0.0f;
        for (int k = 0; k < v.columns; ++k)
            s += v.at(j, k) * t[k];
        a[j] = s;
    }
    return StatusOk;
}

}  // namespace qx
