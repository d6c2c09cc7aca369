// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/Command.h"
#include "commands/SeriesOptions.h"
#include "output/OutputOptions.h"

#include <VELMOAttributes/InterpolationPolicy.h>

namespace velmo::tool {

/// `velmo-image resample`: files with unevenly spaced planes as an evenly spaced volume.
class ResampleCommand : public Command {
  public:
    explicit ResampleCommand(CommandLine& line);
    eExitStatus run() const override;

  private:
    vlUInt64 getSizeZ() const;
    imaproc::attr::eInterpolationPolicy getInterpolation() const;
    image::ImagePtr load() const;

    SeriesOptions _series;
    std::string _zStepsFile;
    OutputOptions _output;
    std::string _sizeZ;
    std::string _interpolation = "linear";
};

} // namespace velmo::tool
