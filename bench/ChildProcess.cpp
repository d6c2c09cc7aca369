// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ChildProcess.h"

#include "LowerBound.h"
#include "Suite.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <iostream>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace velmo::bench {

namespace {

/// Starts a program whose standard output is the descriptor `output`.
pid_t start(Words const& command, int output) {
    std::vector<char*> words;
    for (std::string const& word : command) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    sigset_t noSignal; // this process blocks signals
    sigemptyset(&noSignal);
    posix_spawnattr_setsigmask(&attributes, &noSignal);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    pid_t process = 0;
    int const error = posix_spawnp(&process, words.front(), &actions, &attributes, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), command.front());
    }
    return process;
}

/// Returns the resources that the process used.
rusage finish(pid_t process, Words const& command) {
    rusage usage{};
    int status = 0;
    while (wait4(process, &status, 0, &usage) < 0) {
        require(errno == EINTR, "wait4");
    }
    require(WIFEXITED(status) && WEXITSTATUS(status) == 0, command.front() + " failed");
    return usage;
}

rusage runSilently(Words const& command) {
    int const discarded = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    require(discarded >= 0, "/dev/null");
    pid_t const process = start(command, discarded);
    ::close(discarded);
    return finish(process, command);
}

} // namespace

std::string runProgram(Words const& command) {
    std::array<int, 2> ends{};
    require(pipe2(ends.data(), O_CLOEXEC) == 0, "pipe2");
    pid_t const process = start(command, ends[1]);
    ::close(ends[1]);
    std::string output;
    std::array<char, 4096> part{};
    for (ssize_t size = 1; size > 0;) {
        size = ::read(ends[0], part.data(), part.size());
        output.append(part.data(), static_cast<std::size_t>(size > 0 ? size : 0));
    }
    ::close(ends[0]);
    finish(process, command);
    return output;
}

double timeProgram(Words const& command) {
    Stopwatch const stopwatch;
    runSilently(command);
    return stopwatch.getSeconds();
}

double measurePeak(Words const& command) {
    return std::stod(runProgram(toWork("peak", command)));
}

Words toWork(std::string const& name, Words const& arguments) {
    Words words = {"/proc/self/exe", g_workOption, name};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

void printPeak(Words const& command) {
    std::cout << static_cast<vlUInt64>(runSilently(command).ru_maxrss) * 1024 << '\n';
}

} // namespace velmo::bench
