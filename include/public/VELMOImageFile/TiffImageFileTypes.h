// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/Export.h>
#include <VELMOSerialization/BaseArchive.h>

namespace velmo {
namespace image {
namespace file {

/// How to interpret the directories of a TIFF file that this library did not write.
enum eTiffDirectoryMode : vlUInt64 {
    eTDM_Volume = 0,  ///< as planes of one volume, along Z
    eTDM_Temporal = 1 ///< as time steps of a sequence
};

/// How to interpret the samples of a TIFF file that this library did not write.
enum eTiffBufferMode : vlUInt64 {
    eTBM_Default = 0, ///< as numbers
    eTBM_Binary = 1,  ///< unsigned samples of 8 bits as a binary image
    eTBM_Label = 2    ///< unsigned samples as labels
};

/// Compression of the strips of a new file. Any other value is the same as `eTC_None`.
enum eTiffCompression : vlUInt64 { eTC_None = 0, eTC_Lzw = 1, eTC_Deflate = 2 };

} // namespace file
} // namespace image

/// @{
/// Write and read an enumerator: text archives store its name, other archives its number as `int`. A value
/// outside of the enumeration is written as 0. If the stored name or number is not in the enumeration, the
/// read throws VELMOSerializationException.
VELMO_IMAGE_FILE_EXPORT BaseOArchive&
operator<<(BaseOArchive& archive, SerializationOItem<image::file::eTiffDirectoryMode> const& item);
VELMO_IMAGE_FILE_EXPORT BaseOArchive&
operator<<(BaseOArchive& archive, SerializationOItem<image::file::eTiffBufferMode> const& item);
VELMO_IMAGE_FILE_EXPORT BaseIArchive&
operator>>(BaseIArchive& archive, SerializationIItem<image::file::eTiffDirectoryMode> const& item);
VELMO_IMAGE_FILE_EXPORT BaseIArchive&
operator>>(BaseIArchive& archive, SerializationIItem<image::file::eTiffBufferMode> const& item);
/// @}

} // namespace velmo
