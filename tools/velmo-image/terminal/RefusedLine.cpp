// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "terminal/RefusedLine.h"

#include "terminal/Failure.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <boost/algorithm/string/join.hpp>
#include <numeric>

namespace velmo::tool {

namespace {

using Words = std::vector<std::string>;

/// Shorter words may have one typing error.
constexpr std::size_t g_lengthForTwoErrors = 6;

/// The edit distance: letters left out, added, replaced or swapped with the next.
std::size_t countErrors(std::string const& from, std::string const& to) {
    std::vector<std::size_t> beforeLast;
    std::vector<std::size_t> last(to.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::vector<std::size_t> row(to.size() + 1, i);
        for (std::size_t j = 1; j <= to.size(); ++j) {
            std::size_t const replaced = last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, replaced});
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1]) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
        beforeLast = std::move(last);
        last = std::move(row);
    }
    return last.back();
}

Words listCommands(CLI::App const& app) {
    Words names;
    for (CLI::App const* const pCommand : app.get_subcommands({})) {
        names.push_back(pCommand->get_name());
    }
    return names;
}

Words listOptions(CLI::App const& app) {
    Words names;
    for (CLI::Option const* const pOption : app.get_options()) {
        for (std::string const& name : pOption->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

std::string listPositionals(CLI::App const& app) {
    Words names;
    for (CLI::Option const* const pOption : app.get_options()) {
        if (pOption->get_positional()) {
            bool const bMany = pOption->get_items_expected_max() > 1;
            std::string const name = pOption->get_name(true) + (bMany ? "..." : "");
            names.push_back(pOption->get_required() ? name : '[' + name + ']');
        }
    }
    return boost::algorithm::join(names, " ");
}

bool isOption(std::string const& word) {
    return word.size() > 1 && word.front() == '-';
}

std::string suggest(std::string const& word, Words const& candidates) {
    std::string const meant = findMeant(word, candidates);
    return meant.empty() ? "" : ", did you mean " + meant + '?';
}

/// `suggestion`, or, for a word that is rather the name of a file, how such a name is given.
std::string explainOption(std::string const& word, std::string const& suggestion) {
    bool const bName = word.compare(0, 2, "--") != 0 || word.find_first_of("./") != std::string::npos;
    return suggestion.empty() && bName
               ? "; a name that begins with a dash goes after --, or is given as ./" + word
               : suggestion;
}

/// The first word that the parser takes for short options, one of which prints help or the version, and that
/// has more letters; empty if there is none.
std::string findShortOptions(Words const& words) {
    for (std::string const& word : words) {
        if (word == "--") {
            break;
        }
        if (word.size() > 2 && word.front() == '-' && (word[1] == 'h' || word[1] == 'V')) {
            return word;
        }
    }
    return {};
}

/// For a line without a command.
std::string explainWithoutCommand(CLI::App const& app, Words const& words) {
    std::string const commands = boost::algorithm::join(listCommands(app), ", ");
    if (words.empty()) {
        return "missing command: one of " + commands;
    }
    if (isOption(words.front())) {
        return "unknown option " + quoted(words.front()) + suggest(words.front(), listOptions(app));
    }
    Words candidates = listCommands(app);
    candidates.emplace_back("help");
    std::string const suggestion = suggest(words.front(), candidates);
    return "unknown command " + quoted(words.front()) +
           (suggestion.empty() ? ": must be one of " + commands : suggestion);
}

/// For arguments and options that a command does not have.
std::string explainExtras(CLI::App const& command) {
    Words const extras = command.remaining();
    auto const pOption = std::find_if(extras.begin(), extras.end(), isOption);
    if (pOption != extras.end()) {
        std::string const name = pOption->substr(0, pOption->find('='));
        return "unknown option " + quoted(name) + " of " + command.get_name() +
               explainOption(*pOption, suggest(name, listOptions(command)));
    }
    std::string const positionals = listPositionals(command);
    std::string text = "unexpected argument " + quoted(extras.empty() ? std::string() : extras.front()) +
                       ": " + command.get_name() + " takes " + positionals;
    if (positionals.find("PATTERN") != std::string::npos) {
        text += "; quote the pattern, otherwise the shell replaces it by file names";
    }
    return text;
}

/// The message of the parser without its types.
std::string explainValues(std::string const& words) {
    std::string const option = words.substr(0, words.find(':'));
    return words.find("At Most") == std::string::npos ? option + " needs a value"
                                                      : option + " is given more than once";
}

/// Appends where the help is.
std::string addHelp(std::string const& text, std::string const& command) {
    return text + (text.back() == '?' ? " " : "; ") + "see velmo-image " + command + "--help";
}

} // namespace

std::string findMeant(std::string const& word, Words const& candidates) {
    Words nearest;
    std::size_t leastErrors = word.size() < g_lengthForTwoErrors ? 1 : 2;
    for (std::string const& candidate : candidates) {
        bool const bBegins = word.size() > 2 && candidate.compare(0, word.size(), word) == 0;
        std::size_t const nbErrors = bBegins ? 1 : countErrors(word, candidate);
        if (nbErrors < leastErrors) {
            nearest.clear();
        }
        if (nbErrors <= leastErrors) {
            leastErrors = nbErrors;
            nearest.push_back(candidate);
        }
    }
    return nearest.size() == 1 ? nearest.front() : std::string();
}

std::string explainRefusal(CLI::App const& app, CLI::ParseError const& refusal, Words const& words) {
    std::vector<CLI::App*> const chosen = app.get_subcommands();
    auto const kind = static_cast<CLI::ExitCodes>(refusal.get_exit_code());
    if (kind == CLI::ExitCodes::Success) {
        std::string const name = findShortOptions(words);
        if (!name.empty()) {
            return addHelp("unknown option " + quoted(name) + explainOption(name, {}), "");
        }
        return chosen.empty() && !app.remaining().empty()
                   ? addHelp(explainWithoutCommand(app, app.remaining()), "")
                   : std::string();
    }
    if (chosen.empty()) {
        return addHelp(explainWithoutCommand(app, words), "");
    }
    CLI::App const& command = *chosen.front();
    Words const extras = command.remaining();
    std::string text = refusal.what();
    if (kind == CLI::ExitCodes::ExtrasError || std::any_of(extras.begin(), extras.end(), isOption)) {
        text = app.remaining().empty() ? explainExtras(command) : explainWithoutCommand(app, app.remaining());
    } else if (kind == CLI::ExitCodes::ArgumentMismatch) {
        text = explainValues(text);
    } else if (kind == CLI::ExitCodes::RequiredError) {
        text += ": " + command.get_name() + ' ' + listPositionals(command);
    }
    return addHelp(text, command.get_name() + ' ');
}

} // namespace velmo::tool
