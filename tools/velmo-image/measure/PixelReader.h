// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/ObservedAccessor.h"
#include "measure/PixelRuns.h"

#include <VELMOBase/PageBuffer.h>

namespace velmo::tool {

/// Pixels of a run in memory, in the machine's byte order, one channel after the other. Binary pixels are 0
/// or 1. Does not own the memory.
struct RunPixels {
    image::eImageBufferType type;
    vlUInt64 nbPixels; ///< of each channel
    std::byte const* pPixels;

    std::byte const* getChannel(vlUInt64 index) const;
};

/// Reads runs of pixels of an input, which count as progress. Any thread may read, each into memory of its
/// own.
class PixelReader {
  public:
    /// `progress` must outlive the reader.
    PixelReader(ObservedSource const& source, Progress& progress);

    image::BaseImageGeometry const& getGeometry() const { return _pImage->getGeometry(); }
    /// Whether runs should be whole planes: a read of a part decodes what is before it.
    bool prefersWholePlanes() const { return _bWholePlanes; }
    /// Whether runs should have all channels, which are interleaved in the file.
    bool prefersAllChannels() const { return _pPageReader != nullptr; }
    /// Throws WorkFailure: the name of the file and a text.
    [[noreturn]] void fail(std::string const& text) const;
    /// Throws WorkFailure for an image without pixels.
    void requirePixels() const;
    /// Throws WorkFailure for an image whose planes do not all have one pixel type; `remedy` ends the
    /// message.
    void requireOneType(std::string const& remedy) const;

    /// Runs as the reader prefers them.
    RunLayout layOut() const;

    /// Largest size of a run in memory.
    vlUInt64 countBytes(RunLayout const& layout) const;
    /// Reads into `memory`, which grows if necessary. Throws WorkFailure with the message of the library, and
    /// Interrupted.
    RunPixels read(PixelRun const& run, PageBuffer& memory) const;

  private:
    BoolResult readChannels(PixelRun const& run, std::vector<void*> const& buffers) const;

    image::DiskImagePtr _pImage;
    bool _bWholePlanes;
    image::file::BasePageReader const* _pPageReader; ///< null where channels are not interleaved
};

/// At most `nbThreads`, and so many as have memory for `nbBytes` each. Throws WorkFailure if not even one
/// has.
vlUInt64 limitThreads(vlUInt64 nbThreads, vlUInt64 nbBytes);

} // namespace velmo::tool
