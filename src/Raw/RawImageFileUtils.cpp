// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/RawImageFileUtils.h>

#include "Utils/FormatFamily.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/RawImageFileMessage.h>
#include <boost/make_shared.hpp>

namespace velmo {
namespace image {
namespace file {

namespace {

constexpr FamilyMessages g_messages = {
    "N5velmo5image4file20eRawImageFileMessage6domainE", eRawImageFileMessage::eRIFM_LoadFileError,
    eRawImageFileMessage::eRIFM_SaveFileError, eRawImageFileMessage::eRIFM_CreateDistributedImageError};

DiskImagePtr openDiskImage(boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                           vlUInt64 dataStartOffset, FamilyFailure const& failure) {
    auto const pAccessor = boost::make_shared<RawImageFile>();
    failure.require(pAccessor->openFile(path, eIAM_ReadOnly, dataStartOffset, geometry));
    return createDiskImage(pAccessor, failure);
}

DistributedImagePtr loadDistributed(boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                                    vlUInt64 dataStartOffset, bool defaultDispatch,
                                    FamilyFailure const& failure) {
    return distributeImage(openDiskImage(path, geometry, dataStartOffset, failure),
                           toDispatch(defaultDispatch), failure);
}

} // namespace

DiskImagePtr openRawImageFile(boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                              vlUInt64 dataStartOffset) {
    return openDiskImage(path, geometry, dataStartOffset,
                         FamilyFailure::ofLoad(g_messages, VELMO_HERE, path));
}

void loadRawImageFile(boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                      ImagePtr const& image, vlUInt64 dataStartOffset) {
    FamilyFailure const failure = FamilyFailure::ofLoad(g_messages, VELMO_HERE, path);
    DiskImagePtr const pDiskImage = openDiskImage(path, geometry, dataStartOffset, failure);
    copyImage(pDiskImage, image, eDispatch::Local, failure);
}

ImagePtr loadRawImageFile(boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                          vlUInt64 dataStartOffset) {
    ImagePtr pImage = createMemoryTarget(geometry, FamilyFailure::ofLoad(g_messages, VELMO_HERE, path));
    loadRawImageFile(path, geometry, pImage, dataStartOffset);
    return pImage;
}

DistributedImagePtr loadDistributedRawImageFile(boost::filesystem::path const& path,
                                                BaseImageGeometry const& geometry, vlUInt64 dataStartOffset,
                                                bool defaultDispatch) {
    return loadDistributed(path, geometry, dataStartOffset, defaultDispatch,
                           FamilyFailure::ofLoad(g_messages, VELMO_HERE, path));
}

DistributedImagePtr loadDistributedRawImageFile(boost::filesystem::path const& path,
                                                DistributedImage const& model,
                                                eImageBufferType const& bufferType, vlUInt64 dataStartOffset,
                                                bool defaultDispatch) {
    ImageGeometryPtr const pGeometry = duplicateGeometry(model.getGeometry());
    pGeometry->setBufferType(bufferType);
    return loadDistributed(path, *pGeometry, dataStartOffset, defaultDispatch,
                           FamilyFailure::ofLoad(g_messages, VELMO_HERE, path));
}

void saveRawImageFile(boost::filesystem::path const& path, ImageConstPtr const& image,
                      std::string const& fileHeader) {
    FamilyFailure const failure = FamilyFailure::ofSave(g_messages, VELMO_HERE, path);
    requireSource(image, path, failure);
    auto const pAccessor = boost::make_shared<RawImageFile>();
    failure.require(pAccessor->createFile(path, image->getGeometry(), fileHeader));
    copyImage(image, createDiskImage(pAccessor, failure), eDispatch::Local, failure);
}

} // namespace file
} // namespace image
} // namespace velmo
