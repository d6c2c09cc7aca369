// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "terminal/CommandLine.h"

#include "terminal/Failure.h"
#include "terminal/RefusedLine.h"
#include "terminal/Terminal.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
#include <unistd.h>

namespace velmo::tool {

namespace {

/// Without a terminal.
constexpr std::size_t g_usualColumns = 80;
/// Longer lines are hard to read.
constexpr std::size_t g_mostColumns = 120;
constexpr std::size_t g_fewestColumns = 30;
constexpr std::size_t g_widestNames = 30;

/// Splits a list such as "a|b|c" that is longer than a line behind its bars; other words stay whole.
std::vector<std::string> breakWord(std::string word, std::size_t length) {
    std::vector<std::string> parts;
    while (word.size() > length) {
        std::size_t const bar = word.rfind('|', length - 1);
        if (bar == std::string::npos || bar + 1 == word.size()) {
            break;
        }
        parts.push_back(word.substr(0, bar + 1));
        word.erase(0, bar + 1);
    }
    parts.push_back(word);
    return parts;
}

/// Breaks a text into lines of whole words. With `bBreaksWords` lists of values are broken too.
std::string wrap(std::string const& text, std::size_t length, bool bBreaksWords) {
    std::istringstream stream(text);
    std::string wrapped;
    std::size_t column = 0;
    for (std::string word; stream >> word;) {
        for (std::string const& part : breakWord(word, bBreaksWords ? length : word.size())) {
            if (column != 0 && column + 1 + part.size() > length) {
                wrapped += '\n';
                column = 0;
            } else if (column != 0) {
                wrapped += ' ';
                ++column;
            }
            wrapped += part;
            column += part.size();
        }
    }
    return wrapped;
}

/// The text of --help, which is as wide as the terminal, or 80 columns, where its words allow it.
class HelpFormatter : public CLI::Formatter {
  public:
    HelpFormatter() {
        auto const nbFound = findColumns(STDOUT_FILENO);
        _bTerminal = nbFound.has_value();
        // Some terminals begin a new line behind their last column.
        _nbColumns = std::clamp(nbFound ? *nbFound - 1 : g_usualColumns, g_fewestColumns, g_mostColumns);
        column_width(std::min(g_widestNames, _nbColumns * 3 / 8));
    }

    std::string make_description(CLI::App const* pApp) const override {
        return wrap(CLI::Formatter::make_description(pApp), _nbColumns, _bTerminal) + '\n';
    }
    std::string make_usage(CLI::App const* pApp, std::string name) const override {
        return wrap(CLI::Formatter::make_usage(pApp, name), _nbColumns, _bTerminal) + '\n';
    }
    std::string make_subcommand(CLI::App const* pCommand) const override {
        std::ostringstream text;
        CLI::detail::format_help(text, pCommand->get_display_name(true),
                                 wrapDescription(pCommand->get_description()), get_column_width());
        return text.str();
    }
    /// Examples of commands are lines to copy.
    std::string make_footer(CLI::App const* pApp) const override {
        std::string const footer = CLI::Formatter::make_footer(pApp);
        return pApp->get_parent() != nullptr ? footer : wrap(footer, _nbColumns, _bTerminal) + '\n';
    }
    std::string make_option_opts(CLI::Option const* pOption) const override {
        if (pOption->get_positional() || pOption->get_items_expected_max() == 0) {
            return {};
        }
        return pOption->get_required() ? " VALUE (required)" : " VALUE";
    }
    std::string make_option_desc(CLI::Option const* pOption) const override {
        return wrapDescription(CLI::Formatter::make_option_desc(pOption));
    }

  private:
    std::string wrapDescription(std::string const& text) const {
        return wrap(text, _nbColumns - get_column_width(), _bTerminal);
    }

    bool _bTerminal = false;
    std::size_t _nbColumns = 0;
};

/// The arguments with "help" and "help COMMAND" as the option that they stand for.
std::vector<std::string> replaceHelpCommand(std::vector<std::string> words) {
    if (words.empty() || words.front() != "help") {
        return words;
    }
    words.erase(words.begin());
    if (words.size() > 1) {
        throw WrongUse("unexpected argument " + tool::quoted(words[1]) +
                       ": the line is velmo-image help [COMMAND]; see velmo-image --help");
    }
    words.emplace_back("--help");
    return words;
}

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
    _pApp->set_version_flag("-V,--version", version);
    _pApp->require_subcommand(1);
    _pApp->footer("velmo-image help COMMAND prints the options of a command. "
                  "Exit status: 0 success, 1 failure, 2 wrong command line, 130 interrupted.");
}

CommandLine::~CommandLine() = default;

CommandOptions CommandLine::addCommand(std::string const& name, std::string const& description,
                                       std::string const& examples) {
    CLI::App& command = *_pApp->add_subcommand(name, description);
    command.footer("Examples:\n" + examples);
    return CommandOptions(command);
}

bool CommandLine::parse(int argc, char** argv) {
    std::vector<std::string> const words = replaceHelpCommand({argv + std::min(argc, 1), argv + argc});
    try {
        _pApp->parse(
            std::vector<std::string>(words.rbegin(), words.rend())); // which takes the last one first
        return true;
    } catch (CLI::ParseError const& stop) {
        std::string const refusal = explainRefusal(*_pApp, stop, words);
        if (!refusal.empty()) {
            throw WrongUse(refusal);
        }
        std::ostringstream text;
        _pApp->exit(stop, text, text);
        printOutput(text.str());
        return false;
    }
}

} // namespace velmo::tool
