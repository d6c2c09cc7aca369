// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Export.h"
#include "VELMOUtil/Types.h"

#include <iosfwd>

namespace velmo::image {

/// Pixel type of a plane. Other values are kept, but have size 0 and no text.
enum eImageBufferType : vlUInt64 {
    eIBT_None = 0,
    eIBT_Int8 = 1,
    eIBT_UInt8 = 2,
    eIBT_Int16 = 3,
    eIBT_UInt16 = 4,
    eIBT_Int32 = 5,
    eIBT_UInt32 = 6,
    eIBT_Real32 = 7,
    eIBT_Binary = 8, ///< one byte per pixel
    eIBT_Label16 = 9,
    eIBT_Label32 = 10,
    eIBT_Label8 = 11
};

/// Meaning of the channels; see ColorGeometry for their number.
enum eColorGeometryType : vlUInt64 {
    eCGT_Grey = 0,
    eCGT_Rgb = 1,
    eCGT_Rgba = 2,
    eCGT_XYZ = 3,
    eCGT_YPbPr = 4,
    eCGT_YCbCr = 5,
    eCGT_CieLab = 6,
    eCGT_CieLuv = 7,
    eCGT_HLS = 8,
    eCGT_HSV = 9,
    eCGT_User = 10
};

/// A plane, or a volume with any number of planes.
enum eVolumeGeometryType : vlUInt64 { eVGT_2d = 0, eVGT_3d = 1 };

/// A single time step, or a sequence with any number of time steps.
enum eTemporalGeometryType : vlUInt64 { eTGT_Single = 0, eTGT_Sequence = 1 };

/// 0 is read-only; every other value is read and write.
enum eImageAccessMode : vlUInt64 { eIAM_ReadOnly = 0, eIAM_ReadWrite = 2 };

/// Number type of a pixel type.
enum eDataType : vlUInt64 {
    eDT_None = 0,
    eDT_Int8 = 1,
    eDT_UInt8 = 2,
    eDT_Int16 = 3,
    eDT_UInt16 = 4,
    eDT_Int32 = 5,
    eDT_UInt32 = 6,
    eDT_Real32 = 7
};

/// Number type of a pixel type: unsigned for binary and labels, `eDT_None` for an unknown value.
VELMO_HOST_EXPORT eDataType toDataType(eImageBufferType const& bufferType);
/// Bytes of one value; 0 for `eDT_None` and unknown values.
VELMO_HOST_EXPORT unsigned int getBufferBaseSize(eDataType const& dataType);
/// Bytes of one pixel.
VELMO_HOST_EXPORT unsigned int getImageBufferBaseSize(eImageBufferType const& bufferType);

/// @{
/// Writes the name of the enumerator. An unknown value writes nothing and sets the bad bit of the stream.
VELMO_HOST_EXPORT std::ostream& operator<<(std::ostream& os, eImageBufferType const& value);
VELMO_HOST_EXPORT std::ostream& operator<<(std::ostream& os, eColorGeometryType const& value);
VELMO_HOST_EXPORT std::ostream& operator<<(std::ostream& os, eVolumeGeometryType const& value);
VELMO_HOST_EXPORT std::ostream& operator<<(std::ostream& os, eTemporalGeometryType const& value);
/// @}

} // namespace velmo::image
