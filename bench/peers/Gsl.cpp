#include "peers/Peers.h"

#ifdef QX_BENCH_GSL
#include <gsl/gsl_interp.h>

#include <algorithm>
#include <numeric>
#endif

namespace qx::bench {

#ifdef QX_BENCH_GSL

namespace {

// Natural splines through lines of knots at unit spacing, evaluated at equally spaced points.
class Splines {
public:
    Splines(int knots, int points)
        : positions_(static_cast<std::size_t>(knots)), knots_(positions_.size()),
          values_(static_cast<std::size_t>(points)),
          spline_(gsl_interp_alloc(gsl_interp_cspline, positions_.size()), gsl_interp_free),
          search_(gsl_interp_accel_alloc(), gsl_interp_accel_free) {
        std::iota(positions_.begin(), positions_.end(), 0.0);
    }

    template <class KnotAt>
    const std::vector<double>& through(KnotAt knotAt) {
        for (std::size_t i = 0; i < knots_.size(); ++i)
            knots_[i] = knotAt(i);
        gsl_interp_init(spline_.get(), positions_.data(), knots_.data(), knots_.size());
        const double last = positions_.back();
        const double spacing = last / static_cast<double>(values_.size() - 1);
        for (std::size_t i = 0; i < values_.size(); ++i)
            values_[i] = gsl_interp_eval(spline_.get(), positions_.data(), knots_.data(),
                                         std::min(static_cast<double>(i) * spacing, last), search_.get());
        return values_;
    }

private:
    std::vector<double> positions_;
    std::vector<double> knots_;
    std::vector<double> values_;
    std::unique_ptr<gsl_interp, void (*)(gsl_interp*)> spline_;
    std::unique_ptr<gsl_interp_accel, void (*)(gsl_interp_accel*)> search_;
};

WORD toPixel(double value) {
    return static_cast<WORD>(std::clamp(value + 0.5, 0.0, 65535.0));
}

}  // namespace

Method gslSplines(const std::shared_ptr<const Image>& image, int rows, int columns) {
    return [image, rows, columns] {
        const auto width = static_cast<std::size_t>(image->width);
        const auto outWidth = static_cast<std::size_t>(columns);
        std::vector<double> resampled(static_cast<std::size_t>(image->height) * outWidth);
        Splines alongRows(image->width, columns);
        for (std::size_t y = 0; y < static_cast<std::size_t>(image->height); ++y)
            std::ranges::copy(alongRows.through([&](std::size_t x) { return image->pixels[y * width + x]; }),
                              resampled.begin() + static_cast<std::ptrdiff_t>(y * outWidth));
        std::vector<WORD> pixels(static_cast<std::size_t>(rows) * outWidth);
        Splines downColumns(image->height, rows);
        for (std::size_t x = 0; x < outWidth; ++x) {
            const auto& column = downColumns.through([&](std::size_t y) { return resampled[y * outWidth + x]; });
            for (std::size_t y = 0; y < column.size(); ++y)
                pixels[y * outWidth + x] = toPixel(column[y]);
        }
        return pixels;
    };
}

#else

Method gslSplines(const std::shared_ptr<const Image>&, int, int) {
    return {};
}

#endif

}  // namespace qx::bench
