#include "platform/Random.h"

#include <cstdlib>

namespace qx {

int random15() noexcept {
    return std::rand() & 0x7FFF;
}

}  // namespace qx
