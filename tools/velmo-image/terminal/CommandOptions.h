// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace velmo::tool {

/// An option of a command. It refers to the parser, which must outlive it.
class CommandOption {
  public:
    CommandOption() = default;
    explicit CommandOption(CLI::Option& option) : _pOption(&option) {}

    /// The name as users write it, such as "--size".
    std::string getName() const;
    /// Whether the command line has it.
    bool isGiven() const;
    /// The command line must not have both.
    void exclude(CommandOption const& other) const;

  private:
    CLI::Option* _pOption = nullptr;
};

/// The arguments and options that a command takes. Parsing writes them into the given variables, which must
/// outlive it. The parser's header takes seconds to compile: it is included in its own sources only.
class CommandOptions {
  public:
    explicit CommandOptions(CLI::App& app) : _app(app) {}

    void addArgument(std::string const& name, std::string& value, std::string const& description);
    /// One or more arguments; with `bOptional` also none.
    void addArguments(std::string const& name, std::vector<std::string>& values,
                      std::string const& description, bool bOptional = false);
    CommandOption addOption(std::string const& name, std::string& value, std::string const& description);
    void addRequiredOption(std::string const& name, std::string& value, std::string const& description);
    CommandOption addFlag(std::string const& name, bool& bValue, std::string const& description);

    /// Whether the command line names this command.
    bool isChosen() const;

  private:
    CLI::App& _app;
};

} // namespace velmo::tool
