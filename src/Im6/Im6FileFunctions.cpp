// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/Im6ImageFileUtils.h>

#include "Frame/FormatFamily.h"

#include <VELMOImage/MemoryImage.h>
#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/Im6ImageFileMessage.h>
#include <VELMOImageProcessing/CopyImgLvl1.h>
#include <boost/make_shared.hpp>

namespace velmo::image::file {

namespace {

constexpr FamilyMessages g_messages = {
    "N5velmo5image4file20eIm6ImageFileMessage6domainE", eIm6ImageFileMessage::eI6FM_LoadFileError,
    eIm6ImageFileMessage::eI6FM_SaveFileError, eIm6ImageFileMessage::eI6FM_CreateDistributedImageError};

DiskImagePtr openDiskImage(boost::filesystem::path const& path, FamilyFailure const& failure) {
    auto const pAccessor = boost::make_shared<Im6ImageFile>();
    failure.require(pAccessor->openFile(path, eIAM_ReadOnly));
    return createDiskImage(pAccessor, failure);
}

/// Throws the same exception as the copy for an empty pointer.
void requireTarget(ImagePtr const& pTarget) {
    if (!pTarget) {
        imaproc::util::CopyImgLvl1 copy;
        static_cast<void>(copy.init(processor::ePRP_Strict)); // cannot fail
        copy.set<imaproc::attr::OutImg>(pTarget);
    }
}

} // namespace

void loadIm6ImageFile(boost::filesystem::path const& path, ImagePtr const& image) {
    FamilyFailure const failure = FamilyFailure::ofLoad(g_messages, VELMO_HERE, path);
    DiskImagePtr const pDiskImage = openDiskImage(path, failure);
    requireTarget(image);
    failure.require(image->init(pDiskImage->getGeometry()));
    copyImage(pDiskImage, image, useThreads(1), failure);
    if (pDiskImage->hasGeometricCalibration()) {
        image->setGeometricCalibration(pDiskImage->getGeometricCalibrationConstPtr());
    }
}

ImagePtr loadIm6ImageFile(boost::filesystem::path const& path) {
    ImagePtr pImage = boost::make_shared<MemoryImage>();
    loadIm6ImageFile(path, pImage);
    return pImage;
}

DistributedImagePtr loadDistributedIm6ImageFile(boost::filesystem::path const& path, bool defaultDispatch) {
    FamilyFailure const failure = FamilyFailure::ofLoad(g_messages, VELMO_HERE, path);
    return distributeImage(openDiskImage(path, failure), toThreads(defaultDispatch), failure);
}

DistributedImagePtr loadDistributedIm6ImageFile(boost::filesystem::path const& path,
                                                DistributedImage const& /*reference*/, bool defaultDispatch) {
    return loadDistributedIm6ImageFile(path, defaultDispatch);
}

} // namespace velmo::image::file
