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

/// Files, at least one, that are to become one image, each read as a volume. Every failure is raised, at
/// `site`, as VELMOImageFileException.
class TiffFolderImage {
  public:
    /// What of a file must be as in the first one, beside sizes X, Y, C and the colours.
    enum class eRule {
        Volume,  ///< pixel type; one time step; any depth
        Temporal ///< depth and volume type; any pixel type and number of time steps
    };

    /// The files are read as volumes, whatever the directory mode of the request.
    TiffFolderImage(std::vector<boost::filesystem::path> const& paths, TiffOpenRequest const& request,
                    RaiseSite const& site)
        : _paths(paths), _request(request), _site(site) {
        _request.directoryMode = eTDM_Volume;
    }

    /// Compares every file with the first one, that one included.
    void compare(eRule rule);
    /// The files as one image, once, after the comparison; it co-owns their open files. Along Z or T, as the
    /// rule of the comparison has it.
    ImagePtr join();
    DiskImagePtr joinOnDisk();

    /// A failure to make an image of all files is raised, at the line that asks.
    void requireOutput(BoolResult const& result, char const* file = __builtin_FILE(),
                       unsigned int line = __builtin_LINE()) const;

    eTiffPolicy getPolicy() const { return _request.policy; }
    /// @{
    /// Of the first file.
    std::string const& getUserProperties() const { return _userProperties; }
    GeometricCalibrationConstPtr const& getCalibration() const { return _pCalibration; }
    /// @}
    /// Planes along Z of all files.
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
    std::vector<FilePtr> _openFiles; ///< the first files, which stay open for the images
    bool _bKeepOpen = true;
    ImageGeometryPtr _pReference;
    std::string _userProperties;
    GeometricCalibrationConstPtr _pCalibration;
    vlUInt64 _nbPlanes = 0;
};

} // namespace velmo::image::file
