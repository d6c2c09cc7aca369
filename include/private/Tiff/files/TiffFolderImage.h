// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/model/TiffOpening.h"

#include <VELMOImage/DiskImage.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/TiffImageFileTypes.h>
#include <VELMOUtil/GuardedRaise.h>
#include <boost/filesystem/path.hpp>
#include <string>
#include <vector>

namespace velmo::image::file {

class TiffImageFile;

/// The paths of the files that `findTiffFiles` selects.
std::vector<boost::filesystem::path> findTiffFilesInDirectory(boost::filesystem::path const& directory,
                                                              std::string const& pattern);

/// Joins files, at least one, to one image. Each file is read as a volume. Every error is raised at `site` as
/// VELMOImageFileException.
class TiffFolderImage {
  public:
    /// The properties in which all files must be equal, in addition to sizes X, Y, C and the colours.
    enum class eRule {
        Volume,  ///< pixel type; each file has one time step; sizes Z may differ
        Temporal ///< size Z and volume type; pixel types and time steps may differ
    };

    /// Keeps a reference to `paths`. The directory mode of the request is ignored: files are read as volumes.
    TiffFolderImage(std::vector<boost::filesystem::path> const& paths, TiffOpenRequest const& request,
                    RaiseSite const& site)
        : _paths(paths), _request(request), _site(site) {
        _request.directoryMode = eTDM_Volume;
    }

    /// Opens every file and compares it with the first one. The first file is also compared with itself,
    /// which checks its number of time steps.
    void compare(eRule rule);
    /// Creates one image of all files, along Z for `eRule::Volume` and along T for `eRule::Temporal`. Call it
    /// once, after `compare`. The image shares the ownership of the open files.
    ImagePtr join();
    DiskImagePtr joinOnDisk();

    /// If `result` is a failure, raises that the image of all files cannot be created. The exception names
    /// the line of the caller.
    void requireOutput(BoolResult const& result, char const* file = __builtin_FILE(),
                       unsigned int line = __builtin_LINE()) const;

    eTiffPolicy getPolicy() const { return _request.policy; }
    /// @{
    /// Of the first file.
    std::string const& getUserProperties() const { return _userProperties; }
    GeometricCalibrationConstPtr const& getCalibration() const { return _pCalibration; }
    /// Number of planes along Z of all files.
    vlUInt64 getNbPlanes() const { return _nbPlanes; }

  private:
    using FilePtr = boost::shared_ptr<TiffImageFile>;

    BoolResult openAsVolume(TiffImageFile& file, boost::filesystem::path const& path,
                            std::string& userProperties) const;
    FilePtr open(boost::filesystem::path const& path, std::string& userProperties) const;
    FilePtr openToCompare(boost::filesystem::path const& path, std::string& userProperties);
    void requireOpen(BoolResult const& result, boost::filesystem::path const& path,
                     unsigned int line = __builtin_LINE()) const;
    RaiseSite at(unsigned int line) const;
    void requireSameSizes(boost::filesystem::path const& path, BaseImageGeometry const& geometry) const;
    void requireSameTypes(boost::filesystem::path const& path, BaseImageGeometry const& geometry) const;
    std::vector<ImagePtr> takeImages();

    std::vector<boost::filesystem::path> const& _paths;
    TiffOpenRequest _request;
    RaiseSite _site;
    eRule _rule = eRule::Volume;
    std::vector<FilePtr> _openFiles; ///< files that stay open for the image
    bool _bKeepOpen = true;
    ImageGeometryPtr _pReference;
    std::string _userProperties;
    GeometricCalibrationConstPtr _pCalibration;
    vlUInt64 _nbPlanes = 0;
};

} // namespace velmo::image::file
