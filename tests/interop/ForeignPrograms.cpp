// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ForeignPrograms.h"

#include "TemporaryFolder.h"

#include <boost/filesystem/operations.hpp>
#include <cstdlib>
#include <sstream>
#include <sys/wait.h>

namespace velmo::test {

namespace {

std::string quote(std::string const& word) {
    std::string quoted = "'";
    for (char const character : word) {
        quoted += character == '\'' ? std::string("'\\''") : std::string(1, character);
    }
    return quoted + "'";
}

std::string getVariable(char const* name, char const* otherwise) {
    char const* const value = std::getenv(name);
    return value == nullptr ? otherwise : value;
}

bool succeeds(Arguments const& arguments) {
    return runProgram(arguments).status == 0;
}

} // namespace

ProgramResult runProgram(Arguments const& arguments) {
    TemporaryFolder const folder;
    std::string command;
    for (std::string const& argument : arguments) {
        command += quote(argument) + " ";
    }
    command += ">" + quote((folder / "out").string()) + " 2>" + quote((folder / "err").string());
    int const state = std::system(command.c_str());
    return {WIFEXITED(state) ? WEXITSTATUS(state) : 1000 + WTERMSIG(state), readFile(folder / "out"),
            readFile(folder / "err")};
}

std::optional<std::string> findPython() {
    for (std::string const& python : {getVariable("PYTHON", "python3"), std::string("/usr/bin/python3")}) {
        if (succeeds({python, "-c", "import tifffile"})) {
            return python;
        }
    }
    return std::nullopt;
}

bool hasLzw(std::string const& python) {
    return succeeds({python, "-c", "import imagecodecs"});
}

std::optional<Arguments> findImageJ() {
    std::string const archive = getVariable("IJ_JAR", "/usr/share/java/ij.jar");
    bool const bRunsSources =
        runProgram({"java", "--list-modules"}).out.find("jdk.compiler") != std::string::npos;
    if (!boost::filesystem::exists(archive) || !bRunsSources) {
        return std::nullopt;
    }
    return Arguments{"java", "-Djava.awt.headless=true", "-cp", archive};
}

bool hasLibtiffTools() {
    return succeeds(
        {"sh", "-c", "command -v tiffinfo && command -v tiffcp && command -v tiffcmp && command -v tiffset"});
}

std::vector<std::string> toLines(std::string const& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace velmo::test
