// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <optional>
#include <string>

namespace velmo::tool {

enum class eFileFormat { Raw, Tiff, Im6 };

/// "raw", "tiff" or "im6".
char const* getFormatName(eFileFormat format);

/// The format that --format names; without one (empty), the format of the file name's extension: .tif and
/// .tiff, .im6, anything else raw.
eFileFormat chooseInputFormat(boost::filesystem::path const& path, std::string const& optionValue);
/// The format whose signature the file begins with: TIFF (classic or BigTIFF, in both byte orders) or Im6.
/// Empty for any other content, and for what cannot be read at a position or may have no end.
std::optional<eFileFormat> findFormatOfContent(boost::filesystem::path const& path);
/// The same of --output-format. Throws WrongUse for a format that is only read.
eFileFormat chooseOutputFormat(boost::filesystem::path const& path, std::string const& optionValue);

/// Whether the extension is that of a picture format other than TIFF, such as .png, .jpg or .bmp.
bool hasPictureExtension(boost::filesystem::path const& path);

} // namespace velmo::tool
