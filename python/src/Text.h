// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <pybind11/pybind11.h>
#include <string>

namespace velmo::python {

/// The text as Python stores file names: bytes that are not UTF-8 become surrogates (os.fsdecode). The caller
/// holds the interpreter lock.
pybind11::str toPython(std::string const& text);

/// The bytes of such a text. Throws UnicodeEncodeError for surrogates that do not stand for a byte.
std::string toBytes(pybind11::str const& text);

} // namespace velmo::python
