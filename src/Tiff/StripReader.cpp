// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/StripTransfer.h"
#include "Tiff/TiffErrorHandler.h"
#include "Tiff/TiffPixels.h"
#include "Utils/FailureText.h"

#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <algorithm>
#include <cstring>

namespace velmo {
namespace image {
namespace file {

void StripReader::addChannel(vlUInt64 channel, void* pPixels) {
    _channels.push_back({channel, static_cast<std::byte*>(pPixels)});
}

BoolResult StripReader::failAtStrip(vlUInt64 strip, std::string const& reason) const {
    return getContext().failToReadStrip(strip, reason);
}

BoolResult StripReader::run() {
    BoolResult result = StripTransfer::run();
    if (_nbBroken != 0) {
        PlanRun const& run = getContext().run;
        warn(VELMO_HERE, eImageFileCheckMessage::eIFCM_StripsNotDecoded, _nbBroken, run.z, run.c, run.t,
             _firstBroken);
    }
    return result;
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
/// predictors no other end. Of a strip that breaks off, or whose checksum is wrong, no byte can be trusted.
BoolResult StripReader::moveStrip(Block const& block) {
    StripLayout const& layout = getLayout();
    bool const bWhole = !failsAtMiscountedParts(getContext().policy) && getStrips().isMiscounted(block.strip);
    vlUInt64 const nbStripBytes = layout.getBytesOf(block.strip);
    vlUInt64 const nbBytes =
        bWhole ? nbStripBytes
               : std::min(layout.getBytesOfRows(block.position + block.nbPixels), nbStripBytes);
    bool const bInPlace = getNbChannels() == 1 && nbBytes == getSize(block);
    std::byte* const pBuffer =
        bInPlace ? _channels.front().pPixels + getPlanOffset() : provideBuffer(nbBytes);
    BoolResult decoded = decode(block.strip, nbBytes, pBuffer);
    if (!decoded && _brokenStrip == eBrokenStrip::Fails) {
        return decoded;
    }
    if (!decoded) {
        std::memset(pBuffer, 0, nbBytes);
        _firstBroken = ++_nbBroken == 1 ? decoded.getMessage() : _firstBroken;
    }
    if (!bInPlace) {
        spread(pBuffer + getSkip(block), block.nbPixels);
    }
    return success();
}

BoolResult StripReader::decode(vlUInt64 strip, vlUInt64 nbBytes, std::byte* pBuffer) {
    BoolResult held = getStrips().requireRoomFor(strip, nbBytes);
    if (!held) {
        return failAtStrip(strip, held.getMessage());
    }
    bool const bDecoded = getStrips().read(strip, nbBytes, pBuffer) == static_cast<long>(nbBytes);
    return bDecoded ? success() : failAtStrip(strip, getTiffWords());
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
