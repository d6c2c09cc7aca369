// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/Command.h"
#include "input/InputOptions.h"
#include "output/OutputOptions.h"

namespace velmo::tool {

/// `velmo-image convert`: one image file as another, plane by plane.
class ConvertCommand : public Command {
  public:
    explicit ConvertCommand(CommandLine& line);
    eExitStatus run() const override;

  private:
    InputOptions _input;
    std::string _inputFile;
    OutputOptions _output;
};

} // namespace velmo::tool
