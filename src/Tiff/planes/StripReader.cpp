// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Frame/FailureText.h"
#include "Tiff/handle/TiffErrorHandler.h"
#include "Tiff/planes/StripTransfer.h"

#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <algorithm>
#include <cstring>

namespace velmo::image::file {

void StripReader::addChannel(vlUInt64 channel, void* pPixels) {
    _channels.push_back({channel, static_cast<std::byte*>(pPixels)});
}

BoolResult StripReader::failAtStrip(vlUInt64 strip, BoolResult const& reason) const {
    return getContext().failToReadStrip(strip, reason);
}

BoolResult StripReader::run() {
    BoolResult result = StripTransfer::run();
    if (_nbBroken != 0) {
        PlaneRun const& run = getContext().run;
        warn(VELMO_HERE, eImageFileCheckMessage::eIFCM_StripsNotDecoded, _nbBroken, run.z, run.c, run.t,
             _firstBroken);
    }
    return result;
}

/// A channel that does not exist in the strip is read from the samples that follow the pixel, and is zero
/// after the last pixel.
std::byte* StripReader::providePixels(vlUInt64 nbBytes) {
    return provideBuffer(nbBytes + getLayout().pixelStride);
}

/// A single channel is read directly into its plane.
bool StripReader::movePlain(Block const& block) {
    if (getNbChannels() == 1) {
        return getStrips().readPlain(block.strip, getSkip(block), getSize(block),
                                     _channels.front().pSamples + getPlanOffset());
    }
    std::byte* const pBuffer = providePixels(getSize(block));
    bool const bRead = getStrips().readPlain(block.strip, getSkip(block), getSize(block), pBuffer);
    if (bRead) {
        spread(pBuffer, block.nbPixels);
    }
    return bRead;
}

BoolResult StripReader::moveStrip(Block const& block) {
    BoolResult result = decode(block);
    if (result || _brokenStrip == eBrokenStrip::Fail) {
        return result;
    }
    _firstBroken = ++_nbBroken == 1 ? result.getMessage() : _firstBroken;
    return success();
}

/// Decodes a strip from its start to the end of the last requested row, because codecs can only start at the
/// first row and predictors need whole rows. If libtiff decodes a part of the strip, the rest is zero. If it
/// decodes nothing, for example because of a wrong checksum, everything is zero.
BoolResult StripReader::decode(Block const& block) {
    StripLayout const& layout = getLayout();
    bool const bWhole =
        !rejectsWrongByteCounts(getContext().policy) && getStrips().hasWrongByteCount(block.strip);
    vlUInt64 const nbStripBytes = layout.getBytesOf(block.strip);
    vlUInt64 const nbBytes =
        bWhole ? nbStripBytes
               : std::min(layout.getBytesOfRows(block.position + block.nbPixels), nbStripBytes);
    BoolResult held = getStrips().requireEnoughBytes(block.strip, nbBytes);
    if (!held) {
        fillWithZeros(block);
        return failAtStrip(block.strip, held);
    }
    bool const bPart = block.position != 0 || nbBytes != nbStripBytes;
    std::byte const* const pDecoded =
        bPart && reusesLastRead(getContext().policy) ? getStrips().findDecoded(block.strip) : nullptr;
    if (pDecoded != nullptr) {
        spread(pDecoded + getSkip(block), block.nbPixels);
        return success();
    }
    bool const bInPlace = getNbChannels() == 1 && nbBytes == getSize(block);
    std::byte* const pBuffer =
        bInPlace ? _channels.front().pSamples + getPlanOffset() : providePixels(nbBytes);
    long const nbRead = getStrips().read(block.strip, nbBytes, pBuffer);
    vlUInt64 const nbDecoded = std::min(static_cast<vlUInt64>(std::max(nbRead, 0L)), nbBytes);
    if (nbDecoded < nbBytes) {
        std::memset(pBuffer + nbDecoded, 0, nbBytes - nbDecoded);
    }
    if (!bInPlace) {
        spread(pBuffer + getSkip(block), block.nbPixels);
    }
    return nbDecoded == nbBytes ? success() : failAtStrip(block.strip, failure(lastTiffMessage()));
}

void StripReader::fillWithZeros(Block const& block) const {
    for (auto const& channel : _channels) {
        std::memset(channel.pSamples + getPlanOffset(), 0, block.nbPixels * getSampleBytes());
    }
}

void StripReader::spread(std::byte const* pSource, vlUInt64 nbPixels) const {
    splitPixels(getContext().bufferType, getNbChannels(), nbPixels, pSource, _channels, getPlanOffset());
}

} // namespace velmo::image::file
