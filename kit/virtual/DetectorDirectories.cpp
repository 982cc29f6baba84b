#include "DetectorDirectories.h"

#include <algorithm>
#include <system_error>

#ifdef _WIN32
#include <windows.h>
#endif

namespace qxkit {
namespace {

#ifdef _WIN32
// Texts of the kit are in the process's code page; what it lacks comes out as another character.
std::string narrow(const std::wstring& wide) {
    const int length = static_cast<int>(wide.size());
    std::string text(WideCharToMultiByte(CP_ACP, 0, wide.data(), length, nullptr, 0, nullptr, nullptr), '\0');
    WideCharToMultiByte(CP_ACP, 0, wide.data(), length, text.data(), static_cast<int>(text.size()), nullptr, nullptr);
    return text;
}

std::wstring widen(const std::string& text) {
    const int length = static_cast<int>(text.size());
    std::wstring wide(MultiByteToWideChar(CP_ACP, 0, text.data(), length, nullptr, 0), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text.data(), length, wide.data(), static_cast<int>(wide.size()));
    return wide;
}
#else
const std::string& narrow(const std::string& bytes) {
    return bytes;
}
const std::string& widen(const std::string& bytes) {
    return bytes;
}
#endif

}  // namespace

std::string toKitDirectory(const std::filesystem::path& folder) {
    const std::filesystem::path whole = (folder.empty() ? "." : folder) / "";
    std::string text = narrow(whole.native());
    std::replace(text.begin(), text.end(), '/', '\\');
    return nativePath(text).generic_u8string() == whole.generic_u8string() ? text : std::string();
}

std::filesystem::path nativePath(const std::string& kitPath) {
    std::string text = kitPath;
    std::replace(text.begin(), text.end(), '\\', '/');
    return {widen(text)};
}

std::string createFolder(const std::filesystem::path& folder) {
    if (toKitDirectory(folder).empty())
        return "no text of the kit can name the folder " + folder.string();
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    return error ? "cannot create the folder " + folder.string() + ": " + error.message() : std::string();
}

}  // namespace qxkit
