// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ChunkReader.h"

#include <VELMOBase/AvailableMemory.h>
#include <VELMOBase/CheckedArithmetic.h>
#include <algorithm>
#include <array>
#include <cstring>

namespace velmo::importer {

namespace {

/// Strips of more bytes are decoded row by row.
constexpr vlUInt64 g_largeStrip = vlUInt64{4} << 20;
/// Chunks of more bytes are compared with the free memory.
constexpr vlUInt64 g_largeChunk = vlUInt64{64} << 20;
constexpr std::size_t g_maxWarnings = 8;

bool isDeflate(std::uint16_t compression) {
    return compression == COMPRESSION_DEFLATE || compression == COMPRESSION_ADOBE_DEFLATE;
}

} // namespace

ChunkGrid::ChunkGrid(PageShape const& shape)
    : _shape(shape), _nbAcross(divideUp(shape.sizeX, shape.chunkX)),
      _nbDown(divideUp(shape.sizeY, shape.chunkY)) {}

Chunk ChunkGrid::getChunk(std::uint16_t sample, vlUInt64 number) const {
    auto const x = static_cast<std::uint32_t>(number % _nbAcross * _shape.chunkX);
    auto const y = static_cast<std::uint32_t>(number / _nbAcross * _shape.chunkY);
    return {static_cast<std::uint32_t>(sample * getNbChunks() + number),
            sample,
            x,
            y,
            std::min(_shape.chunkX, _shape.sizeX - x),
            std::min(_shape.chunkY, _shape.sizeY - y)};
}

void ChunkReader::prepare() {
    if (_kind.decoding == eDecoding::JpegRgb) {
        TIFFSetField(_handle.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    }
    // libtiff leaves bytes unset if a chunk holds more bytes than its pixels and libdeflate decodes it. Below
    // a predictor this cannot be detected.
    auto const predictor = _handle.getTagOr<std::uint16_t>(TIFFTAG_PREDICTOR, PREDICTOR_NONE);
    if (isDeflate(_shape.compression) && predictor != PREDICTOR_NONE) {
        TIFFSetField(_handle.get(), TIFFTAG_DEFLATE_SUBCODEC, DEFLATE_SUBCODEC_ZLIB);
    }
}

bool ChunkReader::isMissing(Chunk const& chunk) const {
    return TIFFGetStrileOffset(_handle.get(), chunk.index) == 0 &&
           TIFFGetStrileByteCount(_handle.get(), chunk.index) == 0;
}

BoolResult ChunkReader::failToDecode() {
    std::string reason = _handle.takeError();
    for (std::string const& warning : _handle.takeWarnings()) {
        reason = reason.empty() ? warning : reason;
    }
    return failure(reason.empty() ? "libtiff gives no reason" : reason);
}

/// A truncated JPEG or fax chunk is only a warning of libtiff.
BoolResult ChunkReader::requireNoPrematureEnd() {
    for (std::string const& warning : _handle.takeWarnings()) {
        if (_warnings.size() < g_maxWarnings) {
            _warnings.insert(warning);
        }
    }
    std::string const end = _handle.takePrematureEnd();
    return end.empty() ? success() : failure(end);
}

BoolResult ChunkReader::requirePlausible(Chunk const& chunk, vlUInt64 nbBytes) const {
    vlUInt64 const nbInFile =
        std::min<vlUInt64>(TIFFGetStrileByteCount(_handle.get(), chunk.index), _handle.getFile().getSize());
    if (nbBytes > getLargestChunk(_shape.compression, nbInFile) && !isMissing(chunk)) {
        return failure("it announces " + std::to_string(nbBytes) + " bytes and has " +
                       std::to_string(nbInFile) + " in the file");
    }
    if (nbBytes > g_largeChunk && nbBytes > getAvailableMemory()) {
        return failure("it needs " + std::to_string(nbBytes) + " bytes of memory");
    }
    return success();
}

BoolResult ChunkReader::read(Chunk const& chunk, std::vector<std::byte>& buffer, RowSink const& sink) {
    static_cast<void>(_handle.takeError()); // about the directory
    static_cast<void>(_handle.takeWarnings());
    static_cast<void>(_handle.takePrematureEnd());
    if (_kind.decoding == eDecoding::Rgba) {
        return readRgba(chunk, buffer, sink);
    }
    TIFF* const pTiff = _handle.get();
    vlUInt64 const nbBytes = _shape.bTiled ? TIFFTileSize64(pTiff) : TIFFVStripSize64(pTiff, chunk.nbRows);
    vlUInt64 const rowBytes = _shape.bTiled ? TIFFTileRowSize64(pTiff) : TIFFScanlineSize64(pTiff);
    vlUInt64 const nbStoredRows = _shape.bTiled ? _shape.chunkY : chunk.nbRows;
    if (nbBytes == 0 || rowBytes == 0 || nbBytes / rowBytes < nbStoredRows) {
        return failToDecode();
    }
    if (!_shape.bTiled && nbBytes > g_largeStrip && !isMissing(chunk)) {
        return readRows(chunk, buffer, sink);
    }
    BoolResult result = readWhole(chunk, nbBytes, buffer);
    for (std::uint32_t y = 0; y < chunk.nbRows && result; ++y) {
        result = sink(y, buffer.data() + y * rowBytes);
    }
    return result;
}

BoolResult ChunkReader::readRows(Chunk const& chunk, std::vector<std::byte>& buffer, RowSink const& sink) {
    vlUInt64 const rowBytes = TIFFScanlineSize64(_handle.get());
    BoolResult result = requirePlausible(chunk, rowBytes);
    if (!result) {
        return result;
    }
    buffer.resize(rowBytes);
    for (std::uint32_t y = 0; y < chunk.nbRows && result; ++y) {
        if (TIFFReadScanline(_handle.get(), buffer.data(), chunk.y + y, chunk.sample) != 1) {
            return failToDecode();
        }
        result = sink(y, buffer.data());
    }
    return result ? requireNoPrematureEnd() : result;
}

BoolResult ChunkReader::readWhole(Chunk const& chunk, vlUInt64 nbBytes, std::vector<std::byte>& buffer) {
    BoolResult result = requirePlausible(chunk, nbBytes);
    if (!result) {
        return result;
    }
    buffer.resize(nbBytes);
    if (isMissing(chunk)) {
        std::fill(buffer.begin(), buffer.end(), std::byte{0});
        return success();
    }
    // Bytes that libtiff leaves unset include the last one: it would keep each of two values.
    for (std::byte const mark : {std::byte{0xa5}, std::byte{0x5a}}) {
        buffer.back() = mark;
        if (decode(chunk, buffer) != nbBytes) {
            return failToDecode();
        }
        if (!isDeflate(_shape.compression) || buffer.back() != mark) {
            return requireNoPrematureEnd();
        }
    }
    return failure("it holds more bytes than its pixels need");
}

vlUInt64 ChunkReader::decode(Chunk const& chunk, std::vector<std::byte>& buffer) {
    auto const size = static_cast<tmsize_t>(buffer.size());
    tmsize_t const nbDecoded = _shape.bTiled
                                   ? TIFFReadEncodedTile(_handle.get(), chunk.index, buffer.data(), size)
                                   : TIFFReadEncodedStrip(_handle.get(), chunk.index, buffer.data(), size);
    return nbDecoded < 0 ? 0 : static_cast<vlUInt64>(nbDecoded);
}

BoolResult ChunkReader::readRgba(Chunk const& chunk, std::vector<std::byte>& buffer, RowSink const& sink) {
    constexpr vlUInt64 pixelSize = 4;
    vlUInt64 const rowBytes = chunk.nbColumns * pixelSize;
    BoolResult result = requirePlausible(chunk, rowBytes * chunk.nbRows);
    if (!result) {
        return result;
    }
    buffer.assign(rowBytes * chunk.nbRows, std::byte{0});
    if (!isMissing(chunk)) {
        std::array<char, 1024> reason{};
        TIFFRGBAImage image = {};
        if (TIFFRGBAImageBegin(&image, _handle.get(), 1, reason.data()) != 1) {
            return failure(reason.data());
        }
        image.req_orientation = image.orientation; // rows and columns as stored
        image.col_offset = static_cast<int>(chunk.x);
        image.row_offset = static_cast<int>(chunk.y);
        auto* const pRaster = reinterpret_cast<std::uint32_t*>(buffer.data());
        int const done = TIFFRGBAImageGet(&image, pRaster, chunk.nbColumns, chunk.nbRows);
        TIFFRGBAImageEnd(&image);
        result = done == 1 ? requireNoPrematureEnd() : failToDecode();
    }
    for (std::uint32_t y = 0; y < chunk.nbRows && result; ++y) {
        result = sink(y, buffer.data() + y * rowBytes);
    }
    return result;
}

} // namespace velmo::importer
