// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <pybind11/pybind11.h>

namespace velmo::python {

/// Adds the functions that import TIFF files, and the class of their options, to the module.
void bindImport(pybind11::module_& module);

} // namespace velmo::python
