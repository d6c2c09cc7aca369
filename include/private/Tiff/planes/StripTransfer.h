// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/handle/TiffStrips.h"
#include "Tiff/planes/ChannelSamples.h"
#include "Tiff/planes/PlaneContext.h"

#include <VELMOBase/PageBuffer.h>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmo::image::file {

/// A temporary buffer whose bytes are zero after `provide`. The operating system assigns the memory of a
/// large buffer at the first access to each page.
class ScratchBytes {
  public:
    std::byte* provide(vlUInt64 nbBytes);

  private:
    std::vector<std::byte> _small;
    PageBuffer _large;
};

/// Transfers a run of pixels between the strips of the current directory and the planes of some of its
/// channels. Several strips are transferred at once if they are contiguous and store pixels as they are in
/// memory; otherwise the transfer goes strip by strip.
class StripTransfer {
  public:
    virtual ~StripTransfer();
    StripTransfer(StripTransfer const&) = delete;
    StripTransfer& operator=(StripTransfer const&) = delete;

    virtual BoolResult run();
    /// Transfers the run without libtiff. Returns false if that is not possible; a part of the run may then
    /// be transferred.
    bool runWithoutLibtiff();

  protected:
    StripTransfer(PlaneContext const& context, TiffStrips strips);

    /// Pixels of the run that are in consecutive strips.
    struct Block {
        vlUInt64 strip;    ///< the first one
        vlUInt64 position; ///< of the first pixel in the first strip
        vlUInt64 nbPixels;
    };

    /// `getSkip`: bytes before the first pixel of a block in its strip. `getSize`: bytes of its pixels.
    vlUInt64 getSkip(Block const& block) const { return block.position * getLayout().pixelStride; }
    vlUInt64 getSize(Block const& block) const { return block.nbPixels * getLayout().pixelStride; }

    /// Whether the run ends with a block.
    bool isLast(Block const& block) const { return _nbDone + block.nbPixels == _context.run.nbPixels; }

    PlaneContext const& getContext() const { return _context; }
    TiffStrips& getStrips() { return _strips; }
    StripLayout const& getLayout() const { return _strips.getLayout(); }
    vlUInt64 getNbChannels() const { return _context.nbChannels; }
    /// Offset in bytes of the next pixel in the plane of a channel, from the first pixel of the run.
    vlUInt64 getPlanOffset() const { return _nbDone * _sampleWidth; }
    unsigned int getSampleBytes() const { return _sampleWidth; }
    std::byte* provideBuffer(vlUInt64 nbBytes) { return _buffer.provide(nbBytes); }

  private:
    virtual bool movePlain(Block const& block) = 0;
    virtual BoolResult moveStrip(Block const& block) = 0;
    virtual BoolResult failAtStrip(vlUInt64 strip, BoolResult const& reason) const = 0;
    BoolResult moveBlocks();
    /// The pixels of the run that were not moved yet.
    Block getRemaining() const;
    std::optional<Block> findPlain(Block const& block) const;

    PlaneContext const& _context;
    unsigned int _sampleWidth;
    TiffStrips _strips;
    vlUInt64 _nbDone = 0;
    ScratchBytes _buffer;
};

/// Reads pixels from the strips to the planes.
class StripReader : public StripTransfer {
  public:
    /// What happens to a strip that cannot be decoded: the read fails, or the pixels of the strip are zero
    /// and a warning is logged.
    enum class eBrokenStrip { Fail, FillWithZeros };

    StripReader(PlaneContext const& context, TiffStrips strips, eBrokenStrip brokenStrip)
        : StripTransfer(context, std::move(strips)), _brokenStrip(brokenStrip) {}
    void addChannel(vlUInt64 channel, void* pPixels);
    BoolResult run() override;

  private:
    bool movePlain(Block const& block) override;
    BoolResult moveStrip(Block const& block) override;
    BoolResult failAtStrip(vlUInt64 strip, BoolResult const& reason) const override;
    BoolResult decode(Block const& block);
    void fillWithZeros(Block const& block) const;
    std::byte* providePixels(vlUInt64 nbBytes);
    void spread(std::byte const* pSource, vlUInt64 nbPixels) const;

    eBrokenStrip _brokenStrip;
    vlUInt64 _nbBroken = 0;   ///< strips
    std::string _firstBroken; ///< message of the first failure
    TargetPlanes _channels;
};

/// Writes pixels from the planes to the strips. Samples of other pixels and of other channels keep their
/// values. After a failure each strip has its new or its old pixels, except an uncompressed strip that was
/// only partly overwritten.
class StripWriter : public StripTransfer {
  public:
    /// What happens if libtiff returns -1 for a written strip: the write fails, or the strip is ignored and a
    /// warning is logged.
    enum class eWriteFailure { Report, IgnoreMinusOne };

    StripWriter(PlaneContext const& context, TiffStrips strips, eWriteFailure writeFailure)
        : StripTransfer(context, std::move(strips)), _writeFailure(writeFailure) {}
    void addChannel(vlUInt64 channel, void const* pPixels);
    /// Lets a run of the whole plane store encoded strips. `pEncoded` contains all strips of the plane, or is
    /// null.
    void setEncoded(EncodedStrips const* pEncoded) { _pEncoded = pEncoded; }

  private:
    bool movePlain(Block const& block) override;
    BoolResult moveStrip(Block const& block) override;
    BoolResult failAtStrip(vlUInt64 strip, BoolResult const& reason) const override;
    BoolResult readBack(vlUInt64 strip, vlUInt64 nbNeeded, std::byte* pBuffer);
    BoolResult write(Block const& block, void const* pStrip, vlUInt64 nbNeeded);
    long store(vlUInt64 strip, void const* pStrip);
    BoolResult flushWhenDue(Block const& block);
    BoolResult flush();
    bool hasFailed(long result, vlUInt64 nbNeeded) const;
    void warnOfStrip(vlUInt64 strip, BoolResult const& reason) const;
    bool hasAllChannels() const { return _channels.size() == getNbChannels(); }
    void merge(std::byte* pTarget, vlUInt64 nbPixels) const;

    eWriteFailure _writeFailure;
    vlUInt64 _nbUnflushed = 0; ///< strips
    SourcePlanes _channels;
    EncodedStrips const* _pEncoded = nullptr;
};

} // namespace velmo::image::file
