#include "platform/ByteOrder.h"

#ifdef _WIN32
#include <winsock2.h>
#else
#include <arpa/inet.h>
#endif

namespace qx {

std::uint32_t networkToHost(std::uint32_t value) noexcept {
    return ntohl(value);
}

}  // namespace qx
