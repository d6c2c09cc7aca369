// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Calls.h"
#include "Description.h"
#include "Files.h"
#include "Import.h"
#include "LogQueue.h"
#include "Source.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <pybind11/pybind11.h>
#include <utility>

// The compiled part of the package velmo_image. Its functions check their arguments for memory safety; the
// modules in Python check them for their meaning.
PYBIND11_MODULE(_core, module) {
    using namespace velmo;
    module.doc() = "The compiled part of velmo_image. Its names may change in any version.";
    pybind11::register_local_exception_translator([](std::exception_ptr pError) {
        try {
            std::rethrow_exception(std::move(pError));
        } catch (BaseException const& error) { // of a call that is not about a file
            python::setError(error.what(), "", error.getMessageIds());
        }
    });
    image::file::captureTiffMessages();
    python::startLogQueue();
    python::bindDescription(module);
    python::bindSource(module);
    python::bindFiles(module);
    python::bindImport(module);
}
