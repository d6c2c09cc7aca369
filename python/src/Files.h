// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/BaseImage.h>
#include <VELMOImageFile/TiffImageFileOptions.h>
#include <pybind11/pybind11.h>
#include <string>

namespace velmo::python {

/// The only place where the arguments of Python become options of a write. `nbThreads` is 0 for all cores.
image::file::TiffWriteOptions toWriteOptions(std::string const& compression, unsigned int nbThreads);

/// An array over the pixels of an image in memory, which it keeps alive, and the description of the image.
/// `path` names the file in the error about an image that has no array.
pybind11::tuple toArray(image::ImagePtr const& pImage, std::string const& path);

/// Adds the functions that read and write files to the module.
void bindFiles(pybind11::module_& module);

} // namespace velmo::python
