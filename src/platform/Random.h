#pragma once

namespace qx {

// A uniform integer 0..32767 from the runtime's rand(), whose range differs between platforms.
int random15() noexcept;

}  // namespace qx
