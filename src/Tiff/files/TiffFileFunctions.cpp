// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/TiffImageFileUtils.h>

#include "Frame/FailureText.h"
#include "Frame/FormatFamily.h"
#include "Tiff/TiffImageFileTools.h"
#include "Tiff/files/TiffOptions.h"
#include "Tiff/handle/TiffErrorHandler.h"
#include "Tiff/handle/TiffFileClosure.h"
#include "Tiff/handle/TiffStream.h"
#include "Tiff/model/TiffCreation.h"
#include "Tiff/model/TiffPixels.h"
#include "Tiff/model/TiffPlausibility.h"
#include "Tiff/planes/NewPageWriter.h"
#include "Tiff/planes/TiffPlaneAccess.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOBase/ReplacedFile.h>
#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/ImageStrip.h>
#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <VELMOImageFile/TiffImageFileMessage.h>

namespace velmo::image::file {

namespace {

using Check = eImageFileCheckMessage;

constexpr FamilyMessages g_messages = {
    "N5velmo5image4file21eTiffImageFileMessage6domainE", eTiffImageFileMessage::eTIFM_LoadFileError,
    eTiffImageFileMessage::eTIFM_SaveFileError, eTiffImageFileMessage::eTIFM_CreateDistributedImageError};

/// A strip of all rows is a whole plane.
template <class Strip>
boost::shared_ptr<Strip> extractPlane(boost::shared_ptr<typename Strip::Image> const& pImage, vlUInt64 z,
                                      vlUInt64 c, vlUInt64 t, FamilyFailure const& failure) {
    boost::shared_ptr<Strip> pStrip;
    ImageStripExtractor::extractYStrip2d<Strip>(z, c, t, 0, pImage->getGeometry().getSizeY(), eSAT_Default,
                                                eSPD_Default, pImage, pStrip);
    failure.require(pStrip->initBuffer());
    return pStrip;
}

using OutputPlanePtr = boost::shared_ptr<OutputImageYStrip2d>;
using InputPlanePtr = boost::shared_ptr<InputImageYStrip2d>;

/// Transfers planes between an open file and an image.
struct PlaneTransfer {
    TIFF*& pTiff;
    boost::filesystem::path const& path;
    BaseImageGeometry const& geometry;
    eTiffPolicy policy;
    FamilyFailure const& failure;

    PlaneRun toRun(vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
        return {z, c, t, 0, geometry.getPlanNbPixels()};
    }
    vlUInt64 getNbPageChannels() const { return geometry.getSizeC() == 4 ? 4 : 3; }

    void loadPlane(ImagePtr const& pImage, vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
        OutputPlanePtr const pPlane = extractPlane<OutputImageYStrip2d>(pImage, z, c, t, failure);
        failure.require(
            readPlane(pTiff, path, geometry, toRun(z, c, t), policy, pPlane->accessBuffer().getDataPtr()));
        failure.require(pPlane->writeToImage());
    }

    void loadPage(ImagePtr const& pImage, vlUInt64 z, vlUInt64 t) const {
        std::vector<OutputPlanePtr> planes;
        std::vector<void*> pixels;
        for (vlUInt64 c = 0; c < getNbPageChannels(); ++c) {
            planes.push_back(extractPlane<OutputImageYStrip2d>(pImage, z, c, t, failure));
            pixels.push_back(planes.back()->accessBuffer().getDataPtr());
        }
        failure.require(readPage(pTiff, path, geometry, toRun(z, 0, t), policy, pixels));
        for (OutputPlanePtr const& pPlane : planes) {
            failure.require(pPlane->writeToImage());
        }
    }

    void savePlane(NewPageWriter& writer, ImageConstPtr const& pImage, vlUInt64 z, vlUInt64 c,
                   vlUInt64 t) const {
        InputPlanePtr const pPlane = extractPlane<InputImageYStrip2d>(pImage, z, c, t, failure);
        failure.require(pPlane->readFromImage());
        failure.require(writer.write(toRun(z, c, t), {pPlane->accessBuffer().getDataPtr()}));
    }

