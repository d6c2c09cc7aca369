// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/TiffPolicy.h"

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/BoolResult.h>
#include <boost/filesystem/path.hpp>
#include <string>

using TIFF = struct tiff;

namespace velmo::image::file {

/// How a file is opened.
struct TiffOpenRequest {
    eImageAccessMode accessMode = eIAM_ReadOnly;
    eTiffDirectoryMode directoryMode = eTDM_Volume;
    eTiffBufferMode bufferMode = eTBM_Default;
    eTiffPolicy policy = eTiffPolicy::Plain;
};

/// The result of an opening. The caller owns the handle and closes it.
struct TiffContents {
    TIFF* pTiff = nullptr;
    ImageGeometryPtr pGeometry;
    GeometricCalibrationPtr pCalibration; ///< null if the file has none
    std::string userProperties;           ///< only for a file of this library
    bool bHasUserProperties = false;      ///< whether it is a file of this library
};

/// Opens a file under any policy. After a failure `opened` is empty, and the file is unchanged.
BoolResult openTiff(boost::filesystem::path const& path, TiffOpenRequest const& request,
                    TiffContents& opened);

} // namespace velmo::image::file
