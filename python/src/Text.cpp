// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Text.h"

namespace velmo::python {

namespace py = pybind11;

namespace {

template <class Object>
Object take(PyObject* pNew) {
    if (pNew == nullptr) {
        throw py::error_already_set();
    }
    return py::reinterpret_steal<Object>(pNew);
}

} // namespace

py::str toPython(std::string const& text) {
    return take<py::str>(
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "surrogateescape"));
}

std::string toBytes(py::str const& text) {
    return take<py::bytes>(PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape"));
}

} // namespace velmo::python
