// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <pybind11/pybind11.h>

namespace velmo::python {

/// Stores the records of the library's log from now on, until `deliverLog` passes them to Python. Storing a
/// record never needs the interpreter lock, so that any thread may log at any time, also while the
/// interpreter shuts down. Called once, when the module is imported.
void startLogQueue();

/// Passes the stored records to the logger "velmo_image", in their order. Never throws: an exception of a
/// handler is reported by sys.unraisablehook. The caller holds the interpreter lock.
void deliverLog() noexcept;

} // namespace velmo::python
