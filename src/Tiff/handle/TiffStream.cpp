// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/TiffStream.h"

#include "Tiff/handle/TiffErrorHandler.h"
#include "Tiff/handle/TiffStrips.h"
#include "Tiff/handle/TiffTags.h"

#include <VELMOBase/FileKind.h>
#include <VELMOBase/TransferAll.h>
#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

namespace velmo::image::file {

namespace {

/// Reads of at least this size bypass the read-ahead buffer.
constexpr vlUInt64 g_largeRead = 4096;
/// libtiff would write a new header into a file that is shorter than this.
constexpr vlUInt64 g_headerSize = 8;

/// The largest single allocation of libtiff for a file that is read: the arrays of a directory and one strip
/// as it is in the file. In mode "r+" libtiff would otherwise divide a large single strip into as many small
/// ones as the directory announces.
constexpr vlUInt64 g_smallAllocation = vlUInt64{64} << 20;
constexpr vlUInt64 g_allocationFactor = 64;

bool isUpdate(char const* mode) {
    return std::strcmp(mode, "r+") == 0;
}

int toOpenFlags(char const* mode) {
    if (mode[0] == 'w') {
        return O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC;
    }
    return (isUpdate(mode) ? O_RDWR : O_RDONLY) | O_CLOEXEC;
}

thread_local std::error_code g_openError;
thread_local std::error_code g_closeError;

void reportOpenFailure(boost::filesystem::path const& path, std::error_code const& error) {
    g_openError = error;
    TIFFErrorExt(nullptr, "TIFFOpen", "%s: %s", path.c_str(), error.message().c_str());
}

bool isZero(void const* pBuffer, vlUInt64 nbBytes) {
    auto const* const pBytes = static_cast<char const*>(pBuffer);
    return nbBytes == 0 || (pBytes[0] == 0 && std::memcmp(pBytes, pBytes + 1, nbBytes - 1) == 0);
}

/// The buffer that libtiff needs to encode a strip of a compressed file.
vlUInt64 getEncodingBufferSize(TIFF* pTiff) {
    auto const stripSize = static_cast<vlUInt64>(std::max<tmsize_t>(0, TIFFStripSize(pTiff)));
    vlUInt64 const nbBytesInFile =
        std::min<vlUInt64>(TIFFGetStrileByteCount(pTiff, 0), TiffStream::find(pTiff)->getSize());
    constexpr vlUInt64 margin = 8; // an eighth of the strip, because strips may grow
    bool const bEncoded =
        getCompression(pTiff) != COMPRESSION_NONE && isPlausibleStripSize(stripSize, nbBytesInFile);
    return bEncoded ? stripSize + stripSize / margin : 0;
}

/// Whether libtiff left out a text tag of the first directory. If it had no memory for the tag, it may report
/// nothing.
bool isTextTagMissing(TIFF* pTiff, TiffStream& stream) {
    constexpr std::uint32_t tags[] = {TIFFTAG_SOFTWARE, TIFFTAG_IMAGEDESCRIPTION, g_userPropertiesTag};
    return std::any_of(std::begin(tags), std::end(tags), [&](std::uint32_t tag) {
        char const* text = nullptr;
        return TIFFGetField(pTiff, tag, &text) != 1 &&
               hasEntry(pTiff, stream, TIFFCurrentDirOffset(pTiff), tag);
    });
}

} // namespace

struct TiffStream::ClientProcedures {
    static tmsize_t read(thandle_t handle, void* pBuffer, tmsize_t nbBytes) {
        TiffStream& stream = *static_cast<TiffStream*>(handle);
        vlUInt64 const done = stream.readAt(stream._position, pBuffer, static_cast<vlUInt64>(nbBytes));
        stream._position += done;
        return static_cast<tmsize_t>(done);
    }

    /// Detects libtiff's texts about refused memory. libtiff uses the same texts if a file requests more
    /// memory than allowed; then no memory was refused.
    static int report(TIFF* /*pTiff*/, void* pStream, char const* /*module*/, char const* format,
                      va_list /*arguments*/) {
        constexpr char const* signs[] = {"emory", "o space", "lloc", "Insertion in"};
        bool const bOfMemory = std::any_of(std::begin(signs), std::end(signs), [&](char const* sign) {
            return std::strstr(format, sign) != nullptr;
        });
        if (std::strstr(format, "beyond the") != nullptr) {
            errno = 0;
        }
        TiffStream& stream = *static_cast<TiffStream*>(pStream);
        ++stream._nbMessages;
        stream._bMemoryRefused = stream._bMemoryRefused || (bOfMemory && errno == ENOMEM);
        return 0; // the handlers of the process are called next
    }

    static tmsize_t write(thandle_t handle, void* pBuffer, tmsize_t nbBytes) {
        TiffStream& stream = *static_cast<TiffStream*>(handle);
        vlUInt64 const done = stream.writeAt(stream._position, pBuffer, static_cast<vlUInt64>(nbBytes));
        stream._position += done;
        return static_cast<tmsize_t>(done);
    }

