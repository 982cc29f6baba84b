#pragma once

#include "image/Image.h"
#include "picture/Drawing.h"
#include "stripe/StripeCorrection.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace qx::tool {

// Images that triggered themselves, corrected by each method, beside what the panel would have given without a stripe.
struct StripeCase {
    std::string name;
    StripeMethod method;
    RawImage striped;
    RawImage corrected;
    RawImage clean;
};

// The trigger line of the cases.
inline constexpr int kDemoTriggerLine = 576;

std::vector<StripeCase> correctDemoStripes(std::uint64_t seed);

// A case before and after, with the true levels beside them.
Drawing drawStripeCase(const StripeCase& stripe);

// Prints how far the row profiles are from the truth, before and after.
void printStripes(std::ostream& out, const std::vector<StripeCase>& cases);

}  // namespace qx::tool
