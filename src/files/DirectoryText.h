#pragma once

namespace qx {

// Tells the console, while debugging, that a directory text names nothing.
void reportMissingDirectory() noexcept;

}  // namespace qx
