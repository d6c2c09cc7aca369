// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/Command.h"
#include "input/FileSeries.h"

namespace velmo::tool {

/// `velmo-image match`: which file names a pattern selects, and in which order.
class MatchCommand : public Command {
  public:
    explicit MatchCommand(CommandLine& line);
    eExitStatus run() const override;

  private:
    std::string findHint(std::vector<image::file::TiffFileSeries::File> const& matches) const;

    std::string _pattern;
    std::vector<std::string> _names;
    std::string _directory;
    CommandOption _directoryOption;
    bool _bStrict = false;
};

} // namespace velmo::tool
