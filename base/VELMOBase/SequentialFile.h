// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <istream>
#include <memory>

namespace velmo {

/// An input stream over a file of any kind: a regular file, a pipe, a terminal or another device. It is read
/// once, from start to end, and is not seekable.
///
/// If the file cannot be opened or read, the stream ends early and `getFailure` returns the reason. A pipe is
/// read as long as a process has it open for writing; without such a process it fails after two seconds. A
/// file that is not regular fails after 16 MiB, as it may have no end. Not thread-safe.
class SequentialFile : public std::istream {
  public:
    /// Maximum number of bytes of a file that is not regular.
    static constexpr std::uint64_t s_maxStreamSize = std::uint64_t{1} << 24U;
    /// Seconds to wait for a process that writes to a pipe.
    static constexpr int s_maxSecondsWithoutWriter = 2;

    /// Opens the file. The wait for the writer of a pipe starts at the first read.
    explicit SequentialFile(boost::filesystem::path const& path);
    ~SequentialFile() override;
    SequentialFile(SequentialFile const&) = delete;
    SequentialFile& operator=(SequentialFile const&) = delete;

    /// The reason why the file could not be opened or read to its end; empty if there was no failure so far.
    std::string const& getFailure() const;

  private:
    class Buffer;
    std::unique_ptr<Buffer> _pBuffer;
};

} // namespace velmo
