// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/Command.h"
#include "commands/SeriesOptions.h"
#include "output/OutputOptions.h"

namespace velmo::tool {

/// `velmo-image stack`: the files of a directory as one image, plane by plane.
class StackCommand : public Command {
  public:
    explicit StackCommand(CommandLine& line);
    eExitStatus run() const override;

  private:
    void stack(image::file::eTiffDirectoryMode directoryMode) const;
    image::ImagePtr open(image::file::eTiffDirectoryMode directoryMode) const;

    SeriesOptions _series;
    OutputOptions _output;
    std::string _along = "z";
};

} // namespace velmo::tool
