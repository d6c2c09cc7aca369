// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Export.h"
#include "VELMOUtil/Types.h"

#include <boost/filesystem/path.hpp>
#include <istream>
#include <memory>

namespace velmo {

/// A file of any kind as a stream that is read once, from its start to its end: an ordinary file, a pipe, a
/// terminal or another device. It cannot be positioned.
///
/// The stream ends early where the file cannot be opened or read; `getFailure` tells. A pipe is waited for as
/// long as a process holds it open for writing; one without such a process fails after two seconds. What is
/// no ordinary file fails after 16 MiB, as it may have no end. For one thread at a time.
class VELMO_HOST_EXPORT SequentialFile : public std::istream {
  public:
    /// Most bytes of what is no ordinary file.
    static constexpr vlUInt64 s_maxStreamSize = vlUInt64{1} << 24U;
    /// How long a pipe without a writer is waited for.
    static constexpr int s_maxSecondsWithoutWriter = 2;

    /// Opens the file. A pipe without a writer is not waited for before the first read.
    explicit SequentialFile(boost::filesystem::path const& path);
    ~SequentialFile() override;
    SequentialFile(SequentialFile const&) = delete;
    SequentialFile& operator=(SequentialFile const&) = delete;

    /// Why the file could not be opened, or not be read to its end; empty without such a failure so far.
    std::string const& getFailure() const;

  private:
    class Buffer;
    std::unique_ptr<Buffer> _pBuffer;
};

} // namespace velmo
