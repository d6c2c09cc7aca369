// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>

namespace velmo::tool {

/// A folder for outputs. If it does not exist, it is created, and removed again at the end of the scope
/// unless `keep` was called or it has files.
class OutputFolder {
  public:
    /// Throws WorkFailure where the folder cannot be created, or is something else.
    explicit OutputFolder(boost::filesystem::path const& path);
    ~OutputFolder();
    OutputFolder(OutputFolder const&) = delete;
    OutputFolder& operator=(OutputFolder const&) = delete;

    void keep() { _bCreated = false; }

  private:
    boost::filesystem::path const _path;
    bool _bCreated = false;
};

} // namespace velmo::tool
