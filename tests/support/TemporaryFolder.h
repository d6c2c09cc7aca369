// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <string>

namespace velmo::test {

/// A new folder in the system's place for temporary files; removed with all it holds at the end of its life.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(TemporaryFolder const&) = delete;
    TemporaryFolder& operator=(TemporaryFolder const&) = delete;

    boost::filesystem::path const& getPath() const { return _path; }
    boost::filesystem::path operator/(std::string const& name) const { return _path / name; }

  private:
    boost::filesystem::path _path;
};

/// The bytes of a file; a failed test where it cannot be read.
std::string readFile(boost::filesystem::path const& path);
void writeFile(boost::filesystem::path const& path, std::string const& bytes);

} // namespace velmo::test