    /// Saves all channels of (z, t) of an interleaved file. Their planes are read in the order of the
    /// channels.
    void saveChannels(NewPageWriter& writer, ImageConstPtr const& pImage, vlUInt64 z, vlUInt64 t) const {
        std::vector<InputPlanePtr> planes;
        std::vector<void const*> pixels;
        for (vlUInt64 c = 0; c < geometry.getSizeC(); ++c) {
            planes.push_back(extractPlane<InputImageYStrip2d>(pImage, z, c, t, failure));
            BoolResult const result = planes.back()->readFromImage();
            if (!result) {
                requireEarlierPlanes(pImage, z, c, t);
            }
            failure.require(result);
            pixels.push_back(planes.back()->accessBuffer().getDataPtr());
        }
        failure.require(writer.write(toRun(z, 0, t), pixels));
    }

    /// Fails if a plane fails that a save of one channel after the other would read before (z, c, t). Both
    /// kinds of saves therefore report the same plane.
    void requireEarlierPlanes(ImageConstPtr const& pImage, vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
        for (vlUInt64 channel = 0; channel < c; ++channel) {
            for (vlUInt64 later = z + 1; later < geometry.getSizeZ(); ++later) {
                failure.require(
                    extractPlane<InputImageYStrip2d>(pImage, later, channel, t, failure)->readFromImage());
            }
        }
    }

    /// All channels of the page get the pixels of the first channel of the image.
    void savePage(ImageConstPtr const& pImage, vlUInt64 z, vlUInt64 t) const {
        std::vector<InputPlanePtr> planes;
        std::vector<void const*> pixels;
        for (vlUInt64 c = 0; c < getNbPageChannels(); ++c) {
            planes.push_back(extractPlane<InputImageYStrip2d>(pImage, z, 0, t, failure));
            failure.require(planes.back()->readFromImage());
            pixels.push_back(planes.back()->accessBuffer().getDataPtr());
        }
        failure.require(writePage(pTiff, path, geometry, toRun(z, 0, t), policy, pixels));
    }

