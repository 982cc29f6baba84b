#include "Rows.h"
#include "harness/Images.h"
#include "harness/StreamRead.h"
#include "peers/Peers.h"

#include "reference/files/PlainBase64.h"

#include <QxUtils/Files.h>

namespace {

using namespace qx::bench;

struct Encoded {
    std::shared_ptr<std::vector<char>> text;
};

// Four characters a number.
std::vector<double> toNumbers(const Encoded& encoded) {
    std::vector<std::uint32_t> groups(encoded.text->size() / sizeof(std::uint32_t));
    std::copy_n(encoded.text->data(), groups.size() * sizeof(std::uint32_t), reinterpret_cast<char*>(groups.data()));
    return {groups.begin(), groups.end()};
}

template <class Encode>
Method encoding(const std::shared_ptr<const Image>& image, Encode encode) {
    const auto text = std::make_shared<std::vector<char>>((byteCount(*image) + 2) / 3 * 4 + 1);
    return [=] {
        encode(reinterpret_cast<const char*>(image->data()), text->data(), static_cast<int>(byteCount(*image)));
        return Encoded{text};
    };
}

constexpr char kBinascii[] = R"(
import binascii
def measure(image):
    return float(len(binascii.b2a_base64(image, newline=False)))
)";

Row encodingRow(const std::shared_ptr<const Image>& image) {
    return {.ours = encoding(image, base64_encode),
            .plain = encoding(image, qx::plain::encodeBase64),
            .peerName = "Python binascii",
            .peer = numpy(kBinascii, image),
            .peerIsCompared = false,
            .limitName = "read + write",
            .limit = encoding(image, [](const char* bytes, char* text, int length) {
                streamRead(bytes, static_cast<std::size_t>(length));
                streamUpdate(text, static_cast<std::size_t>(length) / 3 * 4);
            })};
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::base64Rows() {
    return {
        {"base64_encode 18 MB", [](const Scale& scale) { return encodingRow(uniformPixels(scale.pick(3072, 150))); }},
    };
}
