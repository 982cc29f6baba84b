#include "results/SubjectImage.h"

#include "results/Subject.h"

#include <utility>

namespace qx::tool {

SubjectImage::SubjectImage(std::string file, const Shape& shape) : file_(std::move(file)), shape_(shape) {}

const LoadedImage& SubjectImage::counts() {
    if (!counts_)
        counts_ = loadImageFile(file_, shape_);
    return *counts_;
}

const FloatImage& SubjectImage::floats() {
    if (!floats_)
        floats_ = loadFloatImage(file_, shape_);
    return *floats_;
}

const Subject& SubjectImage::subjectOfCounts() {
    if (!subject_)
        subject_ = subjectOf(file_, counts());
    return *subject_;
}

const Subject& SubjectImage::subjectOfFloats() {
    if (!subject_)
        subject_ = subjectOf(file_, floats());
    return *subject_;
}

}  // namespace qx::tool