    static toff_t seek(thandle_t handle, toff_t offset, int whence) {
        TiffStream& stream = *static_cast<TiffStream*>(handle);
        switch (whence) {
        case SEEK_CUR:
            stream._position += offset;
            break;
        case SEEK_END:
            stream._position = stream.getSize() + offset;
            break;
        default:
            stream._position = offset;
        }
        return stream._position;
    }

    static int close(thandle_t handle) {
        delete static_cast<TiffStream*>(handle);
        return 0;
    }

    static toff_t size(thandle_t handle) { return static_cast<TiffStream*>(handle)->getSize(); }
};

TiffFile::~TiffFile() {
    if (descriptor >= 0) {
        bool const bClosed = ::close(descriptor) == 0;
        g_closeError = bClosed ? std::error_code() : std::error_code(errno, std::generic_category());
    }
}

TiffStream::TiffStream(std::shared_ptr<TiffFile> pFile, bool bWritable)
    : _pFile(std::move(pFile)), _bWritable(bWritable) {}

TiffStream::~TiffStream() {
    releaseReserved();
}

std::error_code TiffStream::getOpenError() {
    return g_openError;
}

BoolResult TiffStream::getCloseResult() {
    return g_closeError ? failure(g_closeError.message()) : success();
}

TIFF* TiffStream::open(boost::filesystem::path const& path, char const* mode) {
    g_openError.clear();
    TIFF* pTiff = open(path, mode, g_smallAllocation);
    vlUInt64 const smallestLimit = pTiff != nullptr && isUpdate(mode) ? getEncodingBufferSize(pTiff) : 0;
    if (smallestLimit > g_smallAllocation) { // the limit can only be set at the opening
        TIFFClose(pTiff);
        pTiff = open(path, mode, smallestLimit);
    }
    return pTiff;
}

TIFF* TiffStream::open(boost::filesystem::path const& path, char const* mode, vlUInt64 smallestLimit) {
    std::error_code const seekError = getSeekError(path);
    if (seekError) {
        reportOpenFailure(path, seekError);
        return nullptr;
    }
    constexpr mode_t anybody = 0666;
    auto const pFile = std::make_shared<TiffFile>(path);
    pFile->descriptor = ::open(path.c_str(), toOpenFlags(mode), anybody);
    if (pFile->descriptor < 0) {
        reportOpenFailure(path, std::error_code(errno, std::generic_category()));
        return nullptr;
    }
    std::unique_ptr<TiffStream> pStream(new TiffStream(pFile, mode[0] == 'w'));
    bool const bTooShort = isUpdate(mode) && pStream->getSize() < g_headerSize;
    return openHandle(std::move(pStream), bTooShort ? "r" : mode, smallestLimit);
}

TIFF* TiffStream::openAgain(std::shared_ptr<TiffFile> const& pFile) {
    return openHandle(std::unique_ptr<TiffStream>(new TiffStream(pFile, false)), "r", g_smallAllocation);
}

TIFF* TiffStream::openHandle(std::unique_ptr<TiffStream> pStream, char const* mode, vlUInt64 smallestLimit) {
    boost::filesystem::path const& path = pStream->_pFile->path;
    using Client = ClientProcedures;
    std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> const pOptions(TIFFOpenOptionsAlloc(),
                                                                                TIFFOpenOptionsFree);
    if (!pOptions) {
        reportOpenFailure(path, std::make_error_code(std::errc::not_enough_memory));
        return nullptr;
    }
    TIFFOpenOptionsSetErrorHandlerExtR(pOptions.get(), Client::report, pStream.get());
    TIFFOpenOptionsSetWarningHandlerExtR(pOptions.get(), Client::report, pStream.get());
    if (mode[0] == 'r') {
        vlUInt64 const limit = std::max(smallestLimit, pStream->getSize() * g_allocationFactor);
        TIFFOpenOptionsSetMaxSingleMemAlloc(pOptions.get(), static_cast<tmsize_t>(limit));
    }
    errno = 0; // for `report` and `isTextTagMissing`
    TIFF* const pTiff =
        TIFFClientOpenExt(path.c_str(), mode, pStream.get(), Client::read, Client::write, Client::seek,
                          Client::close, Client::size, nullptr, nullptr, pOptions.get());
    if (pTiff == nullptr && pStream->_writeError) {
        reportOpenFailure(path, pStream->_writeError); // libtiff does not give the reason
    }
    if (pTiff != nullptr) {
        TiffStream& stream = *pStream.release();
        stream._bMemoryRefused =
            stream._bMemoryRefused || (errno == ENOMEM && isTextTagMissing(pTiff, stream));
    }
    return pTiff;
}

TiffStream* TiffStream::find(TIFF* pTiff) {
    bool const bOurs = TIFFGetReadProc(pTiff) == ClientProcedures::read;
    return bOurs ? static_cast<TiffStream*>(TIFFClientdata(pTiff)) : nullptr;
}

std::string lastTiffWriteMessage(TIFF* pTiff) {
    std::string text = lastTiffMessage();
    TiffStream const* const pStream = TiffStream::find(pTiff);
    if (pStream != nullptr && pStream->getWriteError()) {
        text += text.empty() ? "" : ": ";
        text += pStream->getWriteError().message();
    }
    return text;
}

std::error_code TiffStream::getMissedError() const {
    return _bMemoryRefused ? std::make_error_code(std::errc::not_enough_memory) : _readError;
}

vlUInt64 TiffStream::getSize() const {
    struct stat status = {};
    vlUInt64 const size = fstat(_pFile->descriptor, &status) == 0 ? static_cast<vlUInt64>(status.st_size) : 0;
    return size == _reservedEnd ? _reservedStart : size;
}

vlUInt64 TiffStream::readDirectly(vlUInt64 offset, void* pBuffer, vlUInt64 nbBytes) {
    Transferred const moved = transferAll(nbBytes, [&](vlUInt64 done) {
        return pread(_pFile->descriptor, static_cast<std::byte*>(pBuffer) + done, nbBytes - done,
                     static_cast<off_t>(offset + done));
    });
    bool const bBeyondFiles =
        moved.error == EINVAL || moved.error == EOVERFLOW; // an offset in a damaged file
    if (moved.error != 0 && !bBeyondFiles) {
        _readError = std::error_code(moved.error, std::generic_category());
    }
    return moved.nbBytes;
}

vlUInt64 TiffStream::readAt(vlUInt64 offset, void* pBuffer, vlUInt64 nbBytes) {
    bool const bAhead = offset >= _aheadOffset && offset - _aheadOffset < _aheadSize &&
                        nbBytes <= _aheadSize - (offset - _aheadOffset);
    if (!bAhead && nbBytes >= g_largeRead) {
        return readDirectly(offset, pBuffer, nbBytes);
    }
    if (!bAhead) {
        _aheadOffset = offset;
        _aheadSize = readDirectly(offset, _ahead.data(), _ahead.size());
    }
    vlUInt64 const done = std::min(nbBytes, _aheadSize - (offset - _aheadOffset));
    if (done != 0) {
        std::memcpy(pBuffer, _ahead.data() + (offset - _aheadOffset), done);
    }
    return done;
}

vlUInt64 TiffStream::writeAt(vlUInt64 offset, void const* pBuffer, vlUInt64 nbBytes) {
    if (!_bWritable) {
        return 0;
    }
    discardReadAhead();
    forgetLastRead();
    if (coverWithReservedZeros(offset, pBuffer, nbBytes)) {
        return nbBytes;
    }
    Transferred const moved = transferAll(nbBytes, [&](vlUInt64 done) {
        return pwrite(_pFile->descriptor, static_cast<std::byte const*>(pBuffer) + done, nbBytes - done,
                      static_cast<off_t>(offset + done));
    });
    _writeError = std::error_code(moved.error, std::generic_category());
    return moved.nbBytes;
}

void TiffStream::reserveZeros(vlUInt64 nbBytes) {
    releaseReserved();
    vlUInt64 const end = getSize();
    if (nbBytes != 0 && extendByZeros(end, nbBytes)) {
        _reservedStart = end;
        _reservedEnd = end + nbBytes;
    }
}

bool TiffStream::extendByZeros(vlUInt64 end, vlUInt64 nbBytes) {
    return fallocate(_pFile->descriptor, 0, static_cast<off_t>(end), static_cast<off_t>(nbBytes)) == 0;
}

void TiffStream::cut(vlUInt64 size) {
    releaseReserved();
    discardReadAhead();
    static_cast<void>(ftruncate(_pFile->descriptor, static_cast<off_t>(size)) == 0);
}

// Removes the space up to the end of a write from the reserved zeros. Returns whether nothing remains to be
// written: all bytes are zero and were reserved.
bool TiffStream::coverWithReservedZeros(vlUInt64 offset, void const* pBuffer, vlUInt64 nbBytes) {
    vlUInt64 const end = offset + nbBytes;
    if (end <= _reservedStart || offset >= _reservedEnd) {
        return false;
    }
    bool const bInside = offset >= _reservedStart && end <= _reservedEnd;
    _reservedStart = std::min(end, _reservedEnd);
    return bInside && isZero(pBuffer, nbBytes);
}

void TiffStream::releaseReserved() {
    if (_reservedStart < _reservedEnd) {
        vlUInt64 const end = getSize();
        if (ftruncate(_pFile->descriptor, static_cast<off_t>(end)) != 0) {
            return; // the file stays longer than necessary
        }
    }
    _reservedStart = 0;
    _reservedEnd = 0;
}

} // namespace velmo::image::file
