// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <boost/filesystem/path.hpp>
#include <memory>

namespace velmo::importer {

/// A file that is open for reading. Any thread may read. The file is not memory-mapped: if another process
/// truncates it, reads return fewer bytes.
class InputFile {
  public:
    /// Throws ImportException if the file cannot be opened or is not seekable.
    explicit InputFile(boost::filesystem::path const& path);
    ~InputFile();
    InputFile(InputFile const&) = delete;
    InputFile& operator=(InputFile const&) = delete;

    boost::filesystem::path const& getPath() const { return _path; }
    /// Bytes of the file when it was opened.
    vlUInt64 getSize() const { return _size; }
    /// Reads at most `nbBytes` bytes. Returns their number, which is smaller at the end of the file and after
    /// an error.
    vlUInt64 readAt(vlUInt64 offset, void* pBuffer, vlUInt64 nbBytes) const;

  private:
    boost::filesystem::path const _path;
    int _descriptor = -1;
    vlUInt64 _size = 0;
};

using InputFilePtr = std::shared_ptr<InputFile const>;

} // namespace velmo::importer
