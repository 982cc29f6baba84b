#include "Arrays.h"
#include "Binding.h"

#include "QxUtils/Correction.h"

#include <array>

namespace qx::python {

namespace {

using py::arg;

static_assert(sizeof(DefectEntry) == 4 * sizeof(int));

// Numbers that belong to an object of Python: a view of them that nobody writes to.
py::array viewOf(const py::object& owner, const int* data, std::vector<py::ssize_t> shape) {
    py::array_t<int> view(std::move(shape), data, owner);
    view.attr("flags").attr("writeable") = false;
    return view;
}

template <std::vector<int> VectorDefect::*kList>
py::array pixelsOf(const py::object& defects) {
    const std::vector<int>& pixels = defects.cast<const VectorDefect&>().*kList;
    return viewOf(defects, pixels.data(), {static_cast<py::ssize_t>(pixels.size())});
}

py::array entriesOf(const py::object& owner, const std::vector<DefectEntry>& entries) {
    const int* numbers = entries.empty() ? nullptr : &entries.front().x1;
    return viewOf(owner, numbers, {static_cast<py::ssize_t>(entries.size()), 4});
}

// Pairs of a group's header and its entries.
template <class Group, std::vector<Group> DefectInfo::*kGroups>
py::list groupsOf(const py::object& defects) {
    py::list groups;
    for (const Group& group : defects.cast<const DefectInfo&>().*kGroups)
        groups.append(
            py::make_tuple(py::tuple(py::cast(std::to_array(group.header))), entriesOf(defects, group.entries)));
    return groups;
}

bool isStructured(const std::string& name) {
    return name == "NormalStructurizedDefect.cal" || name == "FactoryStructurizedDefect.cal";
}

py::object readDefects(const py::object& path) {
    const Path file = splitPath(path);
    VectorDefect classic;
    DefectInfo structured;
    require(released([&] {
        return getDefectIndexFromDefectFile(file.directory.c_str(), file.name.c_str(), &classic, &structured);
    }));
    return isStructured(file.name) ? py::cast(std::move(structured)) : py::cast(std::move(classic));
}

FileHeadInfo defectHeader(const py::object& path) {
    const Path file = splitPath(path);
    FileHeadInfo info{};
    require(released([&] { return getDefectHeadInfo(file.directory.c_str(), file.name.c_str(), &info); }));
    return info;
}

void bindHeader(py::module_& module) {
    py::class_<FileHeadInfo>(module, "DefectHeader", "The numbers of a defect file's header; offsets in bytes.")
        .def_readonly("width", &FileHeadInfo::imageWidth)
        .def_readonly("height", &FileHeadInfo::imageHeight)
        .def_readonly("point_count", &FileHeadInfo::pointCount)
        .def_readonly("point_offset", &FileHeadInfo::pointOffset)
        .def_readonly("row_count", &FileHeadInfo::rowCount)
        .def_readonly("row_offset", &FileHeadInfo::rowOffset)
        .def_readonly("column_count", &FileHeadInfo::columnCount)
        .def_readonly("column_offset", &FileHeadInfo::columnOffset)
        .def_readonly("cluster_count", &FileHeadInfo::clusterCount)
        .def_readonly("cluster_offset", &FileHeadInfo::clusterOffset);
    define(module, "read_defect_header", "getDefectHeadInfo", "Reads a defect file's header.", defectHeader,
           arg("path"));
}

}  // namespace

void bindDefects(py::module_& module) {
    py::class_<VectorDefect>(
        module, "Defects",
        "Flat pixel indices of a classic defect file, as arrays that are not written to; -1 ends a "
        "cluster.")
        .def_property_readonly("points", pixelsOf<&VectorDefect::points>)
        .def_property_readonly("clusters", pixelsOf<&VectorDefect::clusters>)
        .def_property_readonly("rows", pixelsOf<&VectorDefect::rows>)
        .def_property_readonly("columns", pixelsOf<&VectorDefect::columns>);
    py::class_<DefectInfo>(module, "StructuredDefects",
                           "The lists of a structured defect file: entries are rows x1, y1, x2, y2, groups pairs of "
                           "their header's numbers and their entries.")
        .def_property_readonly(
            "points",
            [](const py::object& defects) { return entriesOf(defects, defects.cast<const DefectInfo&>().points); })
        .def_property_readonly("clusters", groupsOf<ClusterGroup, &DefectInfo::clusters>)
        .def_property_readonly("rows", groupsOf<LineGroup, &DefectInfo::rows>)
        .def_property_readonly("columns", groupsOf<LineGroup, &DefectInfo::columns>);
    define(module, "read_defects", "getDefectIndexFromDefectFile",
           "Reads a defect file: StructuredDefects of the two names for them, Defects of all others.", readDefects,
           arg("path"));
    bindHeader(module);
}

}  // namespace qx::python
