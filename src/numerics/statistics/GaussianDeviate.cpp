#include "QxUtils/Numerics.h"

#include "platform/Random.h"

#include <cmath>

namespace {

constexpr double kRandomMax = 32767.0;

// The second deviate of the last pair: v times the pair's factor.
struct SavedDeviate {
    bool ready;
    double v;
    double s;
};
SavedDeviate saved{};

double uniformDeviate() {
    return qx::random15() / kRandomMax * 2 - 1;
}

double polarFactor(double s) {
    return std::sqrt(-2 * std::log(s) / s);
}

}  // namespace

double getGaussValue(double sigma, double mean) {
    if (saved.ready) {
        saved.ready = false;
        return saved.v * polarFactor(saved.s) * sigma + mean;
    }
    double u = 0;
    double v = 0;
    double s = 0;
    do {
        u = uniformDeviate();
        v = uniformDeviate();
        s = u * u + v * v;
    } while (s >= 1 || s == 0);
    saved = {true, v, s};
    return u * polarFactor(s) * sigma + mean;
}
