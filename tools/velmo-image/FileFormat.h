// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <string>

namespace velmo {
namespace tool {

enum class eFileFormat { Raw, Tiff, Im6 };

/// "raw", "tiff" or "im6".
char const* getFormatName(eFileFormat format);

/// The format that the option names; without one (empty), the format of the file name's extension: .tif and
/// .tiff, .im6, anything else raw.
eFileFormat chooseFormat(boost::filesystem::path const& path, std::string const& option,
                         std::string const& optionValue);

/// Whether the name is that of a picture for looking at: .png, .jpg, .jpeg, .bmp or .gif.
bool hasPictureExtension(boost::filesystem::path const& path);

/// A format that is only read is thrown as WrongUse.
void requireWritable(eFileFormat format, boost::filesystem::path const& path);

} // namespace tool
} // namespace velmo