    /// Calls `doPage(z, t)` for all channels at once, or `doPlane(z, c, t)` for each plane.
    template <class DoPlane, class DoPage>
    void traverse(bool bPages, DoPlane const& doPlane, DoPage const& doPage) const {
        for (vlUInt64 t = 0; t < geometry.getSizeT(); ++t) {
            for (vlUInt64 c = 0; c < (bPages ? 1 : geometry.getSizeC()); ++c) {
                for (vlUInt64 z = 0; z < geometry.getSizeZ(); ++z) {
                    bPages ? doPage(z, t) : doPlane(z, c, t);
                }
            }
        }
    }
};

void saveTiffCpuImageFile(boost::filesystem::path const& path, ImageConstPtr const& pImage,
                          eTiffCompression const& compression, eTiffPolicy policy,
                          FamilyFailure const& failure) {
    BaseImageGeometry const& geometry = pImage->getGeometry();
    std::string const& userProperties = pImage->getUserPropertiesStr();
    GeometricCalibrationConstPtr const pCalibration = pImage->getGeometricCalibrationConstPtr();
    TIFF* pTiff = nullptr;
    TiffFileClosure const closure(path.string(), pTiff);
    std::vector<vlUInt64> pixelOffsets;
    failure.require(
        createTiffFile(path, geometry, pCalibration, userProperties, compression, pTiff, pixelOffsets));
    PlaneTransfer const transfer = {pTiff, path, geometry, policy, failure};
    NewPageWriter writer(pTiff, path, geometry, policy, std::move(pixelOffsets));
    auto const savePlane = [&](vlUInt64 z, vlUInt64 c, vlUInt64 t) {
        transfer.savePlane(writer, pImage, z, c, t);
    };
    try {
        if (isInterleavedRgb(pTiff, path)) { // never: a new file has no current directory
            transfer.traverse(true, savePlane,
                              [&](vlUInt64 z, vlUInt64 t) { transfer.savePage(pImage, z, t); });
        } else {
            transfer.traverse(isInterleavedColor(geometry), savePlane,
                              [&](vlUInt64 z, vlUInt64 t) { transfer.saveChannels(writer, pImage, z, t); });
        }
    } catch (...) {
        failure.require(writer.flush()); // the planes before the one that failed; their failure is the first
        throw;
    }
    failure.require(writer.flush());
}

/// Returns the image, or a copy in the memory of the CPU if the image requires one.
ImageConstPtr toCpuImage(ImageConstPtr const& pImage) {
    return pImage->requiresCpuCopy() ? pImage->createCpuCopy() : pImage;
}

/// Saves an image and closes the file. Fails if the operating system reports an error of the close.
void saveAndClose(boost::filesystem::path const& path, ImageConstPtr const& pImage,
                  eTiffCompression compression, FamilyFailure const& failure) {
    saveTiffCpuImageFile(path, toCpuImage(pImage), compression, eTiffPolicy::Strict, failure);
    failure.require(TiffStream::getCloseResult());
}

/// Fails for an image that could be saved but not loaded again.
BoolResult requireLoadable(BaseImageGeometry const& geometry) {
    constexpr vlUInt64 largestPageCount = 65536;
    auto const nbPages = checkedMultiply(geometry.getSizeZ(), geometry.getSizeT());
    if (isInterleavedColor(geometry) && (!nbPages || *nbPages > largestPageCount)) {
        return fail(Check::eIFCM_TooManyPages, nbPages.value_or(NumericLimits<vlUInt64>::s_max),
                    largestPageCount);
    }
    return geometry.getFullMemorySize() != 0 ? success() : fail(Check::eIFCM_ImageWithoutPixels);
}

/// Loads a file into `image`. After a failure `image` contains the pixels that were loaded before.
void loadImage(boost::filesystem::path const& path, TiffOpenRequest const& request, ImagePtr& image,
               FamilyFailure const& failure) {
    TiffContents opened;
    TiffFileClosure const closure(path.string(), opened.pTiff);
    failure.require(openTiff(path, request, opened));
    bool const bInterleaved = isInterleavedRgb(opened.pTiff, path);
    BaseImageGeometry const& geometry = *opened.pGeometry;
    failure.require(requirePlausible(opened.pTiff, path, geometry, request.policy, bInterleaved));
    failure.require(ImageFactory::getInstance().createDefaultImage(geometry, image));
    if (opened.pCalibration) {
        image->setGeometricCalibration(opened.pCalibration);
    }
    if (!opened.userProperties.empty()) {
        image->setUserPropertiesStr(opened.userProperties);
    }
    PlaneTransfer const transfer = {opened.pTiff, path, geometry, request.policy, failure};
    transfer.traverse(
        bInterleaved, [&](vlUInt64 z, vlUInt64 c, vlUInt64 t) { transfer.loadPlane(image, z, c, t); },
        [&](vlUInt64 z, vlUInt64 t) { transfer.loadPage(image, z, t); });
}

DiskImagePtr openDiskImage(boost::filesystem::path const& path, TiffOpenRequest const& request,
                           std::string& userProperties, FamilyFailure const& failure) {
    auto const pAccessor = createAccessor(request.policy);
    failure.require(pAccessor->openFile(path, request.accessMode, request.directoryMode, request.bufferMode,
                                        userProperties));
    return createDiskImage(pAccessor, failure);
}

/// The same, including the user properties of the file, if there are any.
DiskImagePtr openDiskImage(boost::filesystem::path const& path, TiffOpenRequest const& request,
                           FamilyFailure const& failure) {
    std::string userProperties;
    DiskImagePtr pImage = openDiskImage(path, request, userProperties, failure);
    if (!userProperties.empty()) {
        pImage->setUserPropertiesStr(userProperties);
    }
    return pImage;
}

/// Loads into a distributed image. Its user properties and calibration are replaced by those of the file,
/// even if the file has none.
template <class Distribute>
DistributedImagePtr loadDistributed(boost::filesystem::path const& path, TiffOpenRequest const& request,
                                    FamilyFailure const& failure, Distribute const& distribute) {
    std::string userProperties;
    DiskImagePtr const pSource = openDiskImage(path, request, userProperties, failure);
    DistributedImagePtr pImage = distribute(pSource);
    pImage->setGeometricCalibration(pSource->getGeometricCalibrationConstPtr());
    pImage->setUserPropertiesStr(userProperties);
    return pImage;
}

eTiffDirectoryMode toDirectoryMode(DistributedImage const& model) {
    return model.getTemporalGeometryType() == eTGT_Sequence ? eTDM_Temporal : eTDM_Volume;
}

} // namespace

void captureTiffMessages() {
    TiffErrorHandler::getInstance();
}

// Plain calls

void loadTiffImageFile(boost::filesystem::path const& path, ImagePtr& image,
                       eTiffDirectoryMode const& directoryMode, eTiffBufferMode const& bufferMode) {
    loadImage(path, {eIAM_ReadOnly, directoryMode, bufferMode, eTiffPolicy::Plain}, image,
              FamilyFailure::ofLoad(g_messages, VELMO_HERE, path));
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
    return openDiskImage(path, {readAndWrite, directoryMode, bufferMode, eTiffPolicy::Plain},
                         FamilyFailure::ofLoad(g_messages, VELMO_HERE, path));
}

DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                 eTiffDirectoryMode const& directoryMode,
                                                 eTiffBufferMode const& bufferMode, bool defaultDispatch) {
    FamilyFailure const failure = FamilyFailure::ofLoad(g_messages, VELMO_HERE, path);
    return loadDistributed(path, {eIAM_ReadOnly, directoryMode, bufferMode, eTiffPolicy::Plain}, failure,
                           [&](DiskImagePtr const& pSource) {
                               return distributeImage(pSource, toDispatch(defaultDispatch), failure);
                           });
}

DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                 DistributedImage const& model,
                                                 eTiffBufferMode const& bufferMode, bool defaultDispatch) {
    FamilyFailure const failure = FamilyFailure::ofLoad(g_messages, VELMO_HERE, path);
    return loadDistributed(path, {eIAM_ReadOnly, toDirectoryMode(model), bufferMode, eTiffPolicy::Plain},
                           failure, [&](DiskImagePtr const& pSource) {
                               return distributeImage(pSource, model, toDispatch(defaultDispatch), failure);
                           });
}

void saveTiffImageFile(boost::filesystem::path const& path, ImageConstPtr const& image,
                       eTiffCompression const& compression) {
    FamilyFailure const failure = FamilyFailure::ofSave(g_messages, VELMO_HERE, path);
    requireSource(image, path, failure);
    saveTiffCpuImageFile(path, toCpuImage(image), compression, eTiffPolicy::Plain, failure);
    BaseImageGeometry const& geometry = image->getGeometry();
    if (geometry.getSizeZ() == 0 || geometry.getSizeC() == 0 || geometry.getSizeT() == 0) {
        warn(VELMO_HERE, Check::eIFCM_ImageWithoutPixels);
    }
}

// Calls with options

ImagePtr loadTiffImageFile(boost::filesystem::path const& path, TiffReadOptions const& options) {
    ImagePtr pImage;
    loadImage(path, toRequest(options), pImage, FamilyFailure::ofLoad(g_messages, VELMO_HERE, path));
    return pImage;
}

DiskImagePtr openTiffImageFile(boost::filesystem::path const& path, TiffReadOptions const& options,
                               eImageAccessMode const& accessMode) {
    TiffOpenRequest request = toRequest(options);
    request.accessMode = accessMode;
    return openDiskImage(path, request, FamilyFailure::ofLoad(g_messages, VELMO_HERE, path));
}

DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                 TiffReadOptions const& options, bool defaultDispatch) {
    FamilyFailure const failure = FamilyFailure::ofLoad(g_messages, VELMO_HERE, path);
    return loadDistributed(path, toRequest(options), failure, [&](DiskImagePtr const& pSource) {
        return distributeImage(pSource, toDispatch(defaultDispatch), failure);
    });
}

DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                 DistributedImage const& model,
                                                 TiffReadOptions const& options, bool defaultDispatch) {
    FamilyFailure const failure = FamilyFailure::ofLoad(g_messages, VELMO_HERE, path);
    TiffOpenRequest request = toRequest(options);
    request.directoryMode = toDirectoryMode(model);
    return loadDistributed(path, request, failure, [&](DiskImagePtr const& pSource) {
        return distributeImage(pSource, model, toDispatch(defaultDispatch), failure);
    });
}

void saveTiffImageFile(boost::filesystem::path const& path, ImageConstPtr const& image,
                       TiffWriteOptions const& options) {
    FamilyFailure const failure = FamilyFailure::ofSave(g_messages, VELMO_HERE, path);
    requireSource(image, path, failure);
    failure.require(requireLoadable(image->getGeometry()));
    TiffErrorHandler::getInstance().clearCurrentError();
    if (!options.bReplaceWhenWhole) {
        saveAndClose(path, image, options.compression, failure);
        return;
    }
    ReplacedFile file(path);
    failure.require(toBoolResult(file.create()));
    saveAndClose(file.getPath(), image, options.compression, failure.writingTo(file));
    failure.require(toBoolResult(file.commit()));
}

} // namespace velmo::image::file
