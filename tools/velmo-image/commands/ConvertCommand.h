// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/Command.h"
#include "commands/EditOptions.h"
#include "input/InputOptions.h"
#include "output/OutputOptions.h"

namespace velmo::tool {

/// `velmo-image convert`: one image file, or a part of it, as another, plane by plane.
class ConvertCommand : public Command {
  public:
    explicit ConvertCommand(CommandLine& line);
    eExitStatus run() const override;

  private:
    InputOptions _input;
    std::string _inputFile;
    EditOptions _edit;
    OutputOptions _output;
};

} // namespace velmo::tool
