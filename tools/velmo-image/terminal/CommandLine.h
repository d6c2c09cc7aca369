// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "terminal/CommandOptions.h"

#include <memory>

namespace velmo::tool {

/// The command line of the program: its commands and their options.
class CommandLine {
  public:
    /// `version` is what --version prints.
    explicit CommandLine(std::string const& version);
    ~CommandLine();
    CommandLine(CommandLine const&) = delete;
    CommandLine& operator=(CommandLine const&) = delete;

    CommandOptions addCommand(std::string const& name, std::string const& description,
                              std::string const& examples);

    /// False after a request for help or the version, which is printed. Throws WrongUse for a command line
    /// that does not fit.
    bool parse(int argc, char** argv);

  private:
    std::unique_ptr<CLI::App> _pApp;
};

} // namespace velmo::tool
