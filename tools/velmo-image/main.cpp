// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/CompareCommand.h"
#include "commands/ConvertCommand.h"
#include "commands/ImportCommand.h"
#include "commands/InfoCommand.h"
#include "commands/MatchCommand.h"
#include "commands/PreviewCommand.h"
#include "commands/ProjectCommand.h"
#include "commands/ResampleCommand.h"
#include "commands/SplitCommand.h"
#include "commands/StackCommand.h"
#include "commands/StatsCommand.h"
#include "terminal/Interrupt.h"
#include "terminal/Terminal.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOUtil/Logging.h>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <log4cplus/loglevel.h>
#include <memory>

namespace velmo::tool {

namespace {

constexpr char const* g_version = "velmo-image " VELMO_VERSION;

eExitStatus runCommand(int argc, char** argv) {
    CommandLine line(g_version);
    std::vector<std::unique_ptr<Command>> commands;
    commands.push_back(std::make_unique<InfoCommand>(line));
    commands.push_back(std::make_unique<ConvertCommand>(line));
    commands.push_back(std::make_unique<ImportCommand>(line));
    commands.push_back(std::make_unique<PreviewCommand>(line));
    commands.push_back(std::make_unique<StatsCommand>(line));
    commands.push_back(std::make_unique<CompareCommand>(line));
    commands.push_back(std::make_unique<ProjectCommand>(line));
    commands.push_back(std::make_unique<StackCommand>(line));
    commands.push_back(std::make_unique<SplitCommand>(line));
    commands.push_back(std::make_unique<ResampleCommand>(line));
    commands.push_back(std::make_unique<MatchCommand>(line));
    if (!line.parse(argc, argv)) {
        return eES_Done;
    }
    auto const pChosen = std::find_if(commands.begin(), commands.end(),
                                      [](auto const& pCommand) { return pCommand->isChosen(); });
    return (*pChosen)->run(); // the parser requires a command
}

eExitStatus fail(std::string const& text, eExitStatus status) {
    printMessage(text);
    return status;
}

void prepare() {
    // Errors are printed once, from the exception that ends the work.
    getBaseLogger().setLogLevel(log4cplus::OFF_LOG_LEVEL);
    image::file::captureTiffMessages();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // beyond the limit of the file size a write fails
    catchInterrupts();
}

eExitStatus runGuarded(int argc, char** argv) {
    try {
        prepare();
        return runCommand(argc, argv);
    } catch (Interrupted const& stop) {
        return fail(stop.what(), eES_Interrupted);
    } catch (WrongUse const& failure) {
        return fail(failure.what(), eES_WrongUse);
    } catch (BaseException const& failure) {
        return fail(getFullText(failure), eES_Failed);
    } catch (std::bad_alloc const& failure) {
        return fail(std::string("not enough memory (") + failure.what() + ')', eES_Failed);
    } catch (std::exception const& failure) {
        return fail(failure.what(), eES_Failed);
    } catch (...) {
        return fail("unknown error", eES_Failed);
    }
}

} // namespace

} // namespace velmo::tool

int main(int argc, char** argv) {
    try {
        return velmo::tool::runGuarded(argc, argv);
    } catch (...) { // a message needs memory
        std::fputs("velmo-image: not enough memory\n", stderr);
        return velmo::tool::eES_Failed;
    }
}
