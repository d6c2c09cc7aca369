// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <boost/algorithm/string/split.hpp>
#include <cstdlib>
#include <map>
#include <regex>
#include <set>

namespace velmo::test {

using testing::HasSubstr;
using testing::IsSupersetOf;

namespace {

using Names = std::set<std::string>;

std::string const g_completion = VELMO_TOOL_FOLDER "/completion/velmo-image.bash";
std::string const g_page = VELMO_TOOL_FOLDER "/velmo-image.1";

/// The first group of each match.
std::vector<std::string> findAll(std::string const& text, std::string const& expression) {
    std::regex const regex(expression);
    std::vector<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), regex); match != std::sregex_iterator();
         ++match) {
        found.push_back((*match)[1]);
    }
    return found;
}

Names toNames(std::vector<std::string> const& names) {
    return {names.begin(), names.end()};
}

/// What the tool says of itself. An empty name stands for the tool without a command.
std::string readHelp(std::string const& command) {
    ToolResult const result = runTool(command.empty() ? Arguments{"--help"} : Arguments{command, "--help"});
    expectDone(result);
    return result.out.substr(0, result.out.find("\nExamples:"));
}

std::vector<std::string> listCommands() {
    std::string const help = readHelp("");
    return findAll(help.substr(help.find("Subcommands:")), "\n  ([a-z]+) ");
}

Names listOptions(std::string const& help) {
    return toNames(findAll(help, "\n  (?:-[hV],)?(--[a-z-]+)"));
}

/// Options that take one of a few words, and these: "  --name VALUE   a|b|c: ...".
std::map<std::string, Names> listValues(std::string const& help) {
    std::map<std::string, Names> values;
    for (std::string const& line :
         findAll(help, "\n  (--[a-z-]+ VALUE(?: \\(required\\))? +[a-z0-9]+(?:\\|[a-z0-9]+)+)[:;]")) {
        std::vector<std::string> words;
        std::string const list = line.substr(line.rfind(' ') + 1);
        boost::algorithm::split(words, list, boost::algorithm::is_any_of("|"));
        values[line.substr(0, line.find(' '))] = toNames(words);
    }
    return values;
}

class Help : public CliTest {
  protected:
    /// What a bash of its own, without any set-up, offers for the last word.
    Names complete(Arguments words) const {
        std::string script = ". '" + g_completion + "'; COMP_WORDS=(velmo-image";
        for (std::string const& word : words) {
            script += " '" + word + "'";
        }
        script += "); COMP_CWORD=" + std::to_string(words.size()) + "; _velmo_image; ";
        script += R"([ ${#COMPREPLY[@]} -eq 0 ] || printf '%s\n' "${COMPREPLY[@]}")";
        create("script", script);
        EXPECT_EQ(0, std::system(("bash --norc '" + path("script") + "' >'" + path("words") + "' 2>'" +
                                  path("errors") + '\'')
                                     .c_str()));
        EXPECT_EQ("", read("errors"));
        return toNames(findAll(read("words"), "(.+)\n"));
    }
};

/// A bash on a terminal that has read the completion.
class Completion : public CliTest {
  protected:
    void SetUp() override {
        create("in.tif", "");
        boost::filesystem::create_directory(_folder / "folder");
        type("PS1='ready> '; bind 'set enable-bracketed-paste off'; cd '" + _folder.getPath().string() +
             "'\n");
        type(". '" + g_completion + "'\n");
        ASSERT_TRUE(_bash.waitFor("velmo-image.bash'\r\nready> "));
    }

    void type(std::string const& keys) { _bash.type(keys); }

    /// Types the keys; the terminal then shows the line.
    void expectLine(std::string const& keys, std::string const& line) {
        _bash.takeShown();
        type(keys);
        EXPECT_TRUE(_bash.waitFor(line));
        _bash.takeShown();
        type("\x15\n"); // the line is emptied before it ends
        EXPECT_TRUE(_bash.waitFor("\nready> "));
    }

    TerminalProcess _bash{{"--norc", "--noprofile", "-i"}, 200, "dumb", "/bin/bash"};
};

} // namespace

TEST_F(Help, TellsOfEachCommandAndOfItsOptions) {
    EXPECT_THAT(listCommands(),
                testing::ElementsAre("info", "convert", "import", "preview", "stats", "compare", "project",
                                     "stack", "split", "resample", "match"));
    EXPECT_THAT(listOptions(readHelp("convert")), IsSupersetOf({"--help", "--size", "--calibration-tags"}));
    EXPECT_THAT(listValues(readHelp("resample")).at("--interpolation"),
                testing::ElementsAre("cubic", "linear", "nearest"));
    EXPECT_EQ(11U, listValues(readHelp("info")).at("--type").size());
}

