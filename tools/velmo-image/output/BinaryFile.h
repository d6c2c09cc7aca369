// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <boost/filesystem/path.hpp>
#include <string>

namespace velmo::tool {

/// A file that is read and written at given places. Failures are thrown as WorkFailure and name the file.
class BinaryFile {
  public:
    explicit BinaryFile(boost::filesystem::path const& path);
    ~BinaryFile();
    BinaryFile(BinaryFile const&) = delete;
    BinaryFile& operator=(BinaryFile const&) = delete;

    /// In bytes, when it was opened.
    vlUInt64 getSize() const { return _size; }
    /// As many bytes as asked for, fewer only at the end of the file.
    std::string read(vlUInt64 offset, std::size_t nbBytes) const;
    void write(vlUInt64 offset, std::string const& bytes);
    /// To be called after the last write: some file systems report a failure only here.
    void close();

  private:
    boost::filesystem::path _path;
    int _descriptor;
    vlUInt64 _size = 0;
};

} // namespace velmo::tool
