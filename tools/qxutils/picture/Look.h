#pragma once

#include "picture/Drawing.h"

// The look that all drawings share: dark ink on white paper, colours that stay apart for eyes that mix up red and
// green.

namespace qx::tool {

inline constexpr Colour kPaper{255, 255, 255};
inline constexpr Colour kInk{38, 38, 38};
inline constexpr Colour kFaintInk{105, 105, 105};
inline constexpr Colour kGridInk{225, 225, 225};
inline constexpr Colour kPassed{20, 115, 65};
inline constexpr Colour kNotPassed{190, 40, 35};
inline constexpr Colour kMarked{215, 95, 0};
inline constexpr Colour kTrue{0, 105, 190};
inline constexpr Colour kViolet{130, 75, 165};
inline constexpr Colour kOlive{135, 120, 0};

inline constexpr double kTextSize = 14.0;
inline constexpr double kSmallText = 12.5;
inline constexpr double kTitleSize = 17.0;
inline constexpr double kGap = 16.0;  // between the parts of a drawing

}  // namespace qx::tool
