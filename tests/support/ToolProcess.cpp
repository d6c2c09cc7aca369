// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ToolProcess.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace velmo::test {

namespace {

int createAnonymousFile() {
    std::string name = testing::TempDir() + "/velmo-cli-XXXXXX";
    int const descriptor = mkostemp(name.data(), O_CLOEXEC);
    unlink(name.c_str());
    return descriptor;
}

std::string readAll(int descriptor) {
    std::string text;
    std::array<char, 4096> piece{};
    lseek(descriptor, 0, SEEK_SET);
    for (ssize_t nbRead = 0; (nbRead = read(descriptor, piece.data(), piece.size())) > 0;) {
        text.append(piece.data(), static_cast<std::size_t>(nbRead));
    }
    return text;
}

/// Becomes the program, in a child.
[[noreturn]] void execute(char const* program, std::vector<char*> const& words, std::string const& folder) {
    for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        std::signal(signal, SIG_DFL);
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL); // some runs would not end without the test
    if (folder.empty() || chdir(folder.c_str()) == 0) {
        execv(program, words.data());
    }
    _exit(127);
}

std::vector<char*> toWords(Arguments& arguments) {
    arguments.insert(arguments.begin(), "velmo-image");
    std::vector<char*> words;
    for (std::string& argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);
    return words;
}

ToolResult reap(pid_t pid) {
    int state = 0;
    rusage usage = {};
    EXPECT_EQ(pid, wait4(pid, &state, 0, &usage));
    return {WIFEXITED(state) ? WEXITSTATUS(state) : 1000 + WTERMSIG(state), usage.ru_maxrss, {}, {}};
}

/// A number for each sleep of a process that catches SIGINT: how often it went to sleep. -1 while it is awake
/// or does not catch the signal.
long identifySleep(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string word;
    char state = ' ';
    unsigned long caught = 0;
    long nbSleeps = -1;
    while (status >> word) {
        if (word == "State:") {
            status >> state;
        } else if (word == "SigCgt:") {
            status >> std::hex >> caught >> std::dec;
        } else if (word == "voluntary_ctxt_switches:") {
            status >> nbSleeps;
        }
    }
    return state == 'S' && ((caught >> (SIGINT - 1)) & 1) != 0 ? nbSleeps : -1;
}

void killIfRunning(pid_t pid) {
    if (pid > 0) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
}

} // namespace

bool waitUntil(std::function<bool()> const& isReached) {
    auto const end = std::chrono::steady_clock::now() + g_longestWait;
    while (!isReached()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

unsigned long countReadBytes(pid_t pid) {
    std::ifstream counts("/proc/" + std::to_string(pid) + "/io");
    std::string word;
    unsigned long nbBytes = 0;
    while (counts >> word && word != "rchar:") {
    }
    counts >> nbBytes;
    return nbBytes;
}

ToolProcess::ToolProcess(Arguments const& arguments, int outDescriptor, std::string const& folder)
    : _out(createAnonymousFile()), _err(createAnonymousFile()) {
    Arguments copy = arguments;
    std::vector<char*> const words = toWords(copy);
    _pid = fork();
    if (_pid == 0) {
        dup2(outDescriptor < 0 ? _out : outDescriptor, STDOUT_FILENO);
        dup2(_err, STDERR_FILENO);
        execute(VELMO_IMAGE_TOOL, words, folder);
    }
}

ToolProcess::~ToolProcess() {
    killIfRunning(_pid);
    close(_out);
    close(_err);
}

void ToolProcess::send(int signal) const {
    kill(_pid, signal);
}

bool ToolProcess::waitForSleep() const {
    constexpr int nbLooks = 100; // a millisecond apart
    int nbAsleep = 0;
    long lastSleep = -1;
    return waitUntil([&] {
        long const sleep = identifySleep(_pid);
        nbAsleep = sleep >= 0 && sleep == lastSleep ? nbAsleep + 1 : 0;
        lastSleep = sleep;
        return nbAsleep == nbLooks;
    });
}

bool ToolProcess::waitForStop() const {
    siginfo_t info = {};
    waitid(P_PID, static_cast<id_t>(_pid), &info, WEXITED | WSTOPPED | WNOWAIT);
    return info.si_code == CLD_STOPPED &&
           waitid(P_PID, static_cast<id_t>(_pid), &info, WSTOPPED | WNOHANG) == 0;
}

bool ToolProcess::waitForEnd() const {
    return waitUntil([this] {
        siginfo_t info = {};
        return waitid(P_PID, static_cast<id_t>(_pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               info.si_pid == _pid;
    });
}

ToolResult ToolProcess::wait() {
    ToolResult result = reap(_pid);
    _pid = -1;
    result.out = readAll(_out);
    result.err = readAll(_err);
    return result;
}

ToolResult runTool(Arguments const& arguments, std::string const& folder) {
    return ToolProcess(arguments, -1, folder).wait();
}

TerminalProcess::TerminalProcess(Arguments const& arguments, unsigned short nbColumns,
                                 std::string const& type, char const* program) {
    Arguments copy = arguments;
    std::vector<char*> const words = toWords(copy);
    winsize const size = {24, nbColumns, 0, 0};
    _pid = forkpty(&_terminal, nullptr, nullptr, &size);
    if (_pid == 0) {
        setenv("TERM", type.c_str(), 1);
        execute(program != nullptr ? program : VELMO_IMAGE_TOOL, words, {});
    }
}

TerminalProcess::~TerminalProcess() {
    killIfRunning(_pid);
    close(_terminal);
}

bool TerminalProcess::readSome() {
    constexpr std::chrono::milliseconds longestSilence = g_longestWait;
    pollfd state = {_terminal, POLLIN, 0};
    if (poll(&state, 1, static_cast<int>(longestSilence.count())) <= 0) {
        ADD_FAILURE() << "nothing comes after: " << _shown;
        return false;
    }
    std::array<char, 4096> piece{};
    ssize_t const nbRead = read(_terminal, piece.data(), piece.size());
    _shown.append(piece.data(), static_cast<std::size_t>(std::max<ssize_t>(0, nbRead)));
    return nbRead > 0;
}

bool TerminalProcess::waitFor(std::string const& text) {
    while (_shown.find(text) == std::string::npos) {
        if (!readSome()) {
            return false;
        }
    }
    return true;
}

void TerminalProcess::type(std::string const& keys) const {
    EXPECT_EQ(static_cast<ssize_t>(keys.size()), write(_terminal, keys.data(), keys.size()));
}

void TerminalProcess::resize(unsigned short nbColumns) const {
    winsize const size = {24, nbColumns, 0, 0};
    ioctl(_terminal, TIOCSWINSZ, &size);
}

std::string TerminalProcess::takeShown() {
    std::string shown;
    shown.swap(_shown);
    return shown;
}

void TerminalProcess::send(int signal) const {
    kill(_pid, signal);
}

ToolResult TerminalProcess::wait() {
    while (readSome()) {
    }
    ToolResult result = reap(_pid);
    _pid = -1;
    result.out = _shown;
    return result;
}

} // namespace velmo::test
