// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/planes/TiffPlaneAccess.h"

#include "Tiff/TiffImageFileTools.h"
#include "Tiff/handle/TiffDirectories.h"
#include "Tiff/handle/TiffStream.h"
#include "Tiff/handle/TiffTags.h"
#include "Tiff/model/ImageJStack.h"
#include "Tiff/model/TiffPixels.h"
#include "Tiff/planes/PackedRows.h"
#include "Tiff/planes/PlaneContext.h"
#include "Tiff/planes/StackPlanes.h"
#include "Tiff/planes/StripTransfer.h"

#include <VELMOUtil/Chrono.h>
#include <optional>
#include <utility>

namespace velmo::image::file {

namespace {

/// The strips of the run's directory, if it has the shape of the current one, so that libtiff need not read
/// it; otherwise empty.
std::optional<TiffStrips> findPlainStrips(PlaneContext const& context) {
    if (context.pTiff == nullptr || getCompression(context.pTiff) != COMPRESSION_NONE) {
        return std::nullopt;
    }
    auto const rowsPerStrip = getTag<std::uint32_t>(context.pTiff, TIFFTAG_ROWSPERSTRIP);
    bool const bKnown = rowsPerStrip && (!context.isInterleaved() || context.requireChannels());
    auto places =
        bKnown ? TiffDirectories(context.pTiff, context.policy).findStripsLikeCurrent(context.directory)
               : std::nullopt;
    return places ? std::optional<TiffStrips>(std::in_place, context.pTiff, context.getLayout(*rowsPerStrip),
                                              std::move(*places))
                  : std::nullopt;
}

/// Transfers a run between plain strips and planes of consecutive channels from `firstChannel` on. Returns
/// false if libtiff must read the directory.
template <class Transfer, class How, class Planes>
bool moveWithoutLibtiff(PlaneContext const& context, How how, vlUInt64 firstChannel, Planes const& planes) {
    auto strips = findPlainStrips(context);
    if (!strips) {
        return false;
    }
    Transfer transfer(context, std::move(*strips), how);
    for (vlUInt64 index = 0; index < planes.size(); ++index) {
        transfer.addChannel(firstChannel + index, planes[index]);
    }
    bool const bMoved = transfer.runWithoutLibtiff();
    if (bMoved) {
        context.warnOfCutNumber();
    }
    return bMoved;
}

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
    StripReader reader(context, {context.pTiff, context.getLayout(rowsPerStrip)},
                       bZero ? eBroken::FillWithZeros : eBroken::Fail);
    reader.addChannel(bInterleaved ? context.run.c : 0, pPixels);
    return reader.run();
}

/// Reads RowsPerStrip, without which strips cannot be written. If the tag is missing, closes the handle.
BoolResult requireLayout(PlaneContext const& context, StripLayout& layout) {
    auto const rowsPerStrip = getTag<std::uint32_t>(context.pTiff, TIFFTAG_ROWSPERSTRIP);
    if (!rowsPerStrip) {
        return context.failToGetTagAndClose("TIFFTAG_ROWSPERSTRIP");
    }
    layout = context.getLayout(*rowsPerStrip);
    return success();
}

/// Writes planes of consecutive channels from `firstChannel` on.
BoolResult writeChannels(PlaneContext const& context, vlUInt64 firstChannel,
                         std::vector<void const*> const& planes, EncodedStrips const* pEncoded) {
    if (moveWithoutLibtiff<StripWriter>(context, StripWriter::eWriteFailure::Report, firstChannel, planes)) {
        return success();
    }
    StripLayout layout = {};
    BoolResult result =
        runSteps([&] { return context.requireHandle(); }, [&] { return context.reachDirectory(); },
                 [&] { return requireLayout(context, layout); },
                 [&] { return context.isInterleaved() ? context.requireChannels() : success(); });
    if (!result) {
        return result;
    }
    StripWriter writer(context, {context.pTiff, layout}, StripWriter::eWriteFailure::Report);
    writer.setEncoded(pEncoded);
    for (vlUInt64 index = 0; index < planes.size(); ++index) {
        writer.addChannel(firstChannel + index, planes[index]);
    }
    return writer.run();
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

/// Repeats a read that has failed if it may have used the directory and the pixels of the read before it. A
/// failure is therefore always that of a read of the file.
template <class Read>
BoolResult readAgainAfterFailure(TIFF*& pTiff, eTiffPolicy policy, Read const& read) {
    TiffStream* const pStream =
        pTiff != nullptr && reusesLastRead(policy) ? TiffStream::find(pTiff) : nullptr;
    bool const bReuses = pStream != nullptr && pStream->isCurrentDirectorySound();
    BoolResult result = read();
    if (!result && bReuses && pTiff != nullptr) {
        pStream->forgetLastRead();
        result = read();
    }
    return result;
}

BoolResult readPlaneOnce(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                         PlaneRun const& run, eTiffPolicy policy, void* pPixels) {
    PlaneContext const context(pTiff, path, geometry, run, policy, PlaneContext::eScope::Plane);
    BoolResult result = context.requireHandle();
    if (!result) {
        return result;
    }
    if (!context.findBitsPerSample()) {
        return context.failToGetTagAndClose("TIFFTAG_BITSPERSAMPLE");
    }
    if (isImageJStack(pTiff, geometry, policy)) {
        return readsStacksAsStored(policy)
                   ? readStoredPlane(context, pPixels)
                   : readStackRun(context, {{context.run.c, static_cast<std::byte*>(pPixels)}});
    }
    if (moveWithoutLibtiff<StripReader>(context, StripReader::eBrokenStrip::Fail,
                                        context.isInterleaved() ? run.c : 0, std::vector<void*>{pPixels})) {
        return success();
    }
    result = context.reachDirectory();
    if (!result) {
        return result;
    }
    bool const bPacked = context.findBitsPerSample() == 1;
    return bPacked ? readPackedRows(context, static_cast<std::byte*>(pPixels)) : readStrips(context, pPixels);
}

BoolResult readPageOnce(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                        PlaneRun const& run, eTiffPolicy policy, std::vector<void*> const& planes) {
    PlaneContext const context(pTiff, path, geometry, run, policy, PlaneContext::eScope::Page);
    if (!readsStacksAsStored(policy) && isImageJStack(pTiff, geometry, policy)) {
        TargetPlanes channels;
        for (vlUInt64 channel = 0; channel < planes.size(); ++channel) {
            channels.push_back({channel, static_cast<std::byte*>(planes[channel])});
        }
        return readStackRun(context, channels);
    }
    bool const bPages = pTiff != nullptr && isInterleavedRgb(pTiff, path);
    if (bPages && moveWithoutLibtiff<StripReader>(context, StripReader::eBrokenStrip::Fail, 0, planes)) {
        return success();
    }
    BoolResult result = reachPage(context);
    if (!result) {
        return result;
    }
    auto const rowsPerStrip = getTag<std::uint32_t>(pTiff, TIFFTAG_ROWSPERSTRIP).value_or(0);
    using eBroken = StripReader::eBrokenStrip;
    StripReader reader(context, {context.pTiff, context.getLayout(rowsPerStrip)},
                       zeroesBrokenStrips(policy) ? eBroken::FillWithZeros : eBroken::Fail);
    for (vlUInt64 channel = 0; channel < planes.size(); ++channel) {
        reader.addChannel(channel, planes[channel]);
    }
    return reader.run();
}

} // namespace

BoolResult readPlane(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                     PlaneRun const& run, eTiffPolicy policy, void* pPixels) {
    Chrono chrono;
    chrono.start();
    return readAgainAfterFailure(pTiff, policy,
                                 [&] { return readPlaneOnce(pTiff, path, geometry, run, policy, pPixels); });
}

BoolResult writePlane(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                      PlaneRun const& run, eTiffPolicy policy, void const* pPixels) {
    PlaneContext const context(pTiff, path, geometry, run, policy, PlaneContext::eScope::Plane);
    return writeChannels(context, context.isInterleaved() ? run.c : 0, {pPixels}, nullptr);
}

BoolResult writePlanes(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                       PlaneRun const& run, eTiffPolicy policy, std::vector<void const*> const& planes,
                       EncodedStrips const* pEncoded) {
    PlaneContext const context(pTiff, path, geometry, run, policy, PlaneContext::eScope::Plane);
    return writeChannels(context, 0, planes, pEncoded);
}

BoolResult readPage(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                    PlaneRun const& run, eTiffPolicy policy, std::vector<void*> const& planes) {
    return readAgainAfterFailure(pTiff, policy,
                                 [&] { return readPageOnce(pTiff, path, geometry, run, policy, planes); });
}

BoolResult writePage(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                     PlaneRun const& run, eTiffPolicy policy, std::vector<void const*> const& planes) {
    PlaneContext const context(pTiff, path, geometry, run, policy, PlaneContext::eScope::Page);
    StripLayout layout = {};
    BoolResult result =
        runSteps([&] { return reachPage(context); }, [&] { return requireLayout(context, layout); });
    if (!result) {
        return result;
    }
    StripWriter writer(context, {context.pTiff, layout}, StripWriter::eWriteFailure::IgnoreMinusOne);
    for (vlUInt64 channel = 0; channel < planes.size(); ++channel) {
        writer.addChannel(channel, planes[channel]);
    }
    return writer.run();
}

} // namespace velmo::image::file
