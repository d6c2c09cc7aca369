// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/TiffImageFileUtils.h>

#include "Frame/FailureText.h"
#include "Frame/FormatFamily.h"
#include "Tiff/files/TiffLoad.h"
#include "Tiff/files/TiffOptions.h"
#include "Tiff/files/TiffSave.h"
#include "Tiff/handle/TiffErrorHandler.h"
#include "Tiff/handle/TiffStream.h"
#include "Tiff/model/TiffPixels.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOBase/ReplacedFile.h>
#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <VELMOImageFile/TiffImageFileMessage.h>

namespace velmo::image::file {

namespace {

using Check = eImageFileCheckMessage;

constexpr FamilyMessages g_messages = {
    "N5velmo5image4file21eTiffImageFileMessage6domainE", eTiffImageFileMessage::eTIFM_LoadFileError,
    eTiffImageFileMessage::eTIFM_SaveFileError, eTiffImageFileMessage::eTIFM_CreateDistributedImageError};

/// Returns the image, or a copy in the memory of the CPU if the image requires one.
ImageConstPtr toCpuImage(ImageConstPtr const& pImage) {
    return pImage->requiresCpuCopy() ? pImage->createCpuCopy() : pImage;
}

/// Saves an image and closes the file. Fails if the operating system reports an error of the close.
void saveAndClose(boost::filesystem::path const& path, ImageConstPtr const& pImage,
                  TiffWriteOptions const& options, FamilyFailure const& failure) {
    saveTiffImage(path, toCpuImage(pImage), options.compression, eTiffPolicy::Strict, options.threads,
                  failure);
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
    loadTiffImage(path, {eIAM_ReadOnly, directoryMode, bufferMode, eTiffPolicy::Plain}, useThreads(1), image,
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
                               return distributeImage(pSource, toThreads(defaultDispatch), failure);
                           });
}

DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                 DistributedImage const& model,
                                                 eTiffBufferMode const& bufferMode, bool defaultDispatch) {
    FamilyFailure const failure = FamilyFailure::ofLoad(g_messages, VELMO_HERE, path);
    return loadDistributed(path, {eIAM_ReadOnly, toDirectoryMode(model), bufferMode, eTiffPolicy::Plain},
                           failure, [&](DiskImagePtr const& pSource) {
                               return distributeImage(pSource, model, toThreads(defaultDispatch), failure);
                           });
}

void saveTiffImageFile(boost::filesystem::path const& path, ImageConstPtr const& image,
                       eTiffCompression const& compression) {
    FamilyFailure const failure = FamilyFailure::ofSave(g_messages, VELMO_HERE, path);
    requireSource(image, path, failure);
    saveTiffImage(path, toCpuImage(image), compression, eTiffPolicy::Plain, useThreads(1), failure);
    BaseImageGeometry const& geometry = image->getGeometry();
    if (geometry.getSizeZ() == 0 || geometry.getSizeC() == 0 || geometry.getSizeT() == 0) {
        warn(VELMO_HERE, Check::eIFCM_ImageWithoutPixels);
    }
}

// Calls with options

ImagePtr loadTiffImageFile(boost::filesystem::path const& path, TiffReadOptions const& options) {
    ImagePtr pImage;
    loadTiffImage(path, toRequest(options), options.threads, pImage,
                  FamilyFailure::ofLoad(g_messages, VELMO_HERE, path));
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
        return distributeImage(pSource, toThreads(defaultDispatch), failure);
    });
}

DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                 DistributedImage const& model,
                                                 TiffReadOptions const& options, bool defaultDispatch) {
    FamilyFailure const failure = FamilyFailure::ofLoad(g_messages, VELMO_HERE, path);
    TiffOpenRequest request = toRequest(options);
    request.directoryMode = toDirectoryMode(model);
    return loadDistributed(path, request, failure, [&](DiskImagePtr const& pSource) {
        return distributeImage(pSource, model, toThreads(defaultDispatch), failure);
    });
}

void saveTiffImageFile(boost::filesystem::path const& path, ImageConstPtr const& image,
                       TiffWriteOptions const& options) {
    FamilyFailure const failure = FamilyFailure::ofSave(g_messages, VELMO_HERE, path);
    requireSource(image, path, failure);
    failure.require(requireLoadable(image->getGeometry()));
    TiffErrorHandler::getInstance().clearCurrentError();
    if (!options.bReplaceWhenWhole) {
        saveAndClose(path, image, options, failure);
        return;
    }
    ReplacedFile file(path);
    failure.require(toBoolResult(file.create()));
    saveAndClose(file.getPath(), image, options, failure.writingTo(file));
    failure.require(toBoolResult(file.commit()));
}

} // namespace velmo::image::file
