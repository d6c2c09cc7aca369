// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/RawImageFileUtils.h>

#include "Frame/FailureText.h"
#include "Frame/FormatFamily.h"
#include "Frame/GeometryCopy.h"

#include <VELMOBase/ReplacedFile.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/RawImageFileMessage.h>
#include <VELMOUtil/LastError.h>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/make_shared.hpp>
#include <cerrno>
#include <map>

namespace velmo::image::file {

namespace {

using Message = eRawImageFileMessage;

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
                           toThreads(defaultDispatch), failure);
}

/// The file of a save with options. Its messages name the target, and their last line is the operating
/// system's reason. It replaces eRIFM_CreateFileFailed, eRIFM_ReserveFailed and eRIFM_WriteFileFailed by
/// eRIFM_CreateFileError, eRIFM_ReserveError and eRIFM_WriteFileError, which include the reason.
class SavedRawFile : public RawImageFile {
  public:
    explicit SavedRawFile(ReplacedFile const& file) : _file(file) {}

    BoolResult create(BaseImageGeometry const& geometry, std::string const& fileHeader) {
        return explain(createFile(_file.getPath(), geometry, fileHeader));
    }

    BoolResult writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                            void const* buffer) override {
        return explain(RawImageFile::writeRawData(z, c, t, pixelStartOffset, nbPixels, buffer));
    }

    /// Some file systems report failed writes only at the close.
    BoolResult close() {
        clear();
        return errno == 0 ? success() : failure(getLastError());
    }

  private:
    BoolResult explain(BoolResult const& result) const {
        if (result) {
            return result;
        }
        std::string const reason = errno == 0 ? std::string() : '\n' + getLastError();
        std::string const text = _file.nameTarget(result.getMessage());
        return boost::algorithm::ends_with(text, reason)
                   ? failure(text, result.getMessageIds())
                   : failure(text + reason, nameWithReason(result.getMessageIds()));
    }

    /// The message whose text ends with the reason, in place of the one without.
    static MessageIds nameWithReason(MessageIds const& withoutReason) {
        static std::map<int, int> const withReason = {
            {Message::eRIFM_CreateFileFailed, Message::eRIFM_CreateFileError},
            {Message::eRIFM_ReserveFailed, Message::eRIFM_ReserveError},
            {Message::eRIFM_WriteFileFailed, Message::eRIFM_WriteFileError}};
        auto const& [domain, id] = withoutReason.getInnermost();
        auto const found = withReason.find(id);
        MessageIds ids;
        ids.add(domain, found == withReason.end() ? id : found->second);
        return ids;
    }

    ReplacedFile const& _file;
};

BoolResult createTarget(ReplacedFile& file, boost::filesystem::path const& path) {
    SystemResult const created = file.create();
    return created ? success()
                   : fail(eRawImageFileMessage::eRIFM_CreateFileError, path.string(), created.getMessage());
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
    copyImage(pDiskImage, image, useThreads(1), failure);
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
    ImageGeometryPtr const pGeometry = copyGeometry(model.getGeometry());
    pGeometry->setBufferType(bufferType);
    return loadDistributed(path, *pGeometry, dataStartOffset, defaultDispatch,
                           FamilyFailure::ofLoad(g_messages, VELMO_HERE, path));
}

template <class Options, class>
void saveRawImageFile(boost::filesystem::path const& path, ImageConstPtr const& image,
                      Options const& options) {
    FamilyFailure const failure = FamilyFailure::ofSave(g_messages, VELMO_HERE, path);
    requireSource(image, path, failure);
    ReplacedFile file(path);
    if (options.bReplaceWhenWhole) {
        failure.require(createTarget(file, path));
    }
    auto const pAccessor = boost::make_shared<SavedRawFile>(file);
    failure.require(pAccessor->create(image->getGeometry(), options.fileHeader));
    copyImage(image, createDiskImage(pAccessor, failure), useThreads(1), failure);
    failure.require(pAccessor->close());
    failure.require(toBoolResult(file.commit()));
}

template VELMO_IMAGE_FILE_EXPORT void saveRawImageFile(boost::filesystem::path const& path,
                                                       ImageConstPtr const& image,
                                                       RawWriteOptions const& options);

void saveRawImageFile(boost::filesystem::path const& path, ImageConstPtr const& image,
                      std::string const& fileHeader) {
    FamilyFailure const failure = FamilyFailure::ofSave(g_messages, VELMO_HERE, path);
    requireSource(image, path, failure);
    auto const pAccessor = boost::make_shared<RawImageFile>();
    failure.require(pAccessor->createFile(path, image->getGeometry(), fileHeader));
    copyImage(image, createDiskImage(pAccessor, failure), useThreads(1), failure);
}

} // namespace velmo::image::file
