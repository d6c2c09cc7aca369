// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/handle/DeflateDecoder.h"

#include <VELMOImage/ImageEnums.h>
#include <VELMOUtil/BoolResult.h>
#include <array>
#include <boost/filesystem/path.hpp>
#include <memory>
#include <string>
#include <system_error>

using TIFF = struct tiff;

namespace velmo::image::file {

class DirectoryChain;

/// The bytes of an open TIFF file, as libtiff reaches them and as this module does beside it.
///
/// The file is not mapped: one that another process cuts short gives short reads. What is written is in the
/// file at once. Small reads come from a look ahead, which every write and `discardReadAhead` drop. For one
/// thread at a time.
class TiffStream {
  public:
    /// A handle over a new stream, which closing the handle closes; null where libtiff or the system refuses,
    /// with libtiff's words. `mode` is libtiff's: "r", "r+", "w", "w8". A file opened "r+" is not changed
    /// before `allowWrites`.
    static TIFF* open(boost::filesystem::path const& path, char const* mode);
    /// Why the system did not open the file of the last `open` of this thread; no error where it did.
    static std::error_code getOpenError();
    /// What the system said of the last closing of a file by this thread: some file systems report there what
    /// they could not write.
    static BoolResult getCloseResult();
    /// The stream of a handle that `open` made; null for any other.
    static TiffStream* find(TIFF* pTiff);

    ~TiffStream();
    TiffStream(TiffStream const&) = delete;
    TiffStream& operator=(TiffStream const&) = delete;

    void allowWrites() { _bWritable = true; }
    void discardReadAhead() { _aheadSize = 0; }
    vlUInt64 getSize() const;

    /// As many bytes as there are, at most `nbBytes`.
    vlUInt64 readAt(vlUInt64 offset, void* pBuffer, vlUInt64 nbBytes);
    /// Error of the last failed read; none at the end of the file. Of a tag that cannot be read libtiff says
    /// no more than that it is left out.
    std::error_code const& getReadError() const { return _readError; }
    /// Whether libtiff did not get memory that it asked for: it leaves out a tag that it has no memory for,
    /// and takes a directory for the end of the file.
    bool wasMemoryRefused() const { return _bMemoryRefused; }
    /// Why the system refused the last write, no error where it did not.
    std::error_code const& getWriteError() const { return _writeError; }
    /// As many bytes as the file takes.
    vlUInt64 writeAt(vlUInt64 offset, void const* pBuffer, vlUInt64 nbBytes);

    /// Has the file system set zeros aside behind the end of the file, whose writing then costs nothing.
    /// Where it cannot, they are written as any bytes.
    void reserveZeros(vlUInt64 nbBytes);
    /// Gives back what was reserved and not written.
    void releaseReserved();

    /// For strips that are inflated beside libtiff.
    DeflateDecoder& accessDeflateDecoder() { return _deflateDecoder; }

    /// Where the handle's directories lie, as far as that is known.
    DirectoryChain& accessChain() { return *_pChain; }

  private:
    explicit TiffStream(bool bWritable);
    static TIFF* open(boost::filesystem::path const& path, char const* mode, vlUInt64 room);
    static TIFF* openHandle(std::unique_ptr<TiffStream> pStream, boost::filesystem::path const& path,
                            char const* mode, vlUInt64 room);
    vlUInt64 readDirectly(vlUInt64 offset, void* pBuffer, vlUInt64 nbBytes);
    bool coverWithReservedZeros(vlUInt64 offset, void const* pBuffer, vlUInt64 nbBytes);

    struct ClientProcedures;

    int _descriptor = -1;
    bool _bWritable;
    vlUInt64 _position = 0; ///< libtiff's
    std::error_code _readError;
    std::error_code _writeError;
    bool _bMemoryRefused = false;

    /// Enough for a directory with its arrays, so that one read brings a whole one. Nothing is allocated
    /// where libtiff reads: it does not stand exceptions.
    std::array<std::byte, 8192> _ahead;
    vlUInt64 _aheadOffset = 0;
    vlUInt64 _aheadSize = 0;

    // Zeros that no write has reached yet; as long as nothing lies behind them, the file ends before them.
    vlUInt64 _reservedStart = 0;
    vlUInt64 _reservedEnd = 0;

    std::unique_ptr<DirectoryChain> _pChain;
    DeflateDecoder _deflateDecoder;
};

/// libtiff's text for the calling thread, and why the system refused the last write to the file.
std::string lastTiffWriteMessage(TIFF* pTiff);

} // namespace velmo::image::file
