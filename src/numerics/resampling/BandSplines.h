#pragma once

#include "foundation/AlignedFloats.h"
#include "foundation/ImageView.h"
#include "numerics/resampling/SplineSpacing.h"

#include <array>
#include <cstdint>

namespace qx {

// Resampling in one sweep over bands of kSplineLines rows, from the first one to the last. The splines down the columns
// are solved from behind, where rows are not known yet. So the second derivative there counts as anything between two
// bounds; whatever it is, a band farther up hardly anything is left of it, mostly nothing to the bit. Where a pixel
// depends on what is left, the sweep fails.
class BandSplines {
public:
    BandSplines(ImageView<const std::uint16_t> in, const SplineSpacing& alongRows, const SplineSpacing& downColumns);

    // Whether there is memory.
    explicit operator bool() const noexcept { return knots_ && curvatures_ && windows_ && solved_ && others_; }

    // Once. False: an unknown part of out is not written.
    bool resample(ImageView<std::uint16_t> out) noexcept;

private:
    // Rows first .. bottom - 1. The windows hold rows from `top` on, as the band before left some open; before row
    // `end` the columns can be solved, and so the output rows there.
    struct Band {
        int top;
        int first;
        int bottom;
        int end;
        bool isLast;
        int firstPoint;
        int points;

        std::int64_t place(int row) const noexcept { return lineValues(row - top); }
    };
    using LineState = std::array<float, kSplineLines>;

    Band bandAfter(const Band& before) const noexcept;
    void eliminateRows(const Band& band) noexcept;
    int substituteRows(int solved, int x) noexcept;
    bool resamplePanel(const Band& band, int x, ImageView<std::uint16_t> out) noexcept;
    void eliminateColumns(const Band& band, const float* rows, float* eliminated) const noexcept;
    bool substituteColumns(const Band& band, float* rows, const float* eliminated) noexcept;
    void substituteColumnsFrom(int row, LineState state, const Band& band, const float* eliminated,
                               float* solved) const noexcept;
    void keepOpenRows(const Band& band, float* rows, float* eliminated) const noexcept;

    ImageView<const std::uint16_t> in_;
    const SplineSpacing& alongRows_;
    const SplineSpacing& downColumns_;
    int windowRows_;
    // Of the rows of a band: knots, and what becomes second derivatives.
    AlignedFloats knots_;
    AlignedFloats curvatures_;
    // Of every panel of columns: the rows as resampled, and their eliminated values.
    AlignedFloats windows_;
    // Second derivatives of the rows of a window, from either bound.
    AlignedFloats solved_;
    AlignedFloats others_;
    // The second derivatives along the rows behind those that are solved.
    LineState state_;
};

}  // namespace qx
