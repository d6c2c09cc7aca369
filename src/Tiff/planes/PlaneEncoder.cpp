// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/planes/PlaneEncoder.h"

#include "Tiff/handle/TiffTags.h"
#include "Tiff/model/TiffPixels.h"
#include "Tiff/planes/ChannelSamples.h"
#include "Tiff/planes/PlaneContext.h"

#include <VELMOBase/CheckedArithmetic.h>

namespace velmo::image::file {

PlaneEncoding::PlaneEncoding(TIFF*& pTiff, boost::filesystem::path const& path,
                             BaseImageGeometry const& geometry, eTiffPolicy policy)
    : _geometry(geometry), _nbChannels(isInterleavedColor(geometry) ? geometry.getSizeC() : 1) {
    for (vlUInt64 t = 0; t < geometry.getSizeT(); ++t) {
        PlaneRun const run = {0, 0, t, 0, geometry.getPlanNbPixels()};
        PlaneContext const context(pTiff, path, geometry, run, policy, PlaneContext::eScope::Plane);
        if (_directories.count(context.bufferType) == 0 && context.reachDirectory()) {
            vlUInt64 const rowsPerStrip = getTag<std::uint32_t>(pTiff, TIFFTAG_ROWSPERSTRIP).value_or(0);
            _directories[context.bufferType] = {StripTags(pTiff), context.getLayout(rowsPerStrip)};
        }
    }
}

std::optional<EncodedStrips> PlaneEncoder::encode(vlUInt64 t, std::vector<void const*> const& planes) {
    eImageBufferType const bufferType = getPlaneBufferType(_encoding._geometry, t);
    auto const found = _encoding._directories.find(bufferType);
    if (found == _encoding._directories.end()) {
        return std::nullopt;
    }
    StripLayout const& layout = found->second.layout;
    std::unique_ptr<StripEncoder>& pEncoder = _encoders[bufferType];
    if (!pEncoder) {
        pEncoder = std::make_unique<StripEncoder>(found->second.tags);
    }
    SourcePlanes channels;
    for (vlUInt64 channel = 0; channel < planes.size(); ++channel) {
        channels.push_back({channel, static_cast<std::byte const*>(planes[channel])});
    }
    EncodedStrips strips;
    vlUInt64 const nbStrips = divideUp(layout.sizeY, layout.rowsPerStrip);
    for (vlUInt64 strip = 0; strip < nbStrips; ++strip) {
        vlUInt64 const sampleBytes = layout.pixelStride / _encoding._nbChannels;
        vlUInt64 const offset = strip * layout.getStripPixels() * sampleBytes;
        vlUInt64 const nbBytes = layout.getBytesOf(strip);
        std::byte const* pPixels = channels.front().pSamples + offset;
        if (channels.size() != 1) {
            _pixels.resize(layout.getStripBytes());
            mergePixels(bufferType, _encoding._nbChannels, nbBytes / layout.pixelStride, channels, offset,
                        _pixels.data());
            pPixels = _pixels.data();
        }
        if (!pEncoder->encode(strip, pPixels, nbBytes, strips.bytes)) {
            return std::nullopt;
        }
        strips.ends.push_back(strips.bytes.size());
    }
    return strips;
}

} // namespace velmo::image::file
