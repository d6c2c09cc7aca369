// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/Command.h"
#include "input/FileSeries.h"

namespace velmo::tool {

/// `velmo-image match`: what a pattern of file names selects, and in which order.
class MatchCommand : public Command {
  public:
    explicit MatchCommand(CLI::App& parent);
    eExitStatus run() const override;

  private:
    std::string findHint(FileSeries const& series) const;

    std::string _pattern;
    std::vector<std::string> _names;
    std::string _directory;
    CLI::Option const* _pDirectory;
    bool _bStrict = false;
};

} // namespace velmo::tool
