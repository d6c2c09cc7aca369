// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Command.h"
#include "InputOptions.h"

#include <VELMOImage/DiskImage.h>
#include <VELMOImageFile/TiffImageFileTypes.h>
#include <functional>

namespace velmo {
namespace tool {

/// `velmo-image convert`: one image file as another, plane by plane.
class ConvertCommand : public Command {
  public:
    explicit ConvertCommand(CLI::App& parent);
    eExitStatus run() const override;

  private:
    using Writer = std::function<void(boost::filesystem::path const&)>;

    /// Throws WrongUse where the format cannot be written or does not go with another option.
    eFileFormat getOutputFormat() const;
    image::file::eTiffCompression getCompression() const;
    /// Writes the image under the name that it is called with.
    Writer createWriter(image::DiskImagePtr const& pImage) const;

    InputOptions _input;
    std::string _inputFile;
    std::string _outputFile;
    std::string _outputFormat;
    std::string _compression;
    std::string _headerFile;
    bool _bOverwrite = false;
    bool _bQuiet = false;
};

} // namespace tool
} // namespace velmo
