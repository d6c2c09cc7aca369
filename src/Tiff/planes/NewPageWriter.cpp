// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/planes/NewPageWriter.h"

#include "Tiff/handle/TiffDirectories.h"
#include "Tiff/handle/TiffStream.h"
#include "Tiff/planes/ChannelSamples.h"
#include "Tiff/planes/PlaneContext.h"
#include "Tiff/planes/TiffPlaneAccess.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace velmo::image::file {

namespace {

constexpr vlUInt64 g_chunkSize = vlUInt64{1} << 18;
/// Larger pages are not collected: reading the chunk takes longer than a write of each page.
constexpr vlUInt64 g_collectedPage = 12288;
/// Larger pages are written by `writePlanes`.
constexpr vlUInt64 g_smallPage = vlUInt64{1} << 16;

/// Merges the planes of all channels of a page.
void merge(PlaneContext const& context, std::vector<void const*> const& planes, std::byte* pTarget) {
    SourcePlanes channels;
    for (void const* pPlane : planes) {
        channels.push_back({channels.size(), static_cast<std::byte const*>(pPlane)});
    }
    mergePixels(context.bufferType, planes.size(), context.run.nbPixels, channels, 0, pTarget);
}

} // namespace

NewPageWriter::NewPageWriter(TIFF*& pTiff, boost::filesystem::path const& path,
                             BaseImageGeometry const& geometry, eTiffPolicy policy,
                             std::vector<vlUInt64> pixelOffsets)
    : _pTiff(pTiff), _path(path), _geometry(geometry), _policy(policy), _pStream(TiffStream::find(pTiff)),
      _pixelOffsets(std::move(pixelOffsets)) {}

BoolResult NewPageWriter::write(PlaneRun const& run, std::vector<void const*> const& planes,
                                EncodedStrips const* pEncoded) {
    PlaneContext const context(_pTiff, _path, _geometry, run, _policy, PlaneContext::eScope::Plane);
    vlUInt64 const nbBytes = run.nbPixels * getImageBufferBaseSize(context.bufferType) * planes.size();
    vlUInt64 const offset = nbBytes <= g_smallPage ? findOffset(context.directory) : 0;
    bool const bCollect = offset != 0 && nbBytes != 0 && nbBytes <= g_collectedPage;
    if (bCollect && isInChunk(offset, nbBytes)) {
        return collect(context, offset, nbBytes, planes);
    }
    BoolResult result = flush();
    if (!result) {
        return result;
    }
    if (bCollect && readChunk(offset, nbBytes)) {
        return collect(context, offset, nbBytes, planes);
    }
    bool const bWritten = offset != 0 && nbBytes != 0 && writeDirectly(context, offset, nbBytes, planes);
    return bWritten ? success() : writePlanes(_pTiff, _path, _geometry, run, _policy, planes, pEncoded);
}

BoolResult NewPageWriter::collect(PlaneContext const& context, vlUInt64 offset, vlUInt64 nbBytes,
                                  std::vector<void const*> const& planes) {
    std::byte* const pTarget = _chunk.data() + (offset - _chunkStart);
    if (planes.size() == 1) {
        std::memcpy(pTarget, planes.front(), nbBytes);
    } else {
        merge(context, planes, pTarget);
    }
    _pages.push_back({context.run, offset});
    _end = offset + nbBytes;
    return success();
}

bool NewPageWriter::writeDirectly(PlaneContext const& context, vlUInt64 offset, vlUInt64 nbBytes,
                                  std::vector<void const*> const& planes) {
    void const* pPixels = planes.front();
    if (planes.size() != 1) {
        _chunk.resize(std::max<vlUInt64>(_chunk.size(), nbBytes));
        merge(context, planes, _chunk.data());
        pPixels = _chunk.data();
    }
    return _pStream->writeAt(offset, pPixels, nbBytes) == nbBytes;
}

/// Offset of the pixels of a directory; 0 if it is not known.
vlUInt64 NewPageWriter::findOffset(vlUInt64 directory) const {
    bool const bKnown =
        directory < _pixelOffsets.size() && TiffDirectories(_pTiff, _policy).toNumber(directory) == directory;
    return bKnown ? _pixelOffsets[directory] : 0;
}

bool NewPageWriter::isInChunk(vlUInt64 offset, vlUInt64 nbBytes) const {
    return !_pages.empty() && offset >= _end && offset + nbBytes <= _chunkStart + _chunk.size();
}

/// Reads a part of the file that begins with the pixels of a page. Returns false if it does not contain all
/// of them.
bool NewPageWriter::readChunk(vlUInt64 offset, vlUInt64 nbBytes) {
    _chunk.resize(g_chunkSize);
    _chunk.resize(_pStream->readAt(offset, _chunk.data(), _chunk.size()));
    _chunkStart = offset;
    return _chunk.size() >= nbBytes;
}

BoolResult NewPageWriter::flush() {
    std::vector<Page> const pages = std::exchange(_pages, {});
    BoolResult result = success();
    vlUInt64 const nbBytes = pages.empty() ? 0 : _end - _chunkStart;
    if (_pStream->writeAt(_chunkStart, _chunk.data(), nbBytes) != nbBytes) {
        for (auto page = pages.begin(); result && page != pages.end(); ++page) {
            result = writeCollected(*page);
        }
    }
    return result;
}

BoolResult NewPageWriter::writeCollected(Page const& page) {
    PlaneContext const context(_pTiff, _path, _geometry, page.run, _policy, PlaneContext::eScope::Plane);
    vlUInt64 const nbBytes = page.run.nbPixels * getImageBufferBaseSize(context.bufferType);
    std::vector<std::vector<std::byte>> samples(context.nbChannels, std::vector<std::byte>(nbBytes));
    TargetPlanes channels;
    std::vector<void const*> planes;
    for (std::vector<std::byte>& plane : samples) {
        channels.push_back({channels.size(), plane.data()});
        planes.push_back(plane.data());
    }
    splitPixels(context.bufferType, context.nbChannels, page.run.nbPixels,
                _chunk.data() + (page.offset - _chunkStart), channels, 0);
    return writePlanes(_pTiff, _path, _geometry, page.run, _policy, planes);
}

} // namespace velmo::image::file
