// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/ConvertCommand.h"
#include "commands/InfoCommand.h"
#include "commands/MatchCommand.h"
#include "commands/PreviewCommand.h"
#include "commands/ResampleCommand.h"
#include "commands/StackCommand.h"
#include "terminal/HelpFormatter.h"
#include "terminal/Interrupt.h"
#include "terminal/RefusedLine.h"
#include "terminal/Terminal.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOUtil/Logging.h>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <log4cplus/loglevel.h>
#include <memory>
#include <sstream>

namespace velmo::tool {

namespace {

constexpr char const* g_version = "velmo-image " VELMO_VERSION;

/// What the parser stopped at: a request for help or the version, or a command line that it refuses.
eExitStatus tellParsing(CLI::App const& app, CLI::ParseError const& stop,
                        std::vector<std::string> const& words) {
    if (stop.get_exit_code() == 0) {
        std::ostringstream text;
        app.exit(stop, text, text);
        printOutput(text.str());
        return eES_Done;
    }
    throw WrongUse(explainRefusal(app, stop, words));
}

eExitStatus runCommand(int argc, char** argv) {
    CLI::App app("Look at, convert, join and resample image files: TIFF, Im6, and raw planes of pixels",
                 "velmo-image");
    app.formatter(std::make_shared<HelpFormatter>()); // before the commands, which take it over
    app.set_version_flag("--version", g_version);
    app.require_subcommand(1);
    app.footer("Exit status: 0 done, 1 the work failed, 2 wrong use, 130 interrupted.");
    std::vector<std::unique_ptr<Command>> commands;
    commands.push_back(std::make_unique<InfoCommand>(app));
    commands.push_back(std::make_unique<ConvertCommand>(app));
    commands.push_back(std::make_unique<PreviewCommand>(app));
    commands.push_back(std::make_unique<StackCommand>(app));
    commands.push_back(std::make_unique<ResampleCommand>(app));
    commands.push_back(std::make_unique<MatchCommand>(app));
    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& stop) {
        return tellParsing(app, stop, {argv + std::min(argc, 1), argv + argc});
    }
    for (auto const& pCommand : commands) {
        if (pCommand->isChosen()) {
            return pCommand->run();
        }
    }
    throw WrongUse("no command; velmo-image --help lists them");
}

eExitStatus fail(std::string const& text, eExitStatus status) {
    printMessage(text);
    return status;
}

void prepare() {
    // Each failure is told once, as the exception that reaches the end of the work.
    getBaseLogger().setLogLevel(log4cplus::OFF_LOG_LEVEL);
    image::file::captureTiffMessages();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a limit of the size of files is a failed write
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
        return fail("a failure that says nothing of itself", eES_Failed);
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
