#include "files/NamedInput.h"

#include "files/FileAccess.h"
#include "files/InputFile.h"
#include "files/LibraryFile.h"
#include "files/NativeFile.h"

#include <limits>

namespace qx::tool {

NamedInput::NamedInput(const std::string& file, const std::string& wanted) : file_(file), name_(file) {
    if (streamOfInput(file)) {
        const std::string content = readWhole(file, wanted, std::numeric_limits<int>::max());
        folder_.emplace();
        name_ = folder_->add("stream");
        writeFile(name_, content);
    } else {
        // Tells why a file cannot be read, which the library does not.
        InputFile(file, wanted);
        requireLibraryName(file);
    }
}

}  // namespace qx::tool
