#include "Arrays.h"
#include "Binding.h"

#include "QxUtils/Files.h"

namespace qx::python {

namespace {

using py::arg;

// As many characters between the markers of a gain image's name end the process.
constexpr std::size_t kTooManyDigits = 50;

int gainExposureTime(const std::string& name) {
    const std::size_t before = name.find("ms-");
    const std::size_t end = name.find("-mA");
    if (before == name.npos || end == name.npos || end < before + 3 || end - before - 3 >= kTooManyDigits)
        throw Failure{StatusWrongParameter};
    return getGainExpTime(name.c_str());
}

py::object scrambled(const py::object& bytes, bool inPlace) {
    return changed<unsigned char>(bytes, "data", Shape::Any, inPlace, [](const Array<unsigned char>& data) {
        return codecData(reinterpret_cast<char*>(data.data()), data.count());
    });
}

// The bytes object is filled where it lies.
py::bytes newBytes(std::size_t size, char** data) {
    auto bytes = py::reinterpret_steal<py::bytes>(PyBytes_FromStringAndSize(nullptr, static_cast<Py_ssize_t>(size)));
    if (!bytes)
        throw py::error_already_set();
    *data = PyBytes_AS_STRING(bytes.ptr());
    return bytes;
}

py::str encoded(const py::bytes& source) {
    const std::string_view bytes = source;
    if (bytes.size() > INT_MAX)
        throw Failure{StatusWrongParameter};
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    released([&] { return base64_encode(bytes.data(), text.data(), static_cast<int>(bytes.size())); });
    return py::str(text.data(), text.size() - 1);
}

py::bytes decoded(const std::string& text) {
    if (text.size() > INT_MAX)
        throw Failure{StatusWrongParameter};
    char* data = nullptr;
    const py::bytes room = newBytes((text.size() + 3) / 4 * 3, &data);
    const int length = released([&] { return base64_decode(text.c_str(), data); });
    return py::bytes(data, static_cast<std::size_t>(length));
}

void decodeOneFile(const py::object& source, const py::object& destination) {
    const std::string from = pathText(source);
    const std::string to = pathText(destination);
    require(released([&] { return decodeFile(from.c_str(), to.c_str()); }));
}

std::vector<std::string> splitText(const std::string& text, const std::string& separator) {
    if (separator.size() != 1)
        throw py::value_error("separator: one ASCII character is needed");
    char** pieces = nullptr;
    int count = 0;
    const int status = released([&] { return CutString(pieces, text.c_str(), separator.front(), count); });
    std::vector<std::string> result;
    if (pieces != nullptr) {
        result.assign(pieces, pieces + count);
        deleteMemory(pieces[0]);
        deleteMemory2(pieces);
    }
    require(status);
    return result;
}

int textPosition(const std::string& text, const std::string& pattern) {
    if (text.size() > INT_MAX || pattern.size() > INT_MAX)
        throw Failure{StatusWrongParameter};
    int position = -1;
    released([&] {
        getStrPos(text.c_str(), pattern.c_str(), static_cast<int>(text.size()), static_cast<int>(pattern.size()),
                  position);
    });
    return position;
}

int pixelBorder(int pixel, int width, int height) {
    const int border = ImageBoundCheck(pixel, width, height);
    require(border == StatusWrongParameter ? border : 0);
    return border;
}

}  // namespace

void bindTexts(py::module_& module) {
    define(module, "gain_exposure_time", "getGainExpTime",
           "The number in a gain image's name; QxError 1020 without one.", gainExposureTime, arg("name"));
    define(module, "scramble", "codecData", "Scrambles uint8 elements; twice restores them.", scrambled, arg("data"),
           py::kw_only(), arg("in_place") = false);
    define(module, "base64_encode", "base64_encode", "Base64 text of bytes.", encoded, arg("source"));
    define(module, "base64_decode", "base64_decode", "The bytes of a Base64 text.", decoded, arg("text"));
    define(module, "decode_file", "decodeFile", "Decodes a file line by line; the source comes first.", decodeOneFile,
           arg("source"), arg("destination"));
    define(module, "split_text", "CutString deleteMemory deleteMemory2",
           "The pieces of a text between separators, one ASCII character.", splitText, arg("text"), arg("separator"));
    define(module, "text_position", "getStrPos", "Where a pattern begins in a text, in bytes of UTF-8; -1: nowhere.",
           textPosition, arg("text"), arg("pattern"));
    define(
        module, "is_address", "checkIP", "Whether a text is an IPv4 address.",
        [](const std::string& address) { return checkIP(address.c_str()) == 0; }, arg("address"));
    define(module, "pixel_border", "ImageBoundCheck", "On which border of an image a pixel lies.", pixelBorder,
           arg("pixel"), arg("width"), arg("height"));
}

}  // namespace qx::python
