// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "FileExercise.h"

#include <VELMOImage/ImageAccessor.h>
#include <boost/filesystem/path.hpp>
#include <string>

namespace velmo::fuzz {

/// Where the targets of this process have their files: a folder of its own in the place for temporary files
/// (`TMPDIR`; a file system in memory is what makes a fuzzer quick), removed at the end of the process.
///
/// The process is made fit for millions of failures: nothing is logged, libtiff says nothing, and no file can
/// be made larger than 64 MiB.
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

/// Takes an open file through an exercise; ends the process where the file contradicts itself.
void exerciseOrAbort(image::BaseDiskImageAccessor const& accessor,
                     tool::ExerciseLimits const& limits = getFuzzLimits());

/// Ends the process with a word on standard error.
[[noreturn]] void abortWith(std::string const& text);

/// The bytes of a file, which must be there.
std::string readBytes(boost::filesystem::path const& path);

} // namespace velmo::fuzz
