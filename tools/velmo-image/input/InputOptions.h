// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/FileFormat.h"
#include "terminal/CommandOptions.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/TiffImageFileOptions.h>
#include <boost/filesystem/path.hpp>
#include <string>
#include <vector>

namespace velmo::tool {

/// The geometry of a raw file, which the file itself does not have.
struct RawDescription {
    std::vector<vlUInt64> sizes; ///< X, Y and as much of Z, C, T as was given
    image::eImageBufferType bufferType;
    vlUInt64 offset;
    bool bSwapBytes;

    /// Throws VELMOImageException where the number of bytes overflows 64 bits.
    image::ImageGeometryPtr createGeometry() const;
};

struct InputDescription {
    RawDescription raw; ///< without sizes where no input is raw
    image::file::TiffReadOptions tiff;
    bool bQuiet; ///< whether the reading of a pipe hides its progress
};

/// The option --pixels, which writes into `value`; `what` names the inputs in its description.
CommandOption addPixelsOption(CommandOptions& options, std::string& value, std::string const& what);
/// The value of --pixels.
image::file::eTiffBufferMode parseBufferMode(std::string const& text);
/// The value z or t of an option.
image::file::eTiffDirectoryMode parseDirectoryMode(std::string const& option, std::string const& text);

/// The options that say how the input files are to be read.
class InputOptions {
  public:
    /// The options write into this object, which must outlive the parsing.
    void addTo(CommandOptions& options);

    /// That of --format; without it raw, if the options describe a raw file and the extension is that of no
    /// other format; otherwise that of the content, and, where the content is of none, that of the extension.
    eFileFormat getFormat(boost::filesystem::path const& path) const;
    /// How the options say to read the files, none of which is opened; with `bQuiet` without a progress bar
    /// for the reading of a pipe. Throws WrongUse for a wrong value, for
    /// an option that applies to none of the files, and for a raw file without its required options;
    /// WorkFailure where that file cannot be read anyway.
    InputDescription describe(std::vector<std::string> const& files, bool bQuiet) const;

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
    std::vector<CommandOption> _rawOptions;
    std::vector<CommandOption> _tiffOptions;
};

} // namespace velmo::tool
