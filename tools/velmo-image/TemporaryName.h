// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <string>
#include <sys/types.h>

namespace velmo {
namespace tool {

/// Whether a file of this name is an output that is not finished: of a run that still writes, or of one that
/// was killed.
bool isTemporaryName(std::string const& name);

/// An empty file of its own beside `target`, which is removed unless it was given another name. What killed
/// runs left in the same folder is removed as well.
class TemporaryName {
  public:
    /// Throws WorkFailure, with the name of the target, where the file cannot be created.
    TemporaryName(boost::filesystem::path const& target, mode_t mode);
    ~TemporaryName();
    TemporaryName(TemporaryName const&) = delete;
    TemporaryName& operator=(TemporaryName const&) = delete;

    boost::filesystem::path const& getPath() const { return _path; }
    /// Throws WorkFailure; without `bReplace` also where a file of that name is there.
    void rename(boost::filesystem::path const& target, bool bReplace);

  private:
    boost::filesystem::path _path;
    int _descriptor = -1; ///< its lock tells other runs that this one lives
    bool _bRenamed = false;
};

} // namespace tool
} // namespace velmo
