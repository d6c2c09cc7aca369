// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/files/TiffLoad.h"

#include "Tiff/TiffImageFileTools.h"
#include "Tiff/files/TiffOptions.h"
#include "Tiff/handle/TiffErrorHandler.h"
#include "Tiff/handle/TiffHandles.h"
#include "Tiff/handle/TiffTags.h"
#include "Tiff/model/TiffPixels.h"
#include "Tiff/model/TiffPlausibility.h"
#include "Tiff/planes/TiffPlaneAccess.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOBase/ParallelRun.h>
#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/ImageStrip.h>
#include <algorithm>
#include <utility>
#include <vector>

namespace velmo::image::file {

namespace {

using RowsPtr = boost::shared_ptr<OutputImageYStrip2d>;

/// Reads rows of planes, or of all channels of a page, from handles of a file into an image.
class RowLoader {
  public:
    RowLoader(TiffHandles& handles, boost::filesystem::path const& path, eTiffPolicy policy,
              ImagePtr const& pImage, bool bPages)
        : _handles(handles), _path(path), _policy(policy), _pImage(pImage), _geometry(pImage->getGeometry()),
          _bPages(bPages), _nbRows(_geometry.getSizeY()) {}

    /// Divides planes into runs of at least `nbRows` rows that begin with a strip.
    void divide(vlUInt64 nbRows, vlUInt64 rowsPerStrip) {
        _nbRows = std::min(_geometry.getSizeY(), divideUp(nbRows, rowsPerStrip) * rowsPerStrip);
    }

    vlUInt64 getNbRuns() const {
        vlUInt64 const nbChannels = _bPages ? 1 : _geometry.getSizeC();
        return _geometry.getSizeZ() * nbChannels * _geometry.getSizeT() * getNbRunsPerPlane();
    }

    /// Runs are numbered in the order of their directories, and of their rows.
    BoolResult load(vlUInt64 number) const {
        PlaneRun const plane = toPlane(_geometry, _bPages, number / getNbRunsPerPlane());
        vlUInt64 const y = number % getNbRunsPerPlane() * _nbRows;
        return load(plane, y, std::min(_nbRows, _geometry.getSizeY() - y));
    }

  private:
    vlUInt64 getNbRunsPerPlane() const { return _nbRows == 0 ? 1 : divideUp(_geometry.getSizeY(), _nbRows); }

    BoolResult load(PlaneRun const& plane, vlUInt64 y, vlUInt64 nbRows) const {
        vlUInt64 const nbChannels = !_bPages ? 1 : _geometry.getSizeC() == 4 ? 4 : 3;
        std::vector<RowsPtr> channels;
        std::vector<void*> pixels;
        for (vlUInt64 c = 0; c < nbChannels; ++c) {
            channels.emplace_back();
            ImageStripExtractor::extractYStrip2d<OutputImageYStrip2d>(plane.z, plane.c + c, plane.t, y,
                                                                      nbRows, eSAT_Default, eSPD_Default,
                                                                      _pImage, channels.back());
            BoolResult ready = channels.back()->initBuffer();
            if (!ready) {
                return ready;
            }
            pixels.push_back(channels.back()->accessBuffer().getDataPtr());
        }
        BoolResult result = read(plane, y, nbRows, pixels);
        for (vlUInt64 c = 0; c < nbChannels && result; ++c) {
            result = channels[c]->writeToImage();
        }
        return result;
    }

    BoolResult read(PlaneRun const& plane, vlUInt64 y, vlUInt64 nbRows,
                    std::vector<void*> const& pixels) const {
        vlUInt64 const sizeX = _geometry.getSizeX();
        PlaneRun const run = {plane.z, plane.c, plane.t, y * sizeX, nbRows * sizeX};
        TiffHandles::Loan handle(_handles);
        return _bPages ? readPage(handle.access(), _path, _geometry, run, _policy, pixels)
                       : readPlane(handle.access(), _path, _geometry, run, _policy, pixels.front());
    }

    TiffHandles& _handles;
    boost::filesystem::path const& _path;
    eTiffPolicy _policy;
    ImagePtr const& _pImage;
    BaseImageGeometry const& _geometry;
    bool _bPages;
    vlUInt64 _nbRows;
};

/// Bytes of pixels for which another thread is faster.
vlUInt64 getBytesForThread(TIFF* pTiff) {
    constexpr vlUInt64 ofDecoding = vlUInt64{1} << 20;
    constexpr vlUInt64 ofCopying = vlUInt64{16} << 20;
    return getCompression(pTiff) == COMPRESSION_NONE ? ofCopying : ofDecoding;
}

/// Divides planes for threads if there are few of them.
void divide(RowLoader& loader, TIFF* pTiff, BaseImageGeometry const& geometry, vlUInt64 nbThreads) {
    constexpr vlUInt64 runsOfThread = 4;
    vlUInt64 const nbPlanes = loader.getNbRuns();
    vlUInt64 const rowsPerStrip = getTag<std::uint32_t>(pTiff, TIFFTAG_ROWSPERSTRIP).value_or(0);
    if (nbThreads > 1 && nbPlanes < nbThreads * runsOfThread && rowsPerStrip != 0) {
        vlUInt64 const nbBytes = geometry.getFullMemorySize();
        vlUInt64 const nbRuns =
            std::max<vlUInt64>(1, std::min(nbThreads * runsOfThread, nbBytes / getBytesForThread(pTiff)));
        loader.divide(divideUp(geometry.getSizeY() * nbPlanes, nbRuns), rowsPerStrip);
    }
}

} // namespace

void loadTiffImage(boost::filesystem::path const& path, TiffOpenRequest const& request,
                   processor::ProcessorDispatchPolicy const& threads, ImagePtr& pImage,
                   FamilyFailure const& failure) {
    TiffHandles handles;
    TiffContents opened;
    failure.require(openTiff(path, request, opened));
    TIFF* const pTiff = opened.pTiff;
    BaseImageGeometry const& geometry = *opened.pGeometry;
    vlUInt64 const nbThreads = countUsefulThreads(threads, geometry, getBytesForThread(pTiff));
    handles.open(pTiff, nbThreads > 1 ? TiffHandles::eUse::SeveralAtATime : TiffHandles::eUse::OneAtATime);
    bool const bPages = isInterleavedRgb(pTiff, path);
    failure.require(requirePlausible(pTiff, path, geometry, request.policy, bPages));
    failure.require(ImageFactory::getInstance().createDefaultImage(geometry, pImage));
    if (opened.pCalibration) {
        pImage->setGeometricCalibration(opened.pCalibration);
    }
    if (!opened.userProperties.empty()) {
        pImage->setUserPropertiesStr(opened.userProperties);
    }
    RowLoader loader(handles, path, request.policy, pImage, bPages);
    divide(loader, pTiff, geometry, nbThreads);
    failure.require(runParallel(nbThreads, loader.getNbRuns(), [&](vlUInt64 thread, vlUInt64 run) {
        if (thread != 0) {
            TiffErrorHandler::getInstance().clearCurrentError();
        }
        return loader.load(run);
    }));
}

} // namespace velmo::image::file
