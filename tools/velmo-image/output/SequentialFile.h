// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdio>
#include <string>

namespace velmo::tool {

/// A file, a pipe or a device that is written from the beginning to the end. Failures are thrown as
/// WorkFailure and name the file.
class SequentialFile {
  public:
    explicit SequentialFile(boost::filesystem::path const& path);
    ~SequentialFile();
    SequentialFile(SequentialFile const&) = delete;
    SequentialFile& operator=(SequentialFile const&) = delete;

    void write(std::string const& bytes);
    /// To be called after the last write, which can fail only here.
    void close();

  private:
    boost::filesystem::path const _path;
    std::FILE* _pFile;
};

} // namespace velmo::tool
