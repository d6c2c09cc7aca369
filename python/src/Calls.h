// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "LogQueue.h"

#include <VELMOUtil/BaseException.h>
#include <VELMOUtil/BoolResult.h>
#include <boost/filesystem/exception.hpp>
#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <exception>
#include <optional>
#include <pybind11/pybind11.h>
#include <string>
#include <utility>

namespace velmo::python {

/// Sets VelmoImageError as the current error of Python, after its record in the log was passed on. `path`
/// becomes its `filename` if it is not empty. The caller holds the interpreter lock.
void setError(std::string const& message, std::string const& path, MessageIds const& messageIds);

/// The same, and throws error_already_set.
[[noreturn]] void raiseError(std::string const& message, std::string const& path,
                             MessageIds const& messageIds = {});

/// Raises VelmoImageError if the result of an access to the file `path` is a failed one.
void requireSuccess(std::string const& path, BoolResult const& result);

/// Takes the interpreter lock again. If the interpreter is shutting down, the calling thread stops for ever,
/// as no thread other than the main one may then run Python code. Not a destructor, because the interpreter
/// may end the thread in here.
void takeInterpreterLock(PyThreadState* pState);

/// Runs `run` without the interpreter lock, so that other Python threads continue, passes the records that
/// the log has then to Python, and returns the result.
template <class Run>
auto runUnlocked(Run const& run) {
    std::optional<decltype(run())> result;
    std::exception_ptr pError;
    PyThreadState* const pState = PyEval_SaveThread();
    try {
        result = run();
    } catch (...) {
        pError = std::current_exception();
    }
    takeInterpreterLock(pState);
    deliverLog();
    if (pError) {
        std::rethrow_exception(pError);
    }
    return std::move(*result);
}

/// The same for an access to the file `path`: errors of the library are raised as VelmoImageError.
template <class Run>
auto runOnFile(std::string const& path, Run const& run) {
    try {
        return runUnlocked(run);
    } catch (BaseException const& error) {
        raiseError(error.what(), path, error.getMessageIds());
    } catch (boost::filesystem::filesystem_error const& error) {
        raiseError(error.what(), path);
    } catch (boost::bad_lexical_cast const& error) { // a number in a file name that overflows 64 bits
        raiseError(error.what(), path);
    }
}

} // namespace velmo::python
