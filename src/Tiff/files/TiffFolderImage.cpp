// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/files/TiffFolderImage.h"

#include "Frame/FailureText.h"
#include "Frame/GeometryCopy.h"
#include "Tiff/files/TiffOptions.h"
#include "Tiff/handle/TiffStream.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/SubImageExtractor.h>
#include <VELMOImageFile/TiffFileSeries.h>
#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOImageFile/TiffImageFileMessage.h>
#include <boost/make_shared.hpp>

namespace velmo::image::file {

namespace {

namespace fs = boost::filesystem;
using Message = eTiffImageFileMessage;

bool lacksHandle(std::error_code const& error) {
    return error == std::errc::too_many_files_open || error == std::errc::too_many_files_open_in_system;
}

} // namespace

std::vector<fs::path> findTiffFilesInDirectory(fs::path const& directory, std::string const& pattern) {
    std::vector<fs::path> paths;
    for (TiffFileSeries::File const& file : findTiffFiles(directory, pattern).files) {
        paths.push_back(file.path);
    }
    return paths;
}

RaiseSite TiffFolderImage::at(unsigned int line) const {
    return {_site.function, __FILE__, line};
}

void TiffFolderImage::requireOpen(BoolResult const& result, fs::path const& path, unsigned int line) const {
    if (!result) {
        raise(at(line), Message::eTIFM_LoadFileError, path, result);
    }
}

BoolResult TiffFolderImage::openAsVolume(TiffImageFile& file, fs::path const& path,
                                         std::string& userProperties) const {
    return file.openFile(path, eIAM_ReadOnly, eTDM_Volume, _request.bufferMode, userProperties);
}

TiffFolderImage::FilePtr TiffFolderImage::open(fs::path const& path, std::string& userProperties) const {
    FilePtr pFile = createAccessor(_request.policy);
    requireOpen(openAsVolume(*pFile, path, userProperties), path);
    return pFile;
}

/// Opens a file for the comparison. The comparison needs only one open file at a time. If file descriptors
/// run out, it therefore closes the files that it kept open and continues; the later opening of all images
/// then reports the error.
TiffFolderImage::FilePtr TiffFolderImage::openToCompare(fs::path const& path, std::string& userProperties) {
    FilePtr pFile = createAccessor(_request.policy);
    BoolResult const result = openAsVolume(*pFile, path, userProperties);
    if (lacksHandle(TiffStream::getOpenError())) {
        _openFiles.clear();
        _bKeepOpen = false;
        return open(path, userProperties);
    }
    requireOpen(result, path);
    return pFile;
}

void TiffFolderImage::compare(eRule rule) {
    _rule = rule;
    for (fs::path const& path : _paths) {
        std::string userProperties;
        FilePtr const pFile = openToCompare(path, userProperties);
        BaseImageGeometry const& geometry = pFile->getGeometry();
        if (!_pReference) {
            _pReference = copyGeometry(geometry);
            _userProperties = userProperties;
            _pCalibration = pFile->getGeometricCalibrationConstPtr();
        }
        requireSameSizes(path, geometry);
        requireSameTypes(path, geometry);
        _nbPlanes = checkedAdd(_nbPlanes, geometry.getVolumeGeometry().getSizeZ())
                        .value_or(NumericLimits<vlUInt64>::s_max);
        if (_bKeepOpen) {
            _openFiles.push_back(pFile);
        }
    }
}

void TiffFolderImage::requireSameSizes(fs::path const& path, BaseImageGeometry const& geometry) const {
    auto const require = [&](vlUInt64 reference, vlUInt64 size, Message::domain id) {
        if (size != reference) {
            raise(at(__LINE__), id, _paths.front().string(), reference, path.string(), size);
        }
    };
    require(_pReference->getSizeX(), geometry.getSizeX(), Message::eTIFM_SizeXMismatch);
    require(_pReference->getSizeY(), geometry.getSizeY(), Message::eTIFM_SizeYMismatch);
    if (_rule == eRule::Temporal) {
        require(_pReference->getSizeZ(), geometry.getSizeZ(), Message::eTIFM_SizeZMismatch);
    }
    if (_pReference->getSizeC() != geometry.getSizeC()) { // the message contains the sizes Z
        raise(at(__LINE__), Message::eTIFM_SizeCMismatch, _paths.front().string(), _pReference->getSizeZ(),
              path.string(), geometry.getSizeZ());
    }
}

void TiffFolderImage::requireSameTypes(fs::path const& path, BaseImageGeometry const& geometry) const {
    auto const require = [&](auto reference, auto type, Message::domain id) {
        if (type != reference) {
            raise(at(__LINE__), id, _paths.front().string(), reference, path.string(), type);
        }
    };
    require(_pReference->getColorGeometryType(), geometry.getColorGeometryType(),
            Message::eTIFM_ColorGeometryTypeMismatch);
    if (_rule == eRule::Temporal) {
        require(_pReference->getVolumeGeometryType(), geometry.getVolumeGeometryType(),
                Message::eTIFM_VolumeGeometryTypeMismatch);
        return;
    }
    if (geometry.getTemporalGeometryType() != eTGT_Single) {
        raise(at(__LINE__), Message::eTIFM_TemporalGeometryNotSingle);
    }
    require(_pReference->getBufferType(), geometry.getBufferType(), Message::eTIFM_BufferTypeMismatch);
}

std::vector<ImagePtr> TiffFolderImage::takeImages() {
    std::vector<ImagePtr> images;
    for (std::size_t file = 0; file < _paths.size(); ++file) {
        std::string userProperties;
        FilePtr const pFile =
            file < _openFiles.size() ? _openFiles[file] : open(_paths[file], userProperties);
        DiskImagePtr pImage;
        requireOpen(ImageFactory::getInstance().createDiskImage(pFile, pImage), _paths[file]);
        images.emplace_back(pImage);
    }
    _openFiles.clear();
    return images;
}

ImagePtr TiffFolderImage::join() {
    ImagePtr pJoined;
    BoolResult const result = _rule == eRule::Volume
                                  ? SubImageExtractor::concatenateVolumes<BaseImage>(takeImages(), pJoined)
                                  : SubImageExtractor::concatenateSequences<BaseImage>(takeImages(), pJoined);
    requireOutput(result);
    return pJoined;
}

DiskImagePtr TiffFolderImage::joinOnDisk() {
    DiskImagePtr pJoined;
    requireOutput(_rule == eRule::Volume
                      ? SubImageExtractor::concatenateDiskVolumes(takeImages(), pJoined)
                      : SubImageExtractor::concatenateDiskSequences(takeImages(), pJoined));
    return pJoined;
}

void TiffFolderImage::requireOutput(BoolResult const& result, char const* file, unsigned int line) const {
    if (!result) {
        raise({_site.function, file, line}, Message::eTIFM_CreateOutputImageError, result);
    }
}

} // namespace velmo::image::file
