// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Source.h"

#include "Calls.h"
#include "Region.h"
#include "Text.h"

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImage/ImageFactory.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <pybind11/stl.h>
#include <sstream>

namespace velmo::python {

namespace py = pybind11;
using namespace image;

namespace {

BoolResult openRecord(std::string const& record, DiskImagePtr& pImage) {
    std::istringstream stream(record);
    BinaryIArchive archive(stream);
    auto const pAccessor = readObjectOf<BaseDiskImageAccessor>(archive, "accessor");
    return pAccessor ? ImageFactory::getInstance().createDiskImage(pAccessor, pImage)
                     : failure("The record has no accessor");
}

StridedMemory toMemory(py::array& array) {
    StridedMemory memory{static_cast<std::byte*>(array.mutable_data()), {}};
    for (std::size_t axis = 0; axis < memory.strides.size(); ++axis) {
        memory.strides[axis] = array.strides(static_cast<py::ssize_t>(axis));
    }
    return memory;
}

} // namespace

Source::Source(ImagePtr const& pImage, std::string const& path)
    : _pImage(pImage), _path(path), _description(describe(*pImage, path)) {}

Source Source::restore(std::string const& record, std::string const& path,
                       std::string const& userProperties) {
    DiskImagePtr pImage;
    requireSuccess(path, runOnFile(path, [&] { return openRecord(record, pImage); }));
    pImage->setUserPropertiesStr(userProperties);
    return Source(pImage, path);
}

void Source::read(std::array<vlUInt64, 5> const& first, std::array<std::int64_t, 5> const& step,
                  py::array& out) const {
    if (out.ndim() != 5 || !out.dtype().equal(getDtype(_description))) {
        throw std::invalid_argument("the array has another type or another number of dimensions");
    }
    Region region{};
    for (std::size_t axis = 0; axis < region.size(); ++axis) {
        region[axis] = {first[axis], step[axis],
                        static_cast<vlUInt64>(out.shape(static_cast<py::ssize_t>(axis)))};
    }
    requireInside(*_description.pGeometry, region);
    StridedMemory const memory = toMemory(out);
    ImagePtr const pImage = _pImage;
    requireSuccess(_path, runOnFile(_path, [&] { return readRegion(*pImage, region, memory); }));
}

std::string Source::getRecord() const {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    archive.writeObject("accessor", dynamic_cast<DiskImage const&>(*_pImage).getAccessor());
    return stream.str();
}

void bindSource(py::module_& module) {
    py::class_<Source>(module, "Source", "An image whose pixels stay in its file. Thread-safe.")
        .def_property_readonly( // a copy, which does not keep the file open
            "description", [](Source const& self) { return Description(self.getDescription()); },
            "All properties except the pixels.")
        .def("read", &Source::read, py::arg("first"), py::arg("step"), py::arg("out").noconvert(),
             "Reads the pixels from `first` on, `step` apart along each axis, into an array of 5 dimensions.")
        .def(py::pickle(
            [](Source const& self) {
                return py::make_tuple(py::bytes(self.getRecord()), py::bytes(self.getPath()),
                                      py::bytes(self.getDescription().userProperties));
            },
            [](py::tuple const& state) {
                return Source::restore(state[0].cast<std::string>(), state[1].cast<std::string>(),
                                       state[2].cast<std::string>());
            }));
}

} // namespace velmo::python
