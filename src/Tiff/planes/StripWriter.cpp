// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/TiffDirectories.h"
#include "Tiff/handle/TiffStream.h"
#include "Tiff/handle/TiffTags.h"
#include "Tiff/planes/StripTransfer.h"

#include <VELMOImageFile/ImageFileCheckMessage.h>

namespace velmo::image::file {

void StripWriter::addChannel(vlUInt64 channel, void const* pPixels) {
    _channels.push_back({channel, static_cast<std::byte const*>(pPixels)});
}

BoolResult StripWriter::failAtStrip(vlUInt64 strip, BoolResult const& reason) const {
    return getContext().failToWriteStrip(strip, reason);
}

/// A single channel is written directly, also to a part of a strip. Several channels are merged with the
/// pixels of the file. A part of a strip that is not in a truncated file is written by `moveStrip`, which
/// reads the strip first.
bool StripWriter::movePlain(Block const& block) {
    bool const bWhole = block.position == 0 && block.nbPixels % getLayout().getStripPixels() == 0;
    if (!bWhole && !getStrips().isInFile(block.strip, getSkip(block), getSize(block))) {
        return false;
    }
    if (getNbChannels() == 1) {
        return getStrips().writePlain(block.strip, getSkip(block), getSize(block),
                                      _channels.front().pSamples + getPlanOffset());
    }
    std::byte* const pBuffer = provideBuffer(getSize(block));
    if (!hasAllChannels() && !getStrips().readPlain(block.strip, getSkip(block), getSize(block), pBuffer)) {
        return false;
    }
    merge(pBuffer, block.nbPixels);
    return getStrips().writePlain(block.strip, getSkip(block), getSize(block), pBuffer);
}

BoolResult StripWriter::moveStrip(Block const& block) {
    StripLayout const& layout = getLayout();
    vlUInt64 const nbNeeded = getSkip(block) + getSize(block);
    bool const bWhole = block.nbPixels == layout.getStripPixels() && hasAllChannels();
    void const* pData = _channels.front().pSamples + getPlanOffset();
    if (_pEncoded == nullptr && (!bWhole || getNbChannels() != 1)) {
        std::byte* const pBuffer = provideBuffer(layout.getStripBytes());
        BoolResult read = bWhole ? success() : readBack(block.strip, nbNeeded, pBuffer);
        if (!read) {
            static_cast<void>(flush()); // writes the strips before, which are complete; `read` is the error
            return read;
        }
        merge(pBuffer + getSkip(block), block.nbPixels);
        pData = pBuffer;
    }
    return write(block, pData, nbNeeded);
}

BoolResult StripWriter::readBack(vlUInt64 strip, vlUInt64 nbNeeded, std::byte* pBuffer) {
    PlaneContext const& context = getContext();
    long const nbRead = getStrips().read(strip, getLayout().getBytesOf(strip), pBuffer);
    if (!hasFailed(nbRead, nbNeeded) && nbRead >= 0) {
        return success();
    }
    BoolResult unread = context.failToReadStrip(strip, failure(lastTiffMessage()));
    if (hasFailed(nbRead, nbNeeded)) {
        return unread;
    }
    warn(VELMO_HERE, eImageFileCheckMessage::eIFCM_StripsNotDecoded, 1, context.run.z, context.run.c,
         context.run.t, unread);
    return success();
}

/// Writes a strip. After a failure libtiff has stored a wrong offset of the strip and would write it at the
/// next flush or close. The handle therefore reads the directory again from the file.
BoolResult StripWriter::write(Block const& block, void const* pStrip, vlUInt64 nbNeeded) {
    PlaneContext const& context = getContext();
    vlUInt64 const directoryOffset = TIFFCurrentDirOffset(context.pTiff);
    TiffDirectories(context.pTiff).invalidateStrips(directoryOffset);
    BoolResult writable = getStrips().requireWritable(block.strip);
    long const written = writable ? store(block.strip, pStrip) : -1;
    bool const bFailed = hasFailed(written, nbNeeded);
    BoolResult result = success();
    if (bFailed || written < 0) {
        BoolResult const reason = writable ? failure(lastTiffWriteMessage(context.pTiff)) : writable;
        result = bFailed ? failAtStrip(block.strip, reason) : success();
        if (!bFailed) {
            warnOfStrip(block.strip, reason);
        }
    } else {
        result = flushWhenDue(block);
    }
    if (!result || written < 0) {
        TiffDirectories(context.pTiff).reloadDirectory(directoryOffset);
    }
    return result;
}

long StripWriter::store(vlUInt64 strip, void const* pStrip) {
    return _pEncoded != nullptr ? getStrips().writeEncoded(strip, *_pEncoded)
                                : getStrips().write(strip, pStrip);
}

void StripWriter::warnOfStrip(vlUInt64 strip, BoolResult const& reason) const {
    PlaneContext const& context = getContext();
    warn(VELMO_HERE, eImageFileCheckMessage::eIFCM_StripNotWritten, strip, context.run.z, context.run.t,
         context.path.string(), reason);
}

/// Flushes when it is due. A flush writes the offsets of all strips of the directory. With few strips it is
/// done for each strip, with many strips for several together. Until the flush other readers see the old
/// strip. If failed strips are ignored, each strip is flushed, because reading the directory again would lose
/// unflushed strips.
BoolResult StripWriter::flushWhenDue(Block const& block) {
    constexpr vlUInt64 nbFlushes = 64;
    ++_nbUnflushed;
    bool const bDue = isLast(block) || _writeFailure == eWriteFailure::IgnoreMinusOne ||
                      _nbUnflushed * nbFlushes >= TIFFNumberOfStrips(getContext().pTiff);
    return bDue ? flush() : success();
}

// If the size of a strip no longer fits its entry, libtiff moves the directory and has no current directory
// afterwards.
BoolResult StripWriter::flush() {
    PlaneContext const& context = getContext();
    vlUInt64 const directoryOffset = TIFFCurrentDirOffset(context.pTiff);
    _nbUnflushed = 0;
    if (TIFFFlush(context.pTiff) != 1) {
        return fail(eTiffImageFileMessage::eTIFM_FlushError, context.path.string(),
                    lastTiffWriteMessage(context.pTiff));
    }
    return TIFFCurrentDirOffset(context.pTiff) == directoryOffset ? success() : context.reachMovedDirectory();
}

bool StripWriter::hasFailed(long result, vlUInt64 nbNeeded) const {
    if (result < 0) {
        return _writeFailure == eWriteFailure::Report;
    }
    return static_cast<vlUInt64>(result) < nbNeeded;
}

void StripWriter::merge(std::byte* pTarget, vlUInt64 nbPixels) const {
    mergePixels(getContext().bufferType, getNbChannels(), nbPixels, _channels, getPlanOffset(), pTarget);
}

} // namespace velmo::image::file