TEST_F(Help, PatternsInExamplesAreInQuotes) {
    std::size_t nbPatterns = 0;
    for (std::string const& command : listCommands()) {
        std::string const help = runTool({command, "--help"}).out;
        std::string const examples = help.substr(help.find("\nExamples:"));
        std::string const outside = std::regex_replace(examples, std::regex("'[^'\n]*'"), "");
        EXPECT_EQ(std::string::npos, outside.find_first_of("<>*?|")) << outside;
        nbPatterns += findAll(examples, "'([^'\n]*)'").size();
    }
    EXPECT_LT(9U, nbPatterns);
}

TEST_F(Help, TheCompletionOffersEachCommandAndItsOptionsAndNothingElse) {
    Names commands = toNames(listCommands());
    EXPECT_EQ(commands, complete({"help", ""}));
    commands.insert("help");
    EXPECT_EQ(commands, complete({""}));
    EXPECT_EQ(listOptions(readHelp("")), complete({"--"}));
    for (std::string const& command : listCommands()) {
        EXPECT_EQ(listOptions(readHelp(command)), complete({command, "--"})) << command;
    }
}

TEST_F(Help, TheCompletionOffersTheValuesOfEachOption) {
    for (std::string const& command : listCommands()) {
        for (auto const& [option, values] : listValues(readHelp(command))) {
            EXPECT_EQ(values, complete({command, option, ""})) << command << ' ' << option;
            EXPECT_EQ(values, complete({command, "x", option, "=", ""})) << command << ' ' << option;
        }
    }
}

TEST_F(Help, TheCompletionOffersNoWordsForOtherValuesAndForFiles) {
    for (std::string const& command : listCommands()) {
        std::string const help = readHelp(command);
        EXPECT_EQ(Names(), complete({command, "a", "b", ""}));
        for (std::string const& option : findAll(help, "\n  (--[a-z-]+) VALUE")) {
            if (listValues(help).count(option) == 0 && option != "--directory") {
                EXPECT_EQ(Names(), complete({command, option, ""})) << command << ' ' << option;
            }
        }
    }
}

TEST_F(Help, TheManualPageHasEachCommandWithItsOptionsAndNothingElse) {
    std::string const page = boost::algorithm::replace_all_copy(readFile(g_page), "\\-", "-");
    Names commands;
    for (std::string const& block : findAll(page, "\n\\.SY velmo-image\n([\\s\\S]*?)\n\\.YS")) {
        std::string const command = findAll(block, "^\\.B ([a-z]*)").front();
        commands.insert(command);
        Names options = toNames(findAll(block, "(--[a-z-]+)"));
        options.insert("--help"); // told of once
        EXPECT_EQ(listOptions(readHelp(command)), options) << command;
    }
    EXPECT_EQ(toNames(listCommands()), commands);
}

TEST_F(Help, TheManualPageExplainsEachOptionWithItsValues) {
    std::string const page = boost::algorithm::replace_all_copy(readFile(g_page), "\\-", "-");
    std::vector<std::string> commands = listCommands();
    commands.emplace_back("");
    for (std::string const& command : commands) {
        std::string const help = readHelp(command);
        for (std::string const& option : listOptions(help)) {
            EXPECT_THAT(page,
                        testing::ContainsRegex("\n\\.TP\n\\.B[IR]? (-[hV] \", \" )?" + option + "[ \n]"))
                << command;
        }
        for (auto const& [option, values] : listValues(help)) {
            std::vector<std::string> const entries =
                findAll(page, "\n\\.TP\n(\\.B[IR]? " + option + "[\\s\\S]*?)\n\\.(?:TP|S[HS])");
            for (std::string const& value : values) {
                EXPECT_TRUE(std::any_of(entries.begin(), entries.end(),
                                        [&](std::string const& entry) {
                                            return std::regex_search(entry,
                                                                     std::regex("\\b" + value + "\\b"));
                                        }))
                    << command << ' ' << option << ' ' << value;
            }
        }
    }
}

TEST_F(Help, TheManualPageGivesNoWarnings) {
    if (std::system("command -v man >/dev/null && command -v groff >/dev/null") != 0) {
        GTEST_SKIP() << "no man with groff";
    }
    std::string const command = "LC_ALL=C.UTF-8 MANROFFSEQ= MANWIDTH=80 man --warnings -l '" + g_page +
                                "' >'" + path("page") + "' 2>'" + path("warnings") + '\'';
    EXPECT_EQ(0, std::system(command.c_str()));
    EXPECT_EQ("", read("warnings"));
    EXPECT_THAT(read("page"), HasSubstr("EXIT STATUS"));
}

TEST_F(Completion, CompletesOnATerminal) {
    expectLine("velmo-image conv\t", "velmo-image convert ");
    expectLine("velmo-image convert in\t", "velmo-image convert in.tif ");
    expectLine("velmo-image convert a b --compr\tde\t", "--compression deflate ");
    expectLine("velmo-image convert a b --compression=l\t", "--compression=lzw ");
    expectLine("velmo-image stack fo\t", "velmo-image stack folder/");
    expectLine("velmo-image match x --dir\tfo\t", "--directory folder/");
    expectLine("velmo-image info --check in\t", "--check in.tif ");
}

} // namespace velmo::test
