#pragma once

#include <string>
#include <vector>

namespace qx::tool {

struct NamedFiles {
    std::vector<std::string> files;
    std::vector<std::string>
        problems;  // a line for each argument that names none, and each folder below that cannot be read
};

// The files that arguments name, in the order given: a file by its name, a folder by the files in it whose names end in
// one of the endings, sorted, those of the folders below it too when recursive; "@list" by a text file with one name a
// line, "@-" by such lines on standard input; "-" is an image on standard input and stays. A file whose name begins
// with '@' or '-' is given with its folder, as "./@file".
NamedFiles filesNamedBy(const std::vector<std::string>& arguments, bool recursive,
                        const std::vector<std::string>& endings);

}  // namespace qx::tool
