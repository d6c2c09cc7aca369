// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/handle/DeflateDecoder.h"
#include "Tiff/handle/DirectoryChain.h"

#include <VELMOImage/ImageEnums.h>
#include <VELMOUtil/BoolResult.h>
#include <array>
#include <boost/filesystem/path.hpp>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

using TIFF = struct tiff;

namespace velmo::image::file {

/// What the handles of one file share: the descriptor, which is closed with the last of them, and the
/// directories.
struct TiffFile {
    explicit TiffFile(boost::filesystem::path givenPath) : path(std::move(givenPath)) {}
    ~TiffFile();
    TiffFile(TiffFile const&) = delete;
    TiffFile& operator=(TiffFile const&) = delete;

    boost::filesystem::path path;
    int descriptor = -1;
    DirectoryChain chain; ///< several threads may use it only after `count`
};

/// The strip from which a handle has read last, decoded as a whole if several parts of it were read.
struct LastStrip {
    vlUInt64 directoryOffset = 0;
    vlUInt64 strip = 0;
    vlUInt64 nextRow = 0;  ///< after the rows that libtiff has decoded one by one without an error
    bool bDecoded = false; ///< whether `bytes` contains the strip
    bool bBroken = false;  ///< whether decoding the whole strip has failed
    std::vector<std::byte> bytes;
};

/// The bytes of an open TIFF file. Both libtiff and this module read and write through it.
///
/// The file is not memory-mapped: if another process truncates it, reads return fewer bytes. Written bytes
/// are in the file at once. Small reads come from a read-ahead buffer, which every write and
/// `discardReadAhead` drop. For one thread at a time.
class TiffStream {
  public:
    /// Opens a file and returns its handle; closing the handle closes the stream. Null on failure; libtiff's
    /// message gives the reason. `mode` is libtiff's: "r", "r+", "w", "w8". A file opened with "r+" cannot be
    /// changed before `allowWrites`.
    static TIFF* open(boost::filesystem::path const& path, char const* mode);
    /// Opens another handle for reading on a file that is open for reading, for another thread. All
    /// directories of the file must have been counted. Null on failure.
    static TIFF* openAgain(std::shared_ptr<TiffFile> const& pFile);
    /// Error of the operating system in this thread's last `open`; none if the system opened the file.
    static std::error_code getOpenError();
    /// Result of this thread's last close of a file. Some file systems report failed writes only there.
    static BoolResult getCloseResult();
    /// The stream of a handle that `open` created; null for any other handle.
    static TiffStream* find(TIFF* pTiff);

    ~TiffStream();
    TiffStream(TiffStream const&) = delete;
    TiffStream& operator=(TiffStream const&) = delete;

    void allowWrites() { _bWritable = true; }
    void discardReadAhead() { _aheadSize = 0; }
    vlUInt64 getSize() const;

    /// Reads at most `nbBytes` bytes. Returns their number, which is smaller at the end of the file.
    vlUInt64 readAt(vlUInt64 offset, void* pBuffer, vlUInt64 nbBytes);
    /// Error of the last failed read; none at the end of the file. libtiff does not report why it left out a
    /// tag that it could not read.
    std::error_code const& getReadError() const { return _readError; }
    /// Whether libtiff was refused memory. It then leaves out a tag, or takes a directory for the end of the
    /// file.
    bool wasMemoryRefused() const { return _bMemoryRefused; }
    /// Number of libtiff's errors and warnings about this handle.
    vlUInt64 countMessages() const { return _nbMessages; }
    /// Whether the current directory was read from the file by `TiffDirectories::reach`, and libtiff has
    /// reported nothing since. Otherwise its state may be that of a failed access.
    bool isCurrentDirectorySound() const { return _nbMessages == _nbMessagesAtReach; }
    void setCurrentDirectorySound() { _nbMessagesAtReach = _nbMessages; }
    /// The next access reads its directory and strips from the file.
    void forgetLastRead() {
        _nbMessagesAtReach.reset();
        _lastStrip = LastStrip();
    }
    /// The reason why libtiff may have left out tags or directories; no error if it has read all.
    std::error_code getMissedError() const;
    /// Error of the last write; none if it succeeded.
    std::error_code const& getWriteError() const { return _writeError; }
    /// Writes bytes. Returns their number, which is smaller after an error.
    vlUInt64 writeAt(vlUInt64 offset, void const* pBuffer, vlUInt64 nbBytes);

    /// Lets the file system reserve zeros after the end of the file, so that writing them costs no time. If
    /// that is not possible, the zeros are written like any bytes.
    void reserveZeros(vlUInt64 nbBytes);
    /// Lets the file system extend the file by zeros from its end on. Returns false if it cannot.
    bool extendByZeros(vlUInt64 end, vlUInt64 nbBytes);
    /// Cuts the file to a size, as far as possible.
    void cut(vlUInt64 size);
    /// Releases reserved space that was not written.
    void releaseReserved();

    /// Decoder for strips that are decoded without libtiff.
    DeflateDecoder& accessDeflateDecoder() { return _deflateDecoder; }

    /// Empty after each write.
    LastStrip& accessLastStrip() { return _lastStrip; }

    bool isWritable() const { return _bWritable; }

    /// Offsets of the handle's directories, as far as they are known.
    DirectoryChain& accessChain() { return _pFile->chain; }
    std::shared_ptr<TiffFile> const& getFile() const { return _pFile; }

  private:
    TiffStream(std::shared_ptr<TiffFile> pFile, bool bWritable);
    static TIFF* open(boost::filesystem::path const& path, char const* mode, vlUInt64 smallestLimit);
    static TIFF* openHandle(std::unique_ptr<TiffStream> pStream, char const* mode, vlUInt64 smallestLimit);
    vlUInt64 readDirectly(vlUInt64 offset, void* pBuffer, vlUInt64 nbBytes);
    bool coverWithReservedZeros(vlUInt64 offset, void const* pBuffer, vlUInt64 nbBytes);

    struct ClientProcedures;

    std::shared_ptr<TiffFile> _pFile;
    bool _bWritable;
    vlUInt64 _position = 0; ///< of libtiff
    std::error_code _readError;
    std::error_code _writeError;
    bool _bMemoryRefused = false;
    vlUInt64 _nbMessages = 0;
    std::optional<vlUInt64> _nbMessagesAtReach;

    /// Large enough to read a directory and its arrays at once. The buffer is not allocated on demand,
    /// because libtiff calls the reads and does not support exceptions.
    std::array<std::byte, 8192> _ahead;
    vlUInt64 _aheadOffset = 0;
    vlUInt64 _aheadSize = 0;

    // Reserved zeros that were not written yet. If nothing follows them, the file ends before them.
    vlUInt64 _reservedStart = 0;
    vlUInt64 _reservedEnd = 0;

    DeflateDecoder _deflateDecoder;
    LastStrip _lastStrip;
};

/// libtiff's message of the calling thread, followed by the operating system's error of the last write to the
/// file, if any.
std::string lastTiffWriteMessage(TIFF* pTiff);

} // namespace velmo::image::file
