// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/Command.h"
#include "input/InputOptions.h"

#include <VELMOImage/DiskImage.h>

namespace velmo::tool {

struct Picture;
class Progress;

/// `velmo-image preview`: planes of an image as a PNG picture.
class PreviewCommand : public Command {
  public:
    explicit PreviewCommand(CommandLine& line);
    eExitStatus run() const override;

  private:
    struct Selection;

    void check() const;
    Selection select(image::BaseImageGeometry const& geometry) const;
    void writePicture(Picture const& picture, image::BaseImageGeometry const& geometry) const;

    InputOptions _input;
    std::string _inputFile;
    std::string _outputFile;
    std::string _z;
    std::string _c;
    std::string _t = "0";
    std::string _maxSize = "1600";
    std::string _range;
    bool _bMontage = false;
    bool _bOverwrite = false;
    bool _bQuiet = false;
};

} // namespace velmo::tool
