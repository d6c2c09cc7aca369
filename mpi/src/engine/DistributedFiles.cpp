// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFileMpi/DistributedFiles.h>

#include "engine/RankEngine.h"
#include "process/EndOfProcess.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOBase/ReplacedFile.h>
#include <VELMOBase/TransferAll.h>
#include <VELMOImageFile/RawImageFileMessage.h>
#include <VELMOImageFile/TiffImageFileMessage.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOUtil/Failures.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <unistd.h>

namespace velmo::image::mpi {

using Message = file::eRawImageFileMessage;

namespace {

template <class Guard>
BoolResult guardAtRanks(DistributedImage const& image, Guard const& guard) {
    return image.forEachBlock([&](BaseBlockOwner& owner, PlanBlock const& /*block*/) {
        auto* const pRemote = dynamic_cast<RemoteOwner*>(&owner);
        return pRemote == nullptr ? success() : guard(*pRemote);
    });
}

/// The ranks remove the temporary files of this process if rank 0 is killed.
BoolResult guardTemporaryFiles(DistributedImage const& image) {
    std::vector<std::string> const paths = findTemporaryFiles();
    if (paths.empty()) {
        return success();
    }
    return guardAtRanks(image, [&](RemoteOwner& owner) { return owner.guardFile(paths.back()); });
}

/// The same for those that this process will create beside a target.
BoolResult guardFolderOf(boost::filesystem::path const& target, DistributedImage const& image) {
    boost::system::error_code error;
    auto const folder = boost::filesystem::weakly_canonical(target, error).parent_path();
    if (error) {
        return success(); // the save reports it
    }
    return guardAtRanks(image, [&](RemoteOwner& owner) { return owner.guardFolder(folder.string()); });
}

class StreamedImage : public BaseImage {
  public:
    explicit StreamedImage(DistributedImagePtr pImage) : _pImage(std::move(pImage)) {
        setGeometry(_pImage->getGeometry());
        setGeometricCalibration(_pImage->getGeometricCalibrationConstPtr());
        setUserPropertiesStr(_pImage->getUserPropertiesStr());
    }

  private:
    BoolResult readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                 void* buffer) const override {
        bool const bBegins = z == 0 && c == 0 && t == 0 && pixelStart == 0;
        BoolResult result = bBegins ? guardTemporaryFiles(*_pImage) : success();
        return result ? _pImage->readPixels(z, c, t, pixelStart, nbPixels, buffer) : result;
    }
    BoolResult writePixelsDerived(vlUInt64 /*z*/, vlUInt64 /*c*/, vlUInt64 /*t*/, vlUInt64 /*pixelStart*/,
                                  vlUInt64 /*nbPixels*/, void const* /*buffer*/) override {
        return failure("A streamed image is read-only");
    }

    DistributedImagePtr _pImage;
};

/// Writes the header and gives the file its size, with its space reserved where the file system can do that.
/// Returns 0 or the error.
int prepareFile(boost::filesystem::path const& path, std::string const& header, vlUInt64 fileSize) {
    int const descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return errno;
    }
    int error = ftruncate(descriptor, static_cast<off_t>(fileSize)) == 0 ? 0 : errno;
    if (error == 0 && fileSize != 0) {
        error = fallocate(descriptor, 0, 0, static_cast<off_t>(fileSize)) == 0 ? 0 : errno;
        error = error == EOPNOTSUPP || error == ENOSYS ? 0 : error;
    }
    if (error == 0) {
        error = transferAll(header.size(), [&](std::uint64_t done) {
                    return pwrite(descriptor, header.data() + done, header.size() - done,
                                  static_cast<off_t>(done));
                }).error;
    }
    return close(descriptor) == 0 || error != 0 ? error : errno;
}

class RawSave {
  public:
    RawSave(boost::filesystem::path const& path, DistributedImage const& image, std::string const& header)
        : _path(path), _image(image), _header(header), _file(path) {}

    void run() {
        require(guardFolderOf(_path, _image));
        require(create());
        require(guardTemporaryFiles(_image));
        require(_image.forEachBlock(
            [this](BaseBlockOwner& owner, PlanBlock const& block) { return write(owner, block); }));
        SystemResult const committed = _file.commit();
        require(BoolResult(static_cast<bool>(committed), committed.getMessage()));
    }

  private:
    BoolResult create() {
        SystemResult const created = _file.create();
        if (!created) {
            return failMessage(g_saveRaise, Message::eRIFM_CreateFileError, _path.string(),
                               created.getMessage());
        }
        vlUInt64 const nbPixelBytes = _image.getGeometry().getFullMemorySize();
        auto const fileSize = checkedAdd(nbPixelBytes, _header.size());
        bool const bCountable =
            fileSize && *fileSize <= static_cast<vlUInt64>(std::numeric_limits<off_t>::max());
        int const error = bCountable ? prepareFile(_file.getPath(), _header, *fileSize) : EFBIG;
        _fileSize = fileSize.value_or(0);
        return error == 0 ? success()
                          : failMessage(g_saveRaise, Message::eRIFM_ReserveError, nbPixelBytes,
                                        _path.string(), SystemResult(error).getMessage());
    }

    BoolResult write(BaseBlockOwner& owner, PlanBlock const& block) const {
        BaseImageGeometry const& geometry = _image.getGeometry();
        FilePart const part = {boost::filesystem::absolute(_file.getPath()).string(),
                               _header.size() + geometry.getPlansMemorySize(block.firstPlan), _fileSize};
        if (auto* const pRemote = dynamic_cast<RemoteOwner*>(&owner)) {
            return pRemote->writeToFile(block, part);
        }
        return writeBlockToFile(geometry, block, owner.accessBlock(block.id), part);
    }

    void require(BoolResult const& result) const {
        if (!result) {
            raiseMessage(VELMO_HERE, g_saveRaise, Message::eRIFM_SaveFileError, _path,
                         failure(nameTarget(result.getMessage()), result.getMessageIds()));
        }
    }

    /// The ranks name the temporary file by its absolute path.
    std::string nameTarget(std::string text) const {
        std::string const temporary = boost::filesystem::absolute(_file.getPath()).string();
        for (auto at = text.find(temporary); at != std::string::npos; at = text.find(temporary, at)) {
            text.replace(at, temporary.size(), _path.string());
        }
        return _file.nameTarget(text);
    }

    boost::filesystem::path const _path;
    DistributedImage const& _image;
    std::string const& _header;
    ReplacedFile _file;
    vlUInt64 _fileSize = 0;
};

} // namespace

void saveDistributedRawImageFile(boost::filesystem::path const& path, DistributedImagePtr const& pImage,
                                 std::string const& fileHeader) {
    RawSave(path, *pImage, fileHeader).run();
}

void saveDistributedTiffImageFile(boost::filesystem::path const& path, DistributedImagePtr const& pImage,
                                  file::TiffWriteOptions const& options) {
    BoolResult const guarded = guardFolderOf(path, *pImage);
    if (!guarded) {
        raiseMessage(VELMO_HERE, g_saveRaise, file::eTiffImageFileMessage::eTIFM_SaveFileError, path,
                     guarded);
    }
    file::saveTiffImageFile(path, streamPlanes(pImage), options);
}

ImageConstPtr streamPlanes(DistributedImagePtr const& pImage) {
    return boost::make_shared<StreamedImage>(pImage);
}

} // namespace velmo::image::mpi
