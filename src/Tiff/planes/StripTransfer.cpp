// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/planes/StripTransfer.h"

#include "Tiff/model/TiffPixels.h"

#include <algorithm>

namespace velmo::image::file {

namespace {

/// Size of the blocks in which channels are separated and merged; it fits into the cache of the processor.
constexpr vlUInt64 g_blockBytes = 65536;

constexpr vlUInt64 g_largeBuffer = vlUInt64{1} << 20;

} // namespace

std::byte* ScratchBytes::provide(vlUInt64 nbBytes) {
    if (nbBytes < g_largeBuffer) {
        _small.assign(nbBytes, std::byte{0});
        return _small.data();
    }
    _large = PageBuffer();
    _large = PageBuffer(nbBytes);
    return _large.getData();
}

StripTransfer::StripTransfer(PlaneContext const& context, TiffStrips strips)
    : _context(context), _sampleWidth(getSampleWidth(context.bufferType, VELMO_HERE)),
      _strips(std::move(strips)) {}

StripTransfer::~StripTransfer() = default;

BoolResult StripTransfer::run() {
    if (_context.run.nbPixels == 0) {
        return success();
    }
    BoolResult fits = _context.requireFittingDirectory();
    if (!fits || !getLayout().isCountable()) {
        return failAtStrip(0, fits);
    }
    BoolResult inside = _context.requireRunInside();
    if (!inside) {
        vlUInt64 const firstOutside = std::max(_context.run.pixelStart, getLayout().getNbPixels());
        vlUInt64 const stripPixels = std::max<vlUInt64>(1, getLayout().getStripPixels());
        return failAtStrip(firstOutside / stripPixels, inside);
    }
    return moveBlocks();
}

bool StripTransfer::runWithoutLibtiff() {
    vlUInt64 const nbPixels = _context.run.nbPixels;
    bool bPlain = nbPixels != 0 && _context.requireFittingDirectory() && getLayout().isCountable() &&
                  _context.requireRunInside();
    while (bPlain && _nbDone < nbPixels) {
        auto const plain = findPlain(getRemaining());
        bPlain = plain && movePlain(*plain);
        _nbDone += bPlain ? plain->nbPixels : 0;
    }
    return bPlain;
}

BoolResult StripTransfer::moveBlocks() {
    vlUInt64 const nbPixels = _context.run.nbPixels;
    vlUInt64 const stripPixels = getLayout().getStripPixels();
    while (_nbDone < nbPixels) {
        Block const left = getRemaining();
        auto const plain = findPlain(left);
        if (plain && movePlain(*plain)) {
            _nbDone += plain->nbPixels;
            continue;
        }
        Block const inStrip = {left.strip, left.position,
                               std::min(left.nbPixels, stripPixels - left.position)};
        BoolResult result = moveStrip(inStrip);
        if (!result) {
            return result;
        }
        _nbDone += inStrip.nbPixels;
    }
    return success();
}

StripTransfer::Block StripTransfer::getRemaining() const {
    vlUInt64 const pixel = _context.run.pixelStart + _nbDone;
    vlUInt64 const stripPixels = getLayout().getStripPixels();
    return {pixel / stripPixels, pixel % stripPixels, _context.run.nbPixels - _nbDone};
}

/// The part of a block that can be transferred at once.
std::optional<StripTransfer::Block> StripTransfer::findPlain(Block const& block) const {
    vlUInt64 const stripPixels = getLayout().getStripPixels();
    vlUInt64 nbStrips = (block.position + block.nbPixels - 1) / stripPixels + 1;
    if (_context.isInterleaved()) {
        nbStrips = std::min(nbStrips, std::max<vlUInt64>(1, g_blockBytes / getLayout().getStripBytes()));
    }
    vlUInt64 const nbPlain = _strips.countPlain(block.strip, nbStrips);
    if (nbPlain == 0) {
        return std::nullopt;
    }
    return Block{block.strip, block.position,
                 std::min(block.nbPixels, nbPlain * stripPixels - block.position)};
}

} // namespace velmo::image::file
