// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/planes/TiffPlaneAccess.h"

#include "Tiff/TiffImageFileTools.h"
#include "Tiff/handle/TiffTags.h"
#include "Tiff/model/ImageJStack.h"
#include "Tiff/model/TiffPixels.h"
#include "Tiff/planes/PackedRows.h"
#include "Tiff/planes/PlaneContext.h"
#include "Tiff/planes/StackPlanes.h"
#include "Tiff/planes/StripTransfer.h"

#include <VELMOUtil/Chrono.h>

namespace velmo::image::file {

namespace {

BoolResult readStrips(PlaneContext const& context, void* pPixels) {
    bool const bInterleaved = context.isInterleaved();
    BoolResult result = bInterleaved ? context.requireChannels() : success();
    if (!result) {
        return result;
    }
    auto const rowsPerStrip = getTag<std::uint32_t>(context.pTiff, TIFFTAG_ROWSPERSTRIP).value_or(0);
    using eBroken = StripReader::eBrokenStrip;
    bool const bZero =
        bInterleaved ? zeroesBrokenChannels(context.policy) : zeroesBrokenStrips(context.policy);
    StripReader reader(context, context.getLayout(rowsPerStrip),
                       bZero ? eBroken::FillWithZeros : eBroken::Fail);
    reader.addChannel(bInterleaved ? context.run.c : 0, pPixels);
    return reader.run();
}

/// Reads RowsPerStrip, without which strips cannot be written. If the tag is missing, closes the handle.
BoolResult requireRowsPerStrip(PlaneContext const& context, std::uint32_t& rowsPerStrip) {
    auto const found = getTag<std::uint32_t>(context.pTiff, TIFFTAG_ROWSPERSTRIP);
    if (!found) {
        return context.failToGetTagAndClose("TIFFTAG_ROWSPERSTRIP");
    }
    rowsPerStrip = *found;
    return success();
}

BoolResult requireInterleaved(PlaneContext const& context) {
    if (!isInterleavedRgb(context.pTiff, context.path)) {
        return fail(eTiffImageFileMessage::eTIFM_NotInterleavedRgb, context.path.string());
    }
    return context.requireChannels();
}

/// The first steps of every access to an interleaved page.
BoolResult reachPage(PlaneContext const& context) {
    BoolResult result = context.requireHandle();
    if (result) {
        result = context.reachDirectory();
    }
    return result ? requireInterleaved(context) : result;
}

} // namespace

BoolResult readPlane(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                     PlaneRun const& run, eTiffPolicy policy, void* pPixels) {
    Chrono chrono;
    chrono.start();
    PlaneContext const context(pTiff, path, geometry, run, policy, PlaneContext::eScope::Plane);
    BoolResult result = context.requireHandle();
    if (!result) {
        return result;
    }
    if (!context.findBitsPerSample()) {
        return context.failToGetTagAndClose("TIFFTAG_BITSPERSAMPLE");
    }
    if (isImageJStack(pTiff, geometry, policy)) {
        return readsStacksAsStored(policy) ? readStoredPlane(context, pPixels)
                                           : readStackRun(context, {{context.run.c, pPixels}});
    }
    result = context.reachDirectory();
    if (!result) {
        return result;
    }
    bool const bPacked = context.findBitsPerSample() == 1;
    return bPacked ? readPackedRows(context, static_cast<std::byte*>(pPixels)) : readStrips(context, pPixels);
}

BoolResult writePlane(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                      PlaneRun const& run, eTiffPolicy policy, void const* pPixels) {
    PlaneContext const context(pTiff, path, geometry, run, policy, PlaneContext::eScope::Plane);
    bool const bInterleaved = context.isInterleaved();
    std::uint32_t rowsPerStrip = 0;
    BoolResult result =
        runSteps([&] { return context.requireHandle(); }, [&] { return context.reachDirectory(); },
                 [&] { return requireRowsPerStrip(context, rowsPerStrip); },
                 [&] { return bInterleaved ? context.requireChannels() : success(); });
    if (!result) {
        return result;
    }
    StripWriter writer(context, context.getLayout(rowsPerStrip), StripWriter::eWriteFailure::Report);
    writer.addChannel(bInterleaved ? run.c : 0, pPixels);
    return writer.run();
}

BoolResult readPage(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                    PlaneRun const& run, eTiffPolicy policy, std::vector<void*> const& planes) {
    PlaneContext const context(pTiff, path, geometry, run, policy, PlaneContext::eScope::Page);
    if (!readsStacksAsStored(policy) && isImageJStack(pTiff, geometry, policy)) {
        std::vector<StackChannel> channels;
        for (vlUInt64 channel = 0; channel < planes.size(); ++channel) {
            channels.push_back({channel, planes[channel]});
        }
        return readStackRun(context, channels);
    }
    BoolResult result = reachPage(context);
    if (!result) {
        return result;
    }
    auto const rowsPerStrip = getTag<std::uint32_t>(pTiff, TIFFTAG_ROWSPERSTRIP).value_or(0);
    using eBroken = StripReader::eBrokenStrip;
    StripReader reader(context, context.getLayout(rowsPerStrip),
                       zeroesBrokenStrips(policy) ? eBroken::FillWithZeros : eBroken::Fail);
    for (vlUInt64 channel = 0; channel < planes.size(); ++channel) {
        reader.addChannel(channel, planes[channel]);
    }
    return reader.run();
}

BoolResult writePage(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                     PlaneRun const& run, eTiffPolicy policy, std::vector<void const*> const& planes) {
    PlaneContext const context(pTiff, path, geometry, run, policy, PlaneContext::eScope::Page);
    std::uint32_t rowsPerStrip = 0;
    BoolResult result = runSteps([&] { return reachPage(context); },
                                 [&] { return requireRowsPerStrip(context, rowsPerStrip); });
    if (!result) {
        return result;
    }
    StripWriter writer(context, context.getLayout(rowsPerStrip), StripWriter::eWriteFailure::IgnoreMinusOne);
    for (vlUInt64 channel = 0; channel < planes.size(); ++channel) {
        writer.addChannel(channel, planes[channel]);
    }
    return writer.run();
}

} // namespace velmo::image::file
