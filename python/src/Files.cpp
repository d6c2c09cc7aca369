// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Files.h"

#include "ArrayImage.h"
#include "Calls.h"
#include "Source.h"
#include "Text.h"

#include <VELMOImage/MemoryImage.h>
#include <VELMOImageFile/VELMOImageFile.h>
#include <pybind11/stl.h>

namespace velmo::python {

namespace py = pybind11;
using namespace image;

namespace {

/// `nbThreads` is 0 for all cores.
processor::ProcessorDispatchPolicy toThreads(unsigned int nbThreads) {
    return nbThreads == 0 ? file::useAllProcessors() : file::useThreads(nbThreads);
}

/// The only place where the arguments of Python become options of a read.
file::TiffReadOptions toReadOptions(std::string const& directories, std::string const& pixels,
                                    unsigned int nbThreads) {
    file::TiffReadOptions options;
    options.threads = toThreads(nbThreads);
    options.directories = directories == "t" ? file::eTDM_Temporal : file::eTDM_Volume;
    options.pixels = pixels == "binary"  ? file::eTBM_Binary
                     : pixels == "label" ? file::eTBM_Label
                                         : file::eTBM_Default;
    return options;
}

py::object toArrayOrNone(ImagePtr const& pImage, std::string const& path) {
    return pImage ? py::object(toArray(pImage, path)) : py::none();
}

py::tuple loadTiff(std::string const& path, std::string const& directories, std::string const& pixels,
                   unsigned int nbThreads) {
    auto const options = toReadOptions(directories, pixels, nbThreads);
    return toArray(runOnFile(path, [&] { return file::loadTiffImageFile(path, options); }), path);
}

Source openTiff(std::string const& path, std::string const& directories, std::string const& pixels,
                unsigned int nbThreads) {
    auto const options = toReadOptions(directories, pixels, nbThreads);
    return Source(runOnFile(path, [&] { return file::openTiffImageFile(path, options); }), path);
}

py::object loadFolder(std::string const& folder, std::string const& pattern, std::string const& along,
                      std::string const& pixels, unsigned int nbThreads) {
    auto const options = toReadOptions(along, pixels, nbThreads);
    return toArrayOrNone(
        runOnFile(folder, [&] { return file::loadTiffImageFiles(folder, pattern, options); }), folder);
}

std::optional<Source> openFolder(std::string const& folder, std::string const& pattern,
                                 std::string const& along, std::string const& pixels,
                                 unsigned int nbThreads) {
    auto const options = toReadOptions(along, pixels, nbThreads);
    ImagePtr const pImage =
        runOnFile(folder, [&] { return file::openTiffImageFiles(folder, pattern, options); });
    return pImage ? std::optional(Source(pImage, folder)) : std::nullopt;
}

py::tuple loadIm6(std::string const& path) {
    return toArray(runOnFile(path, [&] { return file::loadIm6ImageFile(path); }), path);
}

/// The accessor of an Im6 file as an image: the library has no function for it.
BoolResult openIm6Image(std::string const& path, DiskImagePtr& pImage) {
    auto const pFile = boost::make_shared<file::Im6ImageFile>();
    BoolResult result = pFile->openFile(path, eIAM_ReadOnly);
    return result ? ImageFactory::getInstance().createDiskImage(pFile, pImage) : result;
}

Source openIm6(std::string const& path) {
    DiskImagePtr pImage;
    requireSuccess(path, runOnFile(path, [&] { return openIm6Image(path, pImage); }));
    return Source(pImage, path);
}

py::tuple loadRaw(std::string const& path, Description const& description, vlUInt64 offset) {
    return toArray(
        runOnFile(path, [&] { return file::loadRawImageFile(path, *description.pGeometry, offset); }), path);
}

Source openRaw(std::string const& path, Description const& description, vlUInt64 offset) {
    return Source(
        runOnFile(path, [&] { return file::openRawImageFile(path, *description.pGeometry, offset); }), path);
}

/// Throws std::invalid_argument if the memory of the array does not fit the description.
ImageConstPtr toImage(py::array const& array, Description const& description) {
    auto const shape = getShape(description);
    bool bFits = array.ndim() == 5 && (array.flags() & py::array::c_style) != 0 &&
                 array.dtype().equal(getDtype(description));
    for (std::size_t axis = 0; bFits && axis < shape.size(); ++axis) {
        bFits = static_cast<vlUInt64>(array.shape(static_cast<py::ssize_t>(axis))) == shape[axis];
    }
    if (!bFits) {
        throw std::invalid_argument("the array is not C-contiguous, or it does not fit the description");
    }
    return boost::make_shared<ArrayImage>(description, array.data());
}

void saveTiff(std::string const& path, py::array const& array, Description const& description,
              std::string const& compression, unsigned int nbThreads) {
    ImageConstPtr const pImage = toImage(array, description);
    auto const options = toWriteOptions(compression, nbThreads);
    runOnFile(path, [&] { return file::saveTiffImageFile(path, pImage, options), true; });
}

void saveRaw(std::string const& path, py::array const& array, Description const& description,
             std::string const& header) {
    ImageConstPtr const pImage = toImage(array, description);
    file::RawWriteOptions options;
    options.fileHeader = header;
    runOnFile(path, [&] { return file::saveRawImageFile(path, pImage, options), true; });
}

} // namespace

file::TiffWriteOptions toWriteOptions(std::string const& compression, unsigned int nbThreads) {
    file::TiffWriteOptions options;
    options.threads = toThreads(nbThreads);
    options.compression = compression == "lzw"       ? file::eTC_Lzw
                          : compression == "deflate" ? file::eTC_Deflate
                                                     : file::eTC_None;
    return options;
}

py::tuple toArray(ImagePtr const& pImage, std::string const& path) {
    Description const description = describe(*pImage, path);
    void* pPixels = nullptr;
    if (description.pGeometry->getFullMemorySize() != 0) {
        pPixels = dynamic_cast<MemoryImage&>(*pImage).getDataPtr();
    }
    py::capsule const owner(new ImagePtr(pImage),
                            [](void* pOwner) { delete static_cast<ImagePtr*>(pOwner); });
    auto const shape = getShape(description);
    py::array const array(getDtype(description), std::vector<py::ssize_t>(shape.begin(), shape.end()),
                          pPixels, owner);
    return py::make_tuple(array, description);
}

void bindFiles(py::module_& module) {
    char const* const load = "Loads an image: an array that owns its memory, and the description.";
    char const* const open = "Opens an image whose pixels stay in the file.";
    char const* const save = "Writes an array of 5 dimensions from its own memory.";
    module.def("load_tiff", &loadTiff, py::arg("path"), py::arg("directories"), py::arg("pixels"),
               py::arg("threads"), load);
    module.def("open_tiff", &openTiff, py::arg("path"), py::arg("directories"), py::arg("pixels"),
               py::arg("threads"), open);
    module.def("load_folder", &loadFolder, py::arg("folder"), py::arg("pattern"), py::arg("along"),
               py::arg("pixels"), py::arg("threads"), "Joins files into an image; None if no name matches.");
    module.def("open_folder", &openFolder, py::arg("folder"), py::arg("pattern"), py::arg("along"),
               py::arg("pixels"), py::arg("threads"), "Opens files as one image; None if no name matches.");
    module.def("load_im6", &loadIm6, py::arg("path"), load);
    module.def("open_im6", &openIm6, py::arg("path"), open);
    module.def("load_raw", &loadRaw, py::arg("path"), py::arg("description"), py::arg("offset"), load);
    module.def("open_raw", &openRaw, py::arg("path"), py::arg("description"), py::arg("offset"), open);
    module.def("save_tiff", &saveTiff, py::arg("path"), py::arg("array").noconvert(), py::arg("description"),
               py::arg("compression"), py::arg("threads"), save);
    module.def("save_raw", &saveRaw, py::arg("path"), py::arg("array").noconvert(), py::arg("description"),
               py::arg("header"), save);
}

} // namespace velmo::python
