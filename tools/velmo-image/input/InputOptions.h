// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/FileFormat.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/TiffImageFileOptions.h>
#include <boost/filesystem/path.hpp>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace velmo::tool {

/// What a raw file does not say of itself.
struct RawDescription {
    std::vector<vlUInt64> sizes; ///< X, Y and as much of Z, C, T as was given
    image::eImageBufferType bufferType;
    vlUInt64 offset;
    bool bSwapBytes;

    /// Throws VELMOImageException where 64 bits cannot count the bytes.
    image::ImageGeometryPtr createGeometry() const;
};

struct InputDescription {
    RawDescription raw; ///< without sizes where no input is raw
    image::file::TiffReadOptions tiff;
};

/// The option --pixels of "what" (a word for the inputs), which writes into `value`.
CLI::Option* addPixelsOption(CLI::App& app, std::string& value, std::string const& what);
/// The value of --pixels.
image::file::eTiffBufferMode parseBufferMode(std::string const& text);
/// The value z or t of an option.
image::file::eTiffDirectoryMode parseDirectoryMode(std::string const& option, std::string const& text);

/// The options that say how the input files are to be read.
class InputOptions {
  public:
    /// The options write into this object, which must outlive the parsing.
    void addTo(CLI::App& app);

    eFileFormat getFormat(boost::filesystem::path const& path) const;
    /// What the options say of the files. Throws WrongUse where one of them cannot be read so, and where an
    /// option fits none of them, without opening any; WorkFailure where a raw one that lacks its options
    /// cannot be read at all.
    InputDescription describe(std::vector<std::string> const& files) const;

  private:
    /// The first one of the format, or null.
    std::string const* findInput(std::vector<std::string> const& files, eFileFormat format) const;
    RawDescription describeRaw(std::string const& file) const;

    std::string _format;
    std::string _size;
    std::string _type;
    std::string _offset = "0";
    std::string _byteOrder = "little";
    std::string _directories = "z";
    std::string _pixels = "default";
    std::vector<CLI::Option const*> _rawOptions; ///< of the parser
    std::vector<CLI::Option const*> _tiffOptions;
};

} // namespace velmo::tool
