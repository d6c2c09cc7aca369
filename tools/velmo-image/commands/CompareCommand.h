// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/Command.h"
#include "commands/CompareReport.h"
#include "commands/WorkOptions.h"
#include "input/InputImage.h"

namespace velmo::tool {

/// `velmo-image compare`: whether two image files have the same pixels, and how they differ.
class CompareCommand : public Command {
  public:
    explicit CompareCommand(CommandLine& line);
    eExitStatus run() const override;

  private:
    double getTolerance() const;
    /// Fills all but the error.
    void compare(InputDescription const& description, ComparedFiles& files) const;
    /// The suggestions to import those files that the library cannot read.
    std::string suggestImports() const;

    InputOptions _input;
    WorkOptions _work;
    std::string _fileA;
    std::string _fileB;
    std::string _tolerance = "0";
    bool _bStrict = false;
    bool _bJson = false;
};

} // namespace velmo::tool
