// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/Command.h"
#include "commands/EditOptions.h"
#include "input/InputOptions.h"
#include "output/OutputOptions.h"

namespace velmo::tool {

/// `velmo-image split`: each plane or time step of an image as a file of a folder.
class SplitCommand : public Command {
  public:
    explicit SplitCommand(CommandLine& line);
    eExitStatus run() const override;

  private:
    void split(ObservedSource const& source) const;
    vlUInt64 parseDigits() const;
    bool isAlongT() const;
    std::vector<boost::filesystem::path> listFiles(vlUInt64 count) const;
    void warnOfOtherFiles(std::vector<boost::filesystem::path> const& files) const;

    InputOptions _input;
    std::string _inputFile;
    std::string _pattern;
    std::string _along = "z";
    std::string _digits;
    EditOptions _edit;
    OutputOptions _output;
};

} // namespace velmo::tool
