// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/TiffPlaneAccess.h"

#include "Tiff/ImageJStack.h"
#include "Tiff/PackedRows.h"
#include "Tiff/PlanContext.h"
#include "Tiff/StripTransfer.h"
#include "Tiff/TiffImageFileTools.h"
#include "Tiff/TiffPixels.h"
#include "Tiff/TiffTags.h"

#include <VELMOUtil/Chrono.h>

namespace velmo {
namespace image {
namespace file {

namespace {

BoolResult readStrips(PlanContext const& context, void* pPixels) {
    bool const bInterleaved = context.isInterleaved();
    BoolResult result = bInterleaved ? context.requireChannels() : success();
    if (!result) {
        return result;
    }
    auto const rowsPerStrip = getTag<std::uint32_t>(context.pTiff, TIFFTAG_ROWSPERSTRIP).value_or(0);
    using eBroken = StripReader::eBrokenStrip;
    bool const bZero =
        bInterleaved ? zeroesBrokenChannels(context.policy) : zeroesBrokenStrips(context.policy);
    StripReader reader(context, context.getLayout(rowsPerStrip), bZero ? eBroken::IsZero : eBroken::Fails);
    reader.addChannel(bInterleaved ? context.run.c : 0, pPixels);
    return reader.run();
}

/// The layout of strips that can be written.
BoolResult requireRowsPerStrip(PlanContext const& context, std::uint32_t& rowsPerStrip) {
    auto const found = getTag<std::uint32_t>(context.pTiff, TIFFTAG_ROWSPERSTRIP);
    if (!found) {
        return context.failToGetTagAndClose("TIFFTAG_ROWSPERSTRIP");
    }
    rowsPerStrip = *found;
    return success();
}

BoolResult requireInterleaved(PlanContext const& context) {
    if (!isInterleavedRgb(context.pTiff, context.path)) {
        return fail(eTiffImageFileMessage::eTIFM_NotInterleavedRgb, context.path.string());
    }
    return context.requireChannels();
}

/// The first steps of every access to a page.
BoolResult reachPage(PlanContext const& context) {
    BoolResult result = context.requireHandle();
    if (result) {
        result = context.reachDirectory();
    }
    return result ? requireInterleaved(context) : result;
}

} // namespace

BoolResult readPlan(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                    PlanRun const& run, eTiffPolicy policy, void* pPixels) {
    Chrono chrono;
    chrono.start();
    PlanContext const context(pTiff, path, geometry, run, policy, PlanContext::eScope::Plan);
    BoolResult result = context.requireHandle();
    if (!result) {
        return result;
    }
    if (!context.findBitsPerSample()) {
        return context.failToGetTagAndClose("TIFFTAG_BITSPERSAMPLE");
    }
    if (isImageJStack(pTiff, geometry, policy)) {
        return readsStacksAsStored(policy) ? readStoredPlan(context, pPixels)
                                           : readStackRun(context, {{context.run.c, pPixels}});
    }
    result = context.reachDirectory();
    if (!result) {
        return result;
    }
    bool const bPacked = context.findBitsPerSample() == 1;
    return bPacked ? readPackedRows(context, static_cast<std::byte*>(pPixels)) : readStrips(context, pPixels);
}

BoolResult writePlan(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                     PlanRun const& run, eTiffPolicy policy, void const* pPixels) {
    PlanContext const context(pTiff, path, geometry, run, policy, PlanContext::eScope::Plan);
    bool const bInterleaved = context.isInterleaved();
    std::uint32_t rowsPerStrip = 0;
    BoolResult result =
        runSteps([&] { return context.requireHandle(); }, [&] { return context.reachDirectory(); },
                 [&] { return requireRowsPerStrip(context, rowsPerStrip); },
                 [&] { return bInterleaved ? context.requireChannels() : success(); });
    if (!result) {
        return result;
    }
    StripWriter writer(context, context.getLayout(rowsPerStrip), StripWriter::eMinusOne::Fails);
    writer.addChannel(bInterleaved ? run.c : 0, pPixels);
    return writer.run();
}

BoolResult readPage(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                    PlanRun const& run, eTiffPolicy policy, std::vector<void*> const& plans) {
    PlanContext const context(pTiff, path, geometry, run, policy, PlanContext::eScope::Page);
    if (!readsStacksAsStored(policy) && isImageJStack(pTiff, geometry, policy)) {
        std::vector<StackChannel> channels;
        for (vlUInt64 channel = 0; channel < plans.size(); ++channel) {
            channels.push_back({channel, plans[channel]});
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
                       zeroesBrokenStrips(policy) ? eBroken::IsZero : eBroken::Fails);
    for (vlUInt64 channel = 0; channel < plans.size(); ++channel) {
        reader.addChannel(channel, plans[channel]);
    }
    return reader.run();
}

BoolResult writePage(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                     PlanRun const& run, eTiffPolicy policy, std::vector<void const*> const& plans) {
    PlanContext const context(pTiff, path, geometry, run, policy, PlanContext::eScope::Page);
    std::uint32_t rowsPerStrip = 0;
    BoolResult result = runSteps([&] { return reachPage(context); },
                                 [&] { return requireRowsPerStrip(context, rowsPerStrip); });
    if (!result) {
        return result;
    }
    StripWriter writer(context, context.getLayout(rowsPerStrip), StripWriter::eMinusOne::Ignored);
    for (vlUInt64 channel = 0; channel < plans.size(); ++channel) {
        writer.addChannel(channel, plans[channel]);
    }
    return writer.run();
}

} // namespace file
} // namespace image
} // namespace velmo
