#include "Arrays.h"
#include "Binding.h"

#include "QxUtils/Files.h"

#include <cstdlib>
#include <memory>

namespace qx::python {

namespace {

using py::arg;

// A joined path beyond this length ends the process in cleanFile.
constexpr std::size_t kLongestPath = 255;

constexpr const char* kNoDirectory = "The directory cannot be listed.";

void writeImage(const py::object& path, const py::object& pixels) {
    if (!py::isinstance<py::array>(pixels))
        refuseArray(pixels, "image", "any type");
    const auto image = py::reinterpret_borrow<py::array>(pixels);
    if (py::cast<bool>(image.dtype().attr("hasobject")))
        throw py::type_error("image: a file holds no objects");
    if ((image.flags() & py::array::c_style) == 0)
        throw py::value_error("image: a C-contiguous array is needed; numpy.ascontiguousarray makes one");
    if (image.nbytes() > INT_MAX)
        throw Failure{StatusWrongParameter};
    const Path file = splitPath(path);
    const Hold hold(image);
    const auto* bytes = static_cast<const char*>(image.data());
    const int size = static_cast<int>(image.nbytes());
    require(released([&] { return writeImageToDisk(file.directory.c_str(), file.name.c_str(), bytes, size); }));
}

// The file's first bytes, of which those behind the header are the result's elements.
py::array readImage(const py::object& path, const std::vector<py::ssize_t>& shape, const py::object& elements,
                    int headerBytes) {
    const py::dtype type = py::dtype::from_args(elements);
    py::ssize_t count = 1;
    for (const py::ssize_t side : shape)
        if (side < 0 || __builtin_mul_overflow(count, side, &count))
            throw Failure{StatusWrongParameter};
    if (py::cast<bool>(type.attr("hasobject")))
        throw py::type_error("dtype: a file holds no objects");
    py::ssize_t size = 0;
    if (headerBytes < 0 || __builtin_mul_overflow(count, type.itemsize(), &size) || size > INT_MAX - headerBytes)
        throw Failure{StatusWrongParameter};
    const auto bytes = newArray<char>({size + headerBytes});
    const Path file = splitPath(path);
    char* data = const_cast<char*>(bytes.data());
    require(released([&] {
        return readImageFromDisk(file.directory.c_str(), file.name.c_str(), data, static_cast<int>(bytes.size()));
    }));
    return py::array(type, shape, data + headerBytes, bytes);
}

bool hasLength(const py::object& path, int length) {
    const Path file = splitPath(path);
    const int answer = released([&] { return imageWithHead(file.directory.c_str(), file.name.c_str(), length); });
    require(answer == 1 ? 0 : answer);
    return answer == 1;
}

long fileLength(const py::object& path) {
    const Path file = splitPath(path);
    long length = 0;
    require(released([&] { return getImageSize(file.directory.c_str(), file.name.c_str(), length); }));
    return length;
}

void emptyFile(const py::object& path) {
    const Path file = splitPath(path);
    if (file.directory.size() + file.name.size() > kLongestPath)
        throw Failure{StatusFileOpenFailed};
    require(released([&] { return cleanFile(file.directory.c_str(), file.name.c_str()); }));
}

void copyOneFile(const py::object& destination, const py::object& source) {
    const std::string to = pathText(destination);
    const std::string from = pathText(source);
    require(released([&] { return copyFile(to.c_str(), from.c_str()); }));
}

unsigned long fileCrc(const py::object& path) {
    const Path file = splitPath(path);
    unsigned long crc = 0;
    require(released([&] { return readLocalCRC(file.directory.c_str(), file.name.c_str(), crc); }));
    return crc;
}

struct ImageHeader {
    DetectorFileHead file;
    DetectorInfoHead detector;
    PcImgHead host;
    float temperature;
};

ImageHeader imageHeader(const py::object& header) {
    if (PyObject_CheckBuffer(header.ptr()) == 0)
        throw py::type_error("header: bytes are needed, not " +
                             std::string(py::str(py::type::of(header).attr("__name__"))));
    const py::buffer_info bytes = py::reinterpret_borrow<py::buffer>(header).request();
    if (bytes.ndim != 1 || bytes.itemsize != 1 || bytes.size < kImageHeaderBytes || bytes.strides[0] != 1)
        throw Failure{StatusWrongParameter};
    ImageHeader read{};
    const auto* text = static_cast<const char*>(bytes.ptr);
    getDetectorFileHeadFromImageHead(&read.file, text);
    getDetectorInfoHeadFromImageHead(&read.detector, text);
    getPcImageHeadFromImageHead(&read.host, text);
    read.temperature = getTemperatureFromImageHead(text);
    return read;
}

bool pathExists(const py::object& path) {
    std::string text = pathText(path);
    char* characters = text.data();
    return released([&] { return CheckDirPath(characters); }) == 0;
}

double directoryBytes(const py::object& path) {
    const std::string directory = directoryText(path);
    return released([&] { return getDirectorySpace(directory.c_str()); });
}

int fileCount(const py::object& path) {
    const std::string directory = directoryText(path);
    int count = 0;
    require(released([&] { return getFileNumInDirectory(directory.c_str(), count); }), kNoDirectory);
    return count;
}

py::list filesByCreationTime(const py::object& path) {
    const std::string directory = directoryText(path);
    _WIN32_FIND_DATAA* entries = nullptr;
    int count = 0;
    require(released([&] { return sortFileByCreateTime(directory.c_str(), entries, count); }), kNoDirectory);
    const std::unique_ptr<_WIN32_FIND_DATAA, void (*)(void*)> owner(entries, std::free);
    py::list names;
    for (int i = 0; i < count; ++i)
        names.append(py::reinterpret_steal<py::str>(PyUnicode_DecodeFSDefault(entries[i].cFileName)));
    return names;
}

void bindHeader(py::module_& module) {
    py::class_<ImageHeader>(module, "ImageHeader", "What the header in front of an image's pixels tells.")
        .def_property_readonly("width", [](const ImageHeader& header) { return header.file.width; })
        .def_property_readonly("height", [](const ImageHeader& header) { return header.file.height; })
        .def_property_readonly("detector_type", [](const ImageHeader& header) { return header.detector.detectorType; })
        .def_property_readonly("integration_time_ms",
                               [](const ImageHeader& header) { return header.detector.integrationTime; })
        .def_readonly("temperature_c", &ImageHeader::temperature)
        .def_property_readonly("host_bytes", [](const ImageHeader& header) {
            return py::bytes(header.host.stored, sizeof(header.host.stored));
        });
    define(module, "image_header",
           "getDetectorFileHeadFromImageHead getDetectorInfoHeadFromImageHead getPcImageHeadFromImageHead "
           "getTemperatureFromImageHead",
           "What an image header tells; QxError 1020 unless it holds 65536 bytes.", imageHeader, arg("header"));
}

void bindDirectories(py::module_& module) {
    define(module, "path_exists", "CheckDirPath", "Whether there is a file or a directory.", pathExists, arg("path"));
    define(module, "directory_bytes", "getDirectorySpace", "Bytes of the files in a directory.", directoryBytes,
           arg("directory"));
    define(module, "file_count", "getFileNumInDirectory",
           "The regular files in a directory; QxError 1 when it cannot be listed.", fileCount, arg("directory"));
    define(module, "files_by_creation_time", "sortFileByCreateTime",
           "Their names, oldest first; QxError 1 as file_count.", filesByCreationTime, arg("directory"));
}

}  // namespace

void bindFiles(py::module_& module) {
    define(module, "write_image", "writeImageToDisk", "Writes an array's bytes as a file.", writeImage, arg("path"),
           arg("image"));
    define(module, "read_image", "readImageFromDisk",
           "Reads an array of a shape (rows first) and dtype that begins behind header_bytes.", readImage, arg("path"),
           arg("shape"), arg("dtype") = py::dtype::of<WORD>(), py::kw_only(), arg("header_bytes") = 0);
    define(module, "has_length", "imageWithHead", "Whether a file is that many bytes long.", hasLength, arg("path"),
           arg("length"));
    define(module, "file_length", "getImageSize", "A file's length in bytes.", fileLength, arg("path"));
    define(module, "empty_file", "cleanFile", "Empties a file; QxError 1039 for a path above 255 bytes.", emptyFile,
           arg("path"));
    define(module, "copy_file", "copyFile", "Copies a file; the destination comes first.", copyOneFile,
           arg("destination"), arg("source"));
    define(module, "file_crc", "readLocalCRC", "CRC-32 of a file, the same as zlib.crc32 of its bytes.", fileCrc,
           arg("path"));
    bindHeader(module);
    bindDirectories(module);
}

}  // namespace qx::python
