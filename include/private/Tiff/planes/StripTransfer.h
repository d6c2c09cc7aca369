// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/handle/TiffStrips.h"
#include "Tiff/planes/PlaneContext.h"

#include <VELMOUtil/PageBuffer.h>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace velmo::image::file {

/// Bytes on their way, all zero when they are asked for. Large ones take memory at their first touch alone.
class ScratchBytes {
  public:
    std::byte* provide(vlUInt64 nbBytes);

  private:
    std::vector<std::byte> _small;
    PageBuffer _large;
};

/// Moves a run of pixels between the strips of the current directory and the planes of some of its channels:
/// several strips at once where they lie in the file as pixels lie in memory, else strip by strip.
class StripTransfer {
  public:
    virtual ~StripTransfer();
    StripTransfer(StripTransfer const&) = delete;
    StripTransfer& operator=(StripTransfer const&) = delete;

    virtual BoolResult run();

  protected:
    StripTransfer(PlaneContext const& context, StripLayout const& layout);

    /// Pixels of the run that lie in neighbouring strips.
    struct Block {
        vlUInt64 strip;    ///< the first one
        vlUInt64 position; ///< of the first pixel, in that strip
        vlUInt64 nbPixels;
    };

    /// Bytes before a block's first pixel in its strip, and bytes of its pixels.
    vlUInt64 getSkip(Block const& block) const { return block.position * getLayout().pixelStride; }
    vlUInt64 getSize(Block const& block) const { return block.nbPixels * getLayout().pixelStride; }

    /// Whether the run ends with a block.
    bool isLast(Block const& block) const { return _nbDone + block.nbPixels == _context.run.nbPixels; }

    PlaneContext const& getContext() const { return _context; }
    TiffStrips& getStrips() { return _strips; }
    StripLayout const& getLayout() const { return _strips.getLayout(); }
    vlUInt64 getNbChannels() const { return _context.nbChannels; }
    /// Where the next pixel of a channel's plane lies behind its first one, in bytes.
    vlUInt64 getPlanOffset() const { return _nbDone * _sampleWidth; }
    unsigned int getSampleBytes() const { return _sampleWidth; }
    std::byte* provideBuffer(vlUInt64 nbBytes) { return _buffer.provide(nbBytes); }

  private:
    virtual bool movePlain(Block const& block) = 0;
    virtual BoolResult moveStrip(Block const& block) = 0;
    virtual BoolResult failAtStrip(vlUInt64 strip, std::string const& reason) const = 0;
    BoolResult moveBlocks();
    std::optional<Block> findPlain(Block const& block) const;

    PlaneContext const& _context;
    unsigned int _sampleWidth;
    TiffStrips _strips;
    vlUInt64 _nbDone = 0;
    ScratchBytes _buffer;
};

/// From the strips to the planes.
class StripReader : public StripTransfer {
  public:
    /// Whether a strip that cannot be decoded is a failure, or has pixels of zero and is logged as a warning.
    enum class eBrokenStrip { Fail, FillWithZeros };

    StripReader(PlaneContext const& context, StripLayout const& layout, eBrokenStrip brokenStrip)
        : StripTransfer(context, layout), _brokenStrip(brokenStrip) {}
    void addChannel(vlUInt64 channel, void* pPixels);
    BoolResult run() override;

  private:
    struct Channel {
        vlUInt64 index;
        std::byte* pPixels;
    };

    bool movePlain(Block const& block) override;
    BoolResult moveStrip(Block const& block) override;
    BoolResult failAtStrip(vlUInt64 strip, std::string const& reason) const override;
    BoolResult decode(Block const& block);
    void fillWithZeros(Block const& block) const;
    std::byte* providePixels(vlUInt64 nbBytes);
    void spread(std::byte const* pSource, vlUInt64 nbPixels) const;

    eBrokenStrip _brokenStrip;
    vlUInt64 _nbBroken = 0;   ///< strips
    std::string _firstBroken; ///< the text of its failure
    std::vector<Channel> _channels;
};

/// From the planes to the strips. Samples of other pixels and of other channels keep their values. After a
/// failure each strip has its new pixels or its old ones, but for one that was overwritten in its place.
class StripWriter : public StripTransfer {
  public:
    /// Whether what libtiff gives for a failure, -1, is one, or is ignored and logged as a warning.
    enum class eWriteFailure { Report, IgnoreMinusOne };

    StripWriter(PlaneContext const& context, StripLayout const& layout, eWriteFailure writeFailure)
        : StripTransfer(context, layout), _writeFailure(writeFailure) {}
    void addChannel(vlUInt64 channel, void const* pPixels);

  private:
    struct Channel {
        vlUInt64 index;
        std::byte const* pPixels;
    };

    bool movePlain(Block const& block) override;
    BoolResult moveStrip(Block const& block) override;
    BoolResult failAtStrip(vlUInt64 strip, std::string const& reason) const override;
    BoolResult readBack(vlUInt64 strip, vlUInt64 nbNeeded, std::byte* pBuffer);
    BoolResult write(Block const& block, void const* pStrip, vlUInt64 nbNeeded);
    BoolResult flushWhenDue(Block const& block);
    BoolResult flush();
    bool hasFailed(long result, vlUInt64 nbNeeded) const;
    void warnOfStrip(vlUInt64 strip, std::string const& reason) const;
    bool hasAllChannels() const { return _channels.size() == getNbChannels(); }
    void merge(std::byte* pTarget, vlUInt64 nbPixels) const;

    eWriteFailure _writeFailure;
    vlUInt64 _nbUnflushed = 0; ///< strips
    std::vector<Channel> _channels;
};

} // namespace velmo::image::file
