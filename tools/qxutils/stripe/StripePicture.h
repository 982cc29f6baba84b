#pragma once

#include "image/Region.h"
#include "picture/Drawing.h"

#include <string>
#include <vector>

// Pictures of the stripe.

namespace qx::tool {

// An image around its trigger line, with a caption.
struct StripeView {
    const RawImage& image;
    std::string caption;
    std::string verdict;
    Colour verdictColour;
};

// The rows around the trigger line of each view, enlarged, all with the same brightness window; beside each the levels
// of its rows, and those of the last view's when `truth` names them.
Drawing drawStripe(const std::vector<StripeView>& views, int triggerLine, const std::vector<double>& truth);

// The rows that drawStripe shows.
Stretch stripeRows(const Shape& shape, int triggerLine);

}  // namespace qx::tool
