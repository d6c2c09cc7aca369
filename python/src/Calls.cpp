// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Calls.h"

#include "Text.h"

#include <unistd.h>

namespace velmo::python {

namespace py = pybind11;

namespace {

bool isFinalizing() {
#if PY_VERSION_HEX >= 0x030D0000
    return Py_IsFinalizing() != 0;
#else
    return _Py_IsFinalizing() != 0;
#endif
}

} // namespace

void setError(std::string const& message, std::string const& path, MessageIds const& messageIds) {
    deliverLog();
    py::list ids;
    for (MessageId const& messageId : messageIds.getAll()) {
        ids.append(py::make_tuple(messageId.domain, messageId.id));
    }
    py::object const type = py::module_::import("velmo_image._errors").attr("VelmoImageError");
    py::object const filename = path.empty() ? py::object(py::none()) : toPython(path);
    py::object const error = type(toPython(message), filename, py::tuple(ids));
    PyErr_SetObject(type.ptr(), error.ptr());
}

void raiseError(std::string const& message, std::string const& path, MessageIds const& messageIds) {
    setError(message, path, messageIds);
    throw py::error_already_set();
}

void requireSuccess(std::string const& path, BoolResult const& result) {
    if (!result) {
        raiseError(result.getMessage(), path, result.getMessageIds());
    }
}

void takeInterpreterLock(PyThreadState* pState) {
    while (isFinalizing()) {
        pause();
    }
    PyEval_RestoreThread(pState);
}

} // namespace velmo::python
