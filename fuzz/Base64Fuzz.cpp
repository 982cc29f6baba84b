#include "FuzzInput.h"
#include "reference/files/PlainBase64.h"

#include <QxUtils/Files.h>

#include <algorithm>
#include <vector>

using namespace qx::fuzz;

// Any bytes survive the way there and back, and any text decodes as the plain method says, in buffers of exactly the
// size that is promised to be enough.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<char> bytes(data, data + size);
    std::vector<char> text((size + 2) / 3 * 4 + 1, '#');
    require(base64_encode(bytes.data(), text.data(), static_cast<int>(size)) == text.data(), "destination is returned");
    require(qx::plain::encodedBase64({bytes.begin(), bytes.end()}) + '\0' == std::string(text.begin(), text.end()),
            "plain method's characters and a zero");
    std::vector<char> back((text.size() - 1) / 4 * 3);
    require(base64_decode(text.data(), back.data()) == static_cast<int>(size), "every byte returns");
    back.resize(size);
    require(back == bytes, "bytes return as they were");

    // Up to the first zero the input itself is a text.
    const std::string hostile(bytes.begin(), std::find(bytes.begin(), bytes.end(), '\0'));
    const std::vector<char> source(hostile.c_str(), hostile.c_str() + hostile.size() + 1);
    std::vector<char> decoded((hostile.size() + 3) / 4 * 3);
    const int count = base64_decode(source.data(), decoded.data());
    require(count >= 0 && count <= static_cast<int>(decoded.size()), "count within the promised size");
    require(qx::plain::decodedBase64(hostile) == std::string(decoded.begin(), decoded.begin() + count),
            "plain method's bytes");
    return 0;
}
