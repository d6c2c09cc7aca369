// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageEnums.h>
#include <VELMOImageFile/Export.h>
#include <optional>
#include <string>
#include <vector>

namespace velmo::image::file {

// Readable names of pixel types and colours. Thread-safe.

/// Returns the name of a pixel type: "uint8", "int8", "uint16", "int16", "uint32", "int32", "real32",
/// "binary", "label8", "label16" or "label32"; empty for eIBT_None and for values outside of the enumeration.
VELMO_IMAGE_FILE_EXPORT std::string getPixelTypeName(eImageBufferType type);
/// Returns the pixel type of a name that `getPixelTypeName` returns; empty for any other text.
VELMO_IMAGE_FILE_EXPORT std::optional<eImageBufferType> findPixelType(std::string const& name);
/// Returns all names, in the order above.
VELMO_IMAGE_FILE_EXPORT std::vector<std::string> getPixelTypeNames();

/// Returns the name of a colour type: "grey", "rgb", "rgba", "xyz", "ypbpr", "ycbcr", "cielab",
/// "cieluv", "hls", "hsv" or "user"; empty for values outside of the enumeration.
VELMO_IMAGE_FILE_EXPORT std::string getColorName(eColorGeometryType type);

} // namespace velmo::image::file
