// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "terminal/CommandLine.h"
#include "terminal/Failure.h"

namespace velmo::tool {

/// A subcommand: its options, which parsing fills, and its work.
class Command {
  public:
    virtual ~Command() = default;
    Command(Command const&) = delete;
    Command& operator=(Command const&) = delete;

    bool isChosen() const { return _options.isChosen(); }
    /// Does the work with the options as parsed. Failures are thrown.
    virtual eExitStatus run() const = 0;

  protected:
    Command(CommandLine& line, std::string const& name, std::string const& description,
            std::string const& examples)
        : _options(line.addCommand(name, description, examples)) {}
    CommandOptions& getOptions() { return _options; }

  private:
    CommandOptions _options;
};

} // namespace velmo::tool
