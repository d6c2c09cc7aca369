// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/TiffPolicy.h"

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <VELMOImageFile/TiffImageFileTypes.h>
#include <VELMOUtil/BoolResult.h>
#include <VELMOUtil/GuardedRaise.h>
#include <boost/filesystem/path.hpp>
#include <vector>

using TIFF = struct tiff;

namespace velmo::image::file {

/// Takes a file of another maker apart, tag by tag and directory by directory. The handle stands on the first
/// directory; afterwards on the last one read, or still on the first of an ImageJ stack.
class TiffForeignFile {
  public:
    TiffForeignFile(TIFF* pTiff, boost::filesystem::path const& path, eImageAccessMode accessMode,
                    eTiffDirectoryMode directoryMode, eTiffBufferMode bufferMode, eTiffPolicy policy)
        : _pTiff(pTiff), _path(path), _accessMode(accessMode), _directoryMode(directoryMode),
          _bufferMode(bufferMode), _policy(policy) {}

    /// What the host refuses is thrown as it comes; so is a description whose number is none.
    BoolResult read(ImageGeometryPtr& pGeometry, GeometricCalibrationPtr& pCalibration);

  private:
    // What the walk found. The first directory is the reference for all others.
    struct Walk {
        ColorGeometry color;
        std::uint32_t sizeX = 0;
        std::uint32_t sizeY = 0;
        eImageBufferType bufferType = eIBT_None;
        std::vector<eImageBufferType> bufferTypes; ///< one for each directory; empty of an ImageJ stack
        vlUInt64 nbPlanes = 0;
        bool bHomogeneous = true;
    };

    BoolResult readFirstDirectory();
    BoolResult readFirstColor(std::uint16_t& samples);
    BoolResult requireContiguous() const;
    BoolResult readFirstBufferType(std::uint16_t samples);
    BoolResult countPlanes();
    void warnOfStoredPlanes(vlUInt64 nbDirectories) const;
    BoolResult findFurtherPlanes(vlUInt64 nbAnnounced, vlUInt64 nbDirectories);
    template <class... Arguments>
    BoolResult warnOrFail(RaiseSite const& site, eImageFileCheckMessage::domain id,
                          Arguments const&... arguments) const;
    BoolResult walkDirectories();
    BoolResult checkFurtherDirectory();
    BoolResult checkFurtherSize() const;
    BoolResult checkFurtherColor() const;
    BoolResult readFurtherColor(std::uint16_t samples, ColorGeometry& color) const;
    BoolResult readFurtherBufferType(eImageBufferType& bufferType) const;
    ImageGeometryPtr createGeometry() const;
    GeometricCalibrationPtr readCalibration() const;

    TIFF* _pTiff;
    boost::filesystem::path const& _path;
    eImageAccessMode _accessMode;
    eTiffDirectoryMode _directoryMode;
    eTiffBufferMode _bufferMode;
    eTiffPolicy _policy;
    Walk _walk;
};

/// Whether a directory is one that can be a plane. A reduced image or a mask is refused; an orientation other
/// than top left is logged as a warning.
BoolResult checkTiffDirectory(TIFF* pTiff, boost::filesystem::path const& path);

} // namespace velmo::image::file
