// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Command.h"
#include "OutputOptions.h"
#include "SeriesOptions.h"

namespace velmo {
namespace tool {

/// `velmo-image stack`: the files of a directory as one image, plane by plane.
class StackCommand : public Command {
  public:
    explicit StackCommand(CLI::App& parent);
    eExitStatus run() const override;

  private:
    image::ImagePtr open(image::file::eTiffDirectoryMode directoryMode) const;

    SeriesOptions _series;
    OutputOptions _output;
    std::string _along = "z";
};

} // namespace tool
} // namespace velmo
