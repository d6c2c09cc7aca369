// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "PixelKind.h"
#include "TiffHandle.h"

#include <VELMOUtil/BoolResult.h>
#include <functional>
#include <set>
#include <vector>

namespace velmo::importer {

/// A tile or strip of a page.
struct Chunk {
    std::uint32_t index;     ///< as libtiff counts
    std::uint16_t sample;    ///< of a page with channels in planes of their own; otherwise 0
    std::uint32_t x;         ///< first column
    std::uint32_t y;         ///< first row
    std::uint32_t nbColumns; ///< inside of the image
    std::uint32_t nbRows;    ///< inside of the image
};

/// The tiles or strips of a page.
class ChunkGrid {
  public:
    explicit ChunkGrid(PageShape const& shape);

    /// Of one channel, if channels are in planes of their own, otherwise of the page.
    vlUInt64 getNbChunks() const { return _nbAcross * _nbDown; }
    /// The chunks are numbered row by row.
    Chunk getChunk(std::uint16_t sample, vlUInt64 number) const;

  private:
    PageShape const& _shape;
    vlUInt64 _nbAcross;
    vlUInt64 _nbDown;
};

/// Takes a row of decoded samples; `y` is counted from the first row of the chunk.
using RowSink = std::function<BoolResult(std::uint32_t y, std::byte const* pRow)>;

/// Decodes the current directory of a handle, chunk by chunk.
class ChunkReader {
  public:
    /// Warnings of libtiff are added to `warnings`.
    ChunkReader(TiffHandle& handle, PageShape const& shape, PixelKind const& kind,
                std::set<std::string>& warnings)
        : _handle(handle), _shape(shape), _kind(kind), _warnings(warnings) {}

    /// Prepares the codec. To be called after each change of the directory.
    void prepare();
    /// Calls `sink` with each row of the chunk, top to bottom. Fails with libtiff's reason if the chunk
    /// cannot be decoded completely.
    BoolResult read(Chunk const& chunk, std::vector<std::byte>& buffer, RowSink const& sink);

  private:
    BoolResult readRgba(Chunk const& chunk, std::vector<std::byte>& buffer, RowSink const& sink);
    BoolResult readRows(Chunk const& chunk, std::vector<std::byte>& buffer, RowSink const& sink);
    BoolResult readWhole(Chunk const& chunk, vlUInt64 nbBytes, std::vector<std::byte>& buffer);
    vlUInt64 decode(Chunk const& chunk, std::vector<std::byte>& buffer);
    BoolResult requirePlausible(Chunk const& chunk, vlUInt64 nbBytes) const;
    BoolResult requireNoPrematureEnd();
    BoolResult failToDecode();
    bool isMissing(Chunk const& chunk) const;

    TiffHandle& _handle;
    PageShape const& _shape;
    PixelKind const& _kind;
    std::set<std::string>& _warnings;
};

} // namespace velmo::importer
