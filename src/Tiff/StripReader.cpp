// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/StripTransfer.h"
#include "Tiff/TiffPixels.h"

#include <algorithm>

namespace velmo {
namespace image {
namespace file {

void StripReader::addChannel(vlUInt64 channel, void* pPixels) {
    _channels.push_back({channel, static_cast<std::byte*>(pPixels)});
}

BoolResult StripReader::failAtStrip(vlUInt64 strip) const {
    return getContext().failToReadStrip(strip);
}

/// One channel goes straight to its place.
bool StripReader::movePlain(Block const& block) {
    if (getNbChannels() == 1) {
        return getStrips().readPlain(block.strip, getSkip(block), getSize(block),
                                     _channels.front().pPixels + getPlanOffset());
    }
    std::byte* const pBuffer = provideBuffer(getSize(block));
    bool const bRead = getStrips().readPlain(block.strip, getSkip(block), getSize(block), pBuffer);
    if (bRead) {
        spread(pBuffer, block.nbPixels);
    }
    return bRead;
}

/// Decodes a strip from its start to the end of the last row that is wanted: codecs know no other start, and
/// predictors no other end. The buffer is zero before, so that a strip that breaks off shows nothing of the
/// one before it.
BoolResult StripReader::moveStrip(Block const& block) {
    StripLayout const& layout = getLayout();
    vlUInt64 const nbBytes =
        std::min(layout.getBytesOfRows(block.position + block.nbPixels), layout.getBytesOf(block.strip));
    if (!getStrips().canHold(block.strip, nbBytes)) {
        return failAtStrip(block.strip);
    }
    bool const bInPlace = getNbChannels() == 1 && nbBytes == getSize(block);
    std::byte* const pBuffer =
        bInPlace ? _channels.front().pPixels + getPlanOffset() : provideBuffer(nbBytes);
    long const nbRead = getStrips().read(block.strip, nbBytes, pBuffer);
    if (_brokenStrip == eBrokenStrip::Fails && nbRead != static_cast<long>(nbBytes)) {
        return failAtStrip(block.strip);
    }
    if (!bInPlace) {
        spread(pBuffer + getSkip(block), block.nbPixels);
    }
    return success();
}

void StripReader::spread(std::byte const* pSource, vlUInt64 nbPixels) const {
    for (Channel const& channel : _channels) {
        colorToPlan(getContext().bufferType, getNbChannels(), channel.index, nbPixels, pSource,
                    channel.pPixels + getPlanOffset());
    }
}

} // namespace file
} // namespace image
} // namespace velmo
