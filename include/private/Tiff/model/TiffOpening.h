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

/// What an opening finds. The handle is the caller's, who closes it.
struct TiffContents {
    TIFF* pTiff = nullptr;
    ImageGeometryPtr pGeometry;
    GeometricCalibrationPtr pCalibration; ///< null where the file has none
    std::string userProperties;           ///< of a file of this module alone
    bool bHasUserProperties = false;      ///< whether it is such a file
};

/// `openTiffFile` under any policy. After a failure `opened` is empty, and the file is as it was.
BoolResult openTiff(boost::filesystem::path const& path, TiffOpenRequest const& request,
                    TiffContents& opened);

} // namespace velmo::image::file
