// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/BaseException.h>
#include <boost/filesystem/path.hpp>
#include <stdexcept>
#include <string>

namespace velmo::tool {

enum eExitStatus { eES_Done = 0, eES_Failed = 1, eES_WrongUse = 2, eES_Interrupted = 130 };

/// The work cannot be done or was not finished.
class WorkFailure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The command line asks for something that does not exist or does not fit together.
class WrongUse : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The user stopped the work.
class Interrupted : public std::runtime_error {
  public:
    Interrupted() : std::runtime_error("interrupted") {}
};

/// A name or value as messages show it.
std::string quoted(std::string const& text);
/// Throws WorkFailure: "cannot `what` `path`", and what the system says of `error`.
[[noreturn]] void failAt(char const* what, boost::filesystem::path const& path, int error);
/// The message of a failure and those of its causes, a line each.
std::string getFullText(BaseException const& failure);

} // namespace velmo::tool
