// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/TiffImageFileUtils.h>

#include "Tiff/TiffFileClosure.h"
#include "Tiff/TiffImageFileTools.h"
#include "Tiff/TiffPlaneAccess.h"
#include "Tiff/TiffPlausibility.h"
#include "Utils/FormatFamily.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/ImageStrip.h>
#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOImageFile/TiffImageFileMessage.h>
#include <boost/make_shared.hpp>

namespace velmo {
namespace image {
namespace file {

namespace {

constexpr FamilyMessages g_messages = {
    "N5velmo5image4file21eTiffImageFileMessage6domainE", eTiffImageFileMessage::eTIFM_LoadFileError,
    eTiffImageFileMessage::eTIFM_SaveFileError, eTiffImageFileMessage::eTIFM_CreateDistributedImageError};

/// A strip of all rows is one plane.
template <class Strip>
boost::shared_ptr<Strip> extractPlan(boost::shared_ptr<typename Strip::Image> const& pImage, vlUInt64 z,
                                     vlUInt64 c, vlUInt64 t, FamilyFailure const& failure) {
    boost::shared_ptr<Strip> pStrip;
    ImageStripExtractor::extractYStrip2d<Strip>(z, c, t, 0, pImage->getGeometry().getSizeY(), eSAT_Default,
                                                eSPD_Default, pImage, pStrip);
    failure.require(pStrip->initBuffer());
    return pStrip;
}

using OutputPlanPtr = boost::shared_ptr<OutputImageYStrip2d>;
using InputPlanPtr = boost::shared_ptr<InputImageYStrip2d>;

/// An open file and the image whose planes come from it or go to it, plane by plane.
struct PlanTransfer {
    TIFF*& pTiff;
    boost::filesystem::path const& path;
    BaseImageGeometry const& geometry;
    FamilyFailure const& failure;

    PlanRun toRun(vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
        return {z, c, t, 0, geometry.getPlanNbPixels()};
    }
    vlUInt64 getNbPageChannels() const { return geometry.getSizeC() == 4 ? 4 : 3; }

    void loadPlan(ImagePtr const& pImage, vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
        OutputPlanPtr const pPlan = extractPlan<OutputImageYStrip2d>(pImage, z, c, t, failure);
        failure.require(readPlan(pTiff, path, geometry, toRun(z, c, t), pPlan->accessBuffer().getDataPtr()));
        failure.require(pPlan->writeToImage());
    }

    void loadPage(ImagePtr const& pImage, vlUInt64 z, vlUInt64 t) const {
        std::vector<OutputPlanPtr> plans;
        std::vector<void*> pixels;
        for (vlUInt64 c = 0; c < getNbPageChannels(); ++c) {
            plans.push_back(extractPlan<OutputImageYStrip2d>(pImage, z, c, t, failure));
            pixels.push_back(plans.back()->accessBuffer().getDataPtr());
        }
        failure.require(readPage(pTiff, path, geometry, toRun(z, 0, t), pixels));
        for (OutputPlanPtr const& pPlan : plans) {
            failure.require(pPlan->writeToImage());
        }
    }

    void savePlan(ImageConstPtr const& pImage, vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
        InputPlanPtr const pPlan = extractPlan<InputImageYStrip2d>(pImage, z, c, t, failure);
        failure.require(pPlan->readFromImage());
        failure.require(writePlan(pTiff, path, geometry, toRun(z, c, t), pPlan->accessBuffer().getDataPtr()));
    }

    /// Every component receives the first channel of the image.
    void savePage(ImageConstPtr const& pImage, vlUInt64 z, vlUInt64 t) const {
        std::vector<InputPlanPtr> plans;
        std::vector<void const*> pixels;
        for (vlUInt64 c = 0; c < getNbPageChannels(); ++c) {
            plans.push_back(extractPlan<InputImageYStrip2d>(pImage, z, 0, t, failure));
            failure.require(plans.back()->readFromImage());
            pixels.push_back(plans.back()->accessBuffer().getDataPtr());
        }
        failure.require(writePage(pTiff, path, geometry, toRun(z, 0, t), pixels));
    }

