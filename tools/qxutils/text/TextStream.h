#pragma once

#include <sstream>

namespace qx::tool {

// A text on its way. Without memory it throws, where a stream of the language would go on with the text cut short.
class TextStream : public std::ostringstream {
public:
    TextStream() { exceptions(badbit); }
};

}  // namespace qx::tool
