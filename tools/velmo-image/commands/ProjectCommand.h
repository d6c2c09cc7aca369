// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/Command.h"
#include "input/InputImage.h"
#include "measure/Projection.h"
#include "output/OutputOptions.h"

namespace velmo::tool {

/// `velmo-image project`: the maximum, minimum, mean or sum of an image along an axis.
class ProjectCommand : public Command {
  public:
    explicit ProjectCommand(CommandLine& line);
    eExitStatus run() const override;

  private:
    eProjectionAxis getAxis() const;
    eProjection getProjection() const;
    image::ImagePtr project(InputImage const& input) const;

    InputOptions _input;
    std::string _inputFile;
    OutputOptions _output;
    std::string _axis;
    std::string _projection;
};

} // namespace velmo::tool
