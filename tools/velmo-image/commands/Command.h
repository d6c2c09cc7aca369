// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "terminal/Failure.h"

#include <CLI/CLI.hpp>

namespace velmo::tool {

/// A subcommand: its options, which parsing fills, and its work.
class Command {
  public:
    virtual ~Command() = default;
    Command(Command const&) = delete;
    Command& operator=(Command const&) = delete;

    bool isChosen() const { return _app.parsed(); }
    /// Does the work with the options as parsed. Failures are thrown.
    virtual eExitStatus run() const = 0;

  protected:
    Command(CLI::App& parent, std::string const& name, std::string const& description,
            std::string const& examples)
        : _app(*parent.add_subcommand(name, description)) {
        _app.footer("Examples:\n" + examples);
    }
    CLI::App& getApp() { return _app; }

  private:
    CLI::App& _app;
};

} // namespace velmo::tool
