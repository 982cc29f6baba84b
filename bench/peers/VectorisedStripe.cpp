// The plain line-fit correction once more, as the compiler vectorises it for this machine.
#define plain plainVectorised
#include "reference/numerics/PlainStatistics.h"

#include <climits>

// Where the compiler sees it.
std::int32_t qx::plain::truncateToInt(double value) noexcept {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int>(value) : INT_MIN;
}

#include "reference/correction/PlainStripe.cpp"
#undef plain

#include "harness/OwnImage.h"
#include "peers/Peers.h"

namespace qx::bench {

Method vectorisedLineStripe(const Image& frame, int triggerLine) {
    return onOwnImage(frame, [triggerLine](Image& image) {
        plainVectorised::correctAedStripe(image.pixels.data(), image.width, image.height, triggerLine);
    });
}

}  // namespace qx::bench
