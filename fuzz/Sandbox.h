// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "FileExercise.h"

#include <VELMOImage/ImageAccessor.h>
#include <boost/filesystem/path.hpp>
#include <string>

namespace velmo::fuzz {

/// The folder of the files of this process, in the folder for temporary files (`TMPDIR`; a fuzzer is fast if
/// this is in memory). It is removed at the end of the process.
///
/// The sandbox prepares the process for millions of errors: nothing is logged, libtiff prints nothing, and no
/// file can be larger than 64 MiB.
class Sandbox {
  public:
    static Sandbox& get();

    Sandbox(Sandbox const&) = delete;
    Sandbox& operator=(Sandbox const&) = delete;

    boost::filesystem::path operator/(std::string const& name) const { return _folder / name; }
    /// Replaces a file.
    boost::filesystem::path write(std::string const& name, std::string const& bytes) const;

  private:
    Sandbox();
    ~Sandbox();

    boost::filesystem::path _folder;
};

/// How much of a file is read.
tool::ExerciseLimits getFuzzLimits();

/// Reads an open file with `exerciseFile`. Ends the process if the results contradict each other.
void exerciseOrAbort(image::BaseDiskImageAccessor const& accessor,
                     tool::ExerciseLimits const& limits = getFuzzLimits());

/// Prints a message to the standard error and ends the process.
[[noreturn]] void abortWith(std::string const& text);

/// The bytes of a file, which must exist.
std::string readBytes(boost::filesystem::path const& path);

} // namespace velmo::fuzz