    /// Calls `doPage(z, t)` for each page of an interleaved file, else `doPlan(z, c, t)` for each plane.
    template <class DoPlan, class DoPage>
    void traverse(bool bInterleaved, DoPlan const& doPlan, DoPage const& doPage) const {
        for (vlUInt64 t = 0; t < geometry.getSizeT(); ++t) {
            for (vlUInt64 c = 0; c < (bInterleaved ? 1 : geometry.getSizeC()); ++c) {
                for (vlUInt64 z = 0; z < geometry.getSizeZ(); ++z) {
                    bInterleaved ? doPage(z, t) : doPlan(z, c, t);
                }
            }
        }
    }
};

void saveTiffCpuImageFile(boost::filesystem::path const& path, ImageConstPtr const& pImage,
                          eTiffCompression const& compression, FamilyFailure const& failure) {
    BaseImageGeometry const& geometry = pImage->getGeometry();
    std::string const& userProperties = pImage->getUserPropertiesStr();
    GeometricCalibrationConstPtr const pCalibration = pImage->getGeometricCalibrationConstPtr();
    TIFF* pTiff = nullptr;
    TiffFileClosure const closure(path.string(), pTiff);
    failure.require(userProperties.empty()
                        ? createTiffFile(path, geometry, pCalibration, compression, pTiff)
                        : createTiffFile(path, geometry, pCalibration, userProperties, compression, pTiff));
    PlanTransfer const transfer = {pTiff, path, geometry, failure};
    // A new file stands on no directory yet, so this is false and channels are merged one by one.
    transfer.traverse(
        isInterleavedRgb(pTiff, path),
        [&](vlUInt64 z, vlUInt64 c, vlUInt64 t) { transfer.savePlan(pImage, z, c, t); },
        [&](vlUInt64 z, vlUInt64 t) { transfer.savePage(pImage, z, t); });
}

DiskImagePtr openDiskImage(boost::filesystem::path const& path, eImageAccessMode accessMode,
                           eTiffDirectoryMode directoryMode, eTiffBufferMode bufferMode,
                           std::string& userProperties, FamilyFailure const& failure) {
    auto const pAccessor = boost::make_shared<TiffImageFile>();
    failure.require(pAccessor->openFile(path, accessMode, directoryMode, bufferMode, userProperties));
    return createDiskImage(pAccessor, failure);
}

/// What of a file the copy of its pixels does not bring. An empty text and no calibration count as well.
DistributedImagePtr describe(DistributedImagePtr const& pImage, DiskImagePtr const& pSource,
                             std::string const& userProperties) {
    pImage->setGeometricCalibration(pSource->getGeometricCalibrationConstPtr());
    pImage->setUserPropertiesStr(userProperties);
    return pImage;
}

} // namespace

void loadTiffImageFile(boost::filesystem::path const& path, ImagePtr& image,
                       eTiffDirectoryMode const& directoryMode, eTiffBufferMode const& bufferMode) {
    FamilyFailure const failure = FamilyFailure::ofLoad(g_messages, VELMO_HERE, path);
    TIFF* pTiff = nullptr;
    TiffFileClosure const closure(path.string(), pTiff);
    ImageGeometryPtr pGeometry;
    GeometricCalibrationPtr pCalibration;
    std::string userProperties;
    failure.require(openTiffFile(path, eIAM_ReadOnly, directoryMode, bufferMode, pTiff, pGeometry,
                                 pCalibration, &userProperties));
    bool const bInterleaved = isInterleavedRgb(pTiff, path);
    failure.require(requirePlausible(pTiff, path, *pGeometry, bInterleaved));
    failure.require(ImageFactory::getInstance().createDefaultImage(*pGeometry, image));
    if (pCalibration) {
        image->setGeometricCalibration(pCalibration);
    }
    if (!userProperties.empty()) {
        image->setUserPropertiesStr(userProperties);
    }
    PlanTransfer const transfer = {pTiff, path, *pGeometry, failure};
    transfer.traverse(
        bInterleaved, [&](vlUInt64 z, vlUInt64 c, vlUInt64 t) { transfer.loadPlan(image, z, c, t); },
        [&](vlUInt64 z, vlUInt64 t) { transfer.loadPage(image, z, t); });
}

ImagePtr loadTiffImageFile(boost::filesystem::path const& path, eTiffDirectoryMode const& directoryMode,
                           eTiffBufferMode const& bufferMode) {
    ImagePtr pImage;
    loadTiffImageFile(path, pImage, directoryMode, bufferMode);
    return pImage;
}

ImagePtr loadTiffImageFile(boost::filesystem::path const& path, eTiffBufferMode const& bufferMode) {
    return loadTiffImageFile(path, eTDM_Volume, bufferMode);
}

void loadTiffImageFile(boost::filesystem::path const& path, eTiffBufferMode const& bufferMode,
                       ImagePtr& image) {
    loadTiffImageFile(path, image, eTDM_Volume, bufferMode);
}

DiskImagePtr openTiffImageFile(boost::filesystem::path const& path, eTiffDirectoryMode const& directoryMode,
                               eTiffBufferMode const& bufferMode) {
    constexpr auto readAndWrite = static_cast<eImageAccessMode>(1);
    FamilyFailure const failure = FamilyFailure::ofLoad(g_messages, VELMO_HERE, path);
    std::string userProperties;
    DiskImagePtr pImage =
        openDiskImage(path, readAndWrite, directoryMode, bufferMode, userProperties, failure);
    if (!userProperties.empty()) {
        pImage->setUserPropertiesStr(userProperties);
    }
    return pImage;
}

DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                 eTiffDirectoryMode const& directoryMode,
                                                 eTiffBufferMode const& bufferMode, bool defaultDispatch) {
    FamilyFailure const failure = FamilyFailure::ofLoad(g_messages, VELMO_HERE, path);
    std::string userProperties;
    DiskImagePtr const pSource =
        openDiskImage(path, eIAM_ReadOnly, directoryMode, bufferMode, userProperties, failure);
    return describe(distributeImage(pSource, toDispatch(defaultDispatch), failure), pSource, userProperties);
}

DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                 DistributedImage const& model,
                                                 eTiffBufferMode const& bufferMode, bool defaultDispatch) {
    FamilyFailure const failure = FamilyFailure::ofLoad(g_messages, VELMO_HERE, path);
    bool const bSequence = model.getTemporalGeometryType() == eTGT_Sequence;
    std::string userProperties;
    DiskImagePtr const pSource = openDiskImage(path, eIAM_ReadOnly, bSequence ? eTDM_Temporal : eTDM_Volume,
                                               bufferMode, userProperties, failure);
    return describe(distributeImage(pSource, model, toDispatch(defaultDispatch), failure), pSource,
                    userProperties);
}

void saveTiffImageFile(boost::filesystem::path const& path, ImageConstPtr const& image,
                       eTiffCompression const& compression) {
    FamilyFailure const failure = FamilyFailure::ofSave(g_messages, VELMO_HERE, path);
    requireSource(image, path, failure);
    saveTiffCpuImageFile(path, image->requiresCpuCopy() ? image->createCpuCopy() : image, compression,
                         failure);
}

} // namespace file
} // namespace image
} // namespace velmo
