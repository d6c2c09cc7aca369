// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <pybind11/pybind11.h>

namespace velmo::python {

/// Adds the functions that read and write files to the module.
void bindFiles(pybind11::module_& module);

} // namespace velmo::python
