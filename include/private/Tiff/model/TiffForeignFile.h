// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/TiffPolicy.h"
#include "Tiff/model/ImageJStack.h"

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

/// Interprets a file that this library did not write, tag by tag and directory by directory. The current
/// directory must be the first one. Afterwards it is the last one read; for an ImageJ stack it is still the
/// first one.
class TiffForeignFile {
  public:
    TiffForeignFile(TIFF* pTiff, boost::filesystem::path const& path, eImageAccessMode accessMode,
                    eTiffDirectoryMode directoryMode, eTiffBufferMode bufferMode, eTiffPolicy policy)
        : _pTiff(pTiff), _path(path), _accessMode(accessMode), _directoryMode(directoryMode),
          _bufferMode(bufferMode), _policy(policy) {}

    /// Reads geometry and calibration. Throws if the host rejects the geometry, or if the number in an ImageJ
    /// description is invalid.
    BoolResult read(ImageGeometryPtr& pGeometry, GeometricCalibrationPtr& pCalibration);

  private:
    // What the directories contain. All directories are compared with the first one.
    struct Walk {
        ColorGeometry color;
        std::uint32_t sizeX = 0;
        std::uint32_t sizeY = 0;
        eImageBufferType bufferType = eIBT_None;
        std::vector<eImageBufferType> bufferTypes; ///< one for each directory; empty for an ImageJ stack
        vlUInt64 nbPlanes = 0;
        bool bHomogeneous = true;
    };

    BoolResult readFirstDirectory();
    BoolResult readFirstColor(std::uint16_t& samples);
    BoolResult requireContiguous() const;
    BoolResult readFirstBufferType(std::uint16_t samples);
    BoolResult countPlanes();
    void warnOfStoredPlanes(vlUInt64 nbDirectories) const;
    BoolResult takeFurtherPlanes(vlUInt64 nbAnnounced, FurtherPlanes const& further);
    template <class... Arguments>
    BoolResult warnOrFail(RaiseSite const& site, eImageFileCheckMessage::domain id,
                          Arguments const&... arguments) const;
    BoolResult walkDirectories();
    BoolResult checkFurtherDirectory();
    BoolResult addPlane(eImageBufferType bufferType);
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

/// Checks whether a directory can be a plane. A reduced image or a mask is rejected. An orientation other
/// than top left is logged as a warning.
BoolResult checkTiffDirectory(TIFF* pTiff, boost::filesystem::path const& path);

} // namespace velmo::image::file
