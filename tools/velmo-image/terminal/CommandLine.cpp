// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "terminal/CommandLine.h"

#include "terminal/Failure.h"
#include "terminal/RefusedLine.h"
#include "terminal/Terminal.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

namespace velmo::tool {

namespace {

constexpr std::size_t g_nbColumns = 80;

/// Breaks a text into lines of whole words.
std::string wrap(std::string const& text, std::size_t length) {
    std::istringstream stream(text);
    std::string wrapped;
    std::size_t column = 0;
    for (std::string word; stream >> word; column += word.size()) {
        if (column != 0 && column + 1 + word.size() > length) {
            wrapped += '\n';
            column = 0;
        } else if (column != 0) {
            wrapped += ' ';
            ++column;
        }
        wrapped += word;
    }
    return wrapped;
}

/// The text of --help, which fits into 80 columns where its words allow it.
class HelpFormatter : public CLI::Formatter {
  public:
    std::string make_option_opts(CLI::Option const* pOption) const override {
        if (pOption->get_positional() || pOption->get_items_expected_max() == 0) {
            return {};
        }
        return pOption->get_required() ? " VALUE (required)" : " VALUE";
    }
    std::string make_option_desc(CLI::Option const* pOption) const override {
        return wrap(CLI::Formatter::make_option_desc(pOption), g_nbColumns - get_column_width());
    }
};

} // namespace

std::string CommandOption::getName() const {
    return _pOption->get_name();
}

bool CommandOption::isGiven() const {
    return _pOption->count() != 0;
}

void CommandOption::exclude(CommandOption const& other) const {
    _pOption->excludes(other._pOption);
}

void CommandOptions::addArgument(std::string const& name, std::string& value,
                                 std::string const& description) {
    _app.add_option(name, value, description)->required();
}

void CommandOptions::addArguments(std::string const& name, std::vector<std::string>& values,
                                  std::string const& description, bool bOptional) {
    _app.add_option(name, values, description)->required(!bOptional);
}

CommandOption CommandOptions::addOption(std::string const& name, std::string& value,
                                        std::string const& description) {
    return CommandOption(*_app.add_option(name, value, description));
}

void CommandOptions::addRequiredOption(std::string const& name, std::string& value,
                                       std::string const& description) {
    _app.add_option(name, value, description)->required();
}

CommandOption CommandOptions::addFlag(std::string const& name, bool& bValue, std::string const& description) {
    return CommandOption(*_app.add_flag(name, bValue, description));
}

bool CommandOptions::isChosen() const {
    return _app.parsed();
}

CommandLine::CommandLine(std::string const& version)
    : _pApp(std::make_unique<CLI::App>(
          "Inspect, convert, import, preview, join, split and resample image files: TIFF, Im6 and raw",
          "velmo-image")) {
    _pApp->formatter(std::make_shared<HelpFormatter>()); // before the commands, which take it over
    _pApp->set_version_flag("--version", version);
    _pApp->require_subcommand(1);
    _pApp->footer("Exit status: 0 success, 1 failure, 2 wrong command line, 130 interrupted.");
}

CommandLine::~CommandLine() = default;

CommandOptions CommandLine::addCommand(std::string const& name, std::string const& description,
                                       std::string const& examples) {
    CLI::App& command = *_pApp->add_subcommand(name, description);
    command.footer("Examples:\n" + examples);
    return CommandOptions(command);
}

bool CommandLine::parse(int argc, char** argv) {
    try {
        _pApp->parse(argc, argv);
        return true;
    } catch (CLI::ParseError const& stop) {
        if (stop.get_exit_code() != 0) {
            throw WrongUse(explainRefusal(*_pApp, stop, {argv + std::min(argc, 1), argv + argc}));
        }
        std::ostringstream text;
        _pApp->exit(stop, text, text);
        printOutput(text.str());
        return false;
    }
}

} // namespace velmo::tool
