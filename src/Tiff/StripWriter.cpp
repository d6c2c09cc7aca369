// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/StripTransfer.h"
#include "Tiff/TiffDirectories.h"
#include "Tiff/TiffPixels.h"
#include "Tiff/TiffTags.h"

namespace velmo {
namespace image {
namespace file {

void StripWriter::addChannel(vlUInt64 channel, void const* pPixels) {
    _channels.push_back({channel, static_cast<std::byte const*>(pPixels)});
}

BoolResult StripWriter::failAtStrip(vlUInt64 strip) const {
    return getContext().failToWriteStrip(strip);
}

/// One channel is written as it is, whatever part of a strip it covers; others merge with what the file has.
/// Parts of strips that a file cut short no longer has are left to the way that reads them first.
bool StripWriter::movePlain(Block const& block) {
    bool const bWhole = block.position == 0 && block.nbPixels % getLayout().getStripPixels() == 0;
    if (!bWhole && !getStrips().isInFile(block.strip, getSkip(block), getSize(block))) {
        return false;
    }
    if (getNbChannels() == 1) {
        return getStrips().writePlain(block.strip, getSkip(block), getSize(block),
                                      _channels.front().pPixels + getPlanOffset());
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
    vlUInt64 const directoryOffset = TIFFCurrentDirOffset(getContext().pTiff);

    void const* pData = _channels.front().pPixels + getPlanOffset();
    if (!bWhole || getNbChannels() != 1) {
        std::byte* const pBuffer = provideBuffer(layout.getStripBytes());
        if (!bWhole &&
            hasFailed(getStrips().read(block.strip, layout.getBytesOf(block.strip), pBuffer), nbNeeded)) {
            BoolResult unread = getContext().failToReadStrip(block.strip);
            flush(); // the strips before it are whole
            return unread;
        }
        merge(pBuffer + getSkip(block), block.nbPixels);
        pData = pBuffer;
    }
    BoolResult result = hasFailed(getStrips().write(block.strip, pData), nbNeeded) ? failAtStrip(block.strip)
                                                                                   : flushWhenDue(block);
    if (!result) { // libtiff has the strip where it did not come to lie, and would write that at the close
        TiffDirectories(getContext().pTiff).goBack(directoryOffset);
    }
    return result;
}

/// A flush writes the places of all strips of the directory: it is done for each strip of a few, and for
/// several together of many. A strip that is not flushed yet is as it was for every other reader.
BoolResult StripWriter::flushWhenDue(Block const& block) {
    constexpr vlUInt64 nbFlushes = 64;
    ++_nbUnflushed;
    bool const bDue = isLast(block) || _nbUnflushed * nbFlushes >= TIFFNumberOfStrips(getContext().pTiff);
    return bDue ? flush() : success();
}

// A strip whose size no longer fits its entry moves the directory, and leaves libtiff on none.
BoolResult StripWriter::flush() {
    PlanContext const& context = getContext();
    vlUInt64 const directoryOffset = TIFFCurrentDirOffset(context.pTiff);
    _nbUnflushed = 0;
    if (TIFFFlush(context.pTiff) != 1) {
        return fail(eTiffImageFileMessage::eTIFM_FlushError, context.path.string(), getTiffWords());
    }
    return TIFFCurrentDirOffset(context.pTiff) == directoryOffset ? success() : context.reachMovedDirectory();
}

bool StripWriter::hasFailed(long result, vlUInt64 nbNeeded) const {
    if (result < 0) {
        return _minusOne == eMinusOne::Fails;
    }
    return static_cast<vlUInt64>(result) < nbNeeded;
}

void StripWriter::merge(std::byte* pTarget, vlUInt64 nbPixels) const {
    for (Channel const& channel : _channels) {
        planToColor(getContext().bufferType, getNbChannels(), channel.index, nbPixels,
                    channel.pPixels + getPlanOffset(), pTarget);
    }
}

} // namespace file
} // namespace image
} // namespace velmo
