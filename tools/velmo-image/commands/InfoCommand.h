// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/Command.h"
#include "commands/WorkOptions.h"
#include "input/InputOptions.h"

#include <memory>

namespace velmo::tool {

struct FileDescription;
class InfoReport;
class Progress;

/// `velmo-image info`: what files contain, as text or as JSON.
class InfoCommand : public Command {
  public:
    explicit InfoCommand(CommandLine& line);
    eExitStatus run() const override;

  private:
    FileDescription describe(std::string const& file, InputDescription const& input,
                             Progress& progress) const;
    std::unique_ptr<InfoReport> createReport() const;

    InputOptions _input;
    std::vector<std::string> _files;
    bool _bJson = false;
    bool _bTable = false;
    WorkOptions _work;
    bool _bCheck = false;
};

} // namespace velmo::tool
