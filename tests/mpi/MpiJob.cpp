// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "MpiJob.h"

#include "TemporaryFolder.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace velmo::test {

namespace {

constexpr std::chrono::seconds g_longest(60);

void redirect(boost::filesystem::path const& path, int descriptor) {
    int const file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(file, descriptor);
    close(file);
}

void addToVariable(char const* name, std::string const& text) {
    char const* const value = std::getenv(name);
    setenv(name, (value == nullptr ? text : std::string(value) + ":" + text).c_str(), 1);
}

[[noreturn]] void startJob(std::vector<std::string> words, boost::filesystem::path const& folder,
                           boost::filesystem::path const& outputs, RankFault const& fault) {
    setpgid(0, 0);
    setenv("OMPI_ALLOW_RUN_AS_ROOT", "1", 1);
    setenv("OMPI_ALLOW_RUN_AS_ROOT_CONFIRM", "1", 1);
    addToVariable("TSAN_OPTIONS", "ignore_noninstrumented_modules=1"); // MPI is not instrumented,
    addToVariable("ASAN_OPTIONS", "detect_leaks=0");                   // and keeps memory until the end
    setenv("VELMO_TEST_RANK", std::to_string(fault.rank).c_str(), 1);
    setenv("VELMO_TEST_FAULT", fault.fault.c_str(), 1);
    redirect(outputs / "out", STDOUT_FILENO);
    redirect(outputs / "err", STDERR_FILENO);
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    if (chdir(folder.c_str()) == 0) {
        execvp(arguments[0], arguments.data());
    }
    _exit(127);
}

/// Exit status; 1000 if the process group had to be killed.
int await(pid_t pid) {
    auto const end = std::chrono::steady_clock::now() + g_longest;
    int status = 0;
    while (waitpid(pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > end) {
            kill(-pid, SIGKILL);
            waitpid(pid, &status, 0);
            return 1000;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

} // namespace

JobResult runJob(int nbRanks, std::vector<std::string> const& program, boost::filesystem::path const& folder,
                 RankFault const& fault) {
    TemporaryFolder const outputs;
    std::vector<std::string> words = {VELMO_TEST_MPIRUN, "-n", std::to_string(nbRanks), "--oversubscribe"};
    words.insert(words.end(), program.begin(), program.end());
    auto const begin = std::chrono::steady_clock::now();
    pid_t const pid = fork();
    if (pid == 0) {
        startJob(words, folder, outputs.getPath(), fault);
    }
    JobResult result;
    result.status = await(pid);
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    result.out = readFile(outputs / "out");
    result.err = readFile(outputs / "err");
    return result;
}

JobResult runProbe(int nbRanks, std::vector<std::string> const& arguments,
                   boost::filesystem::path const& folder, RankFault const& fault) {
    std::vector<std::string> program = {VELMO_TEST_PROBE};
    program.insert(program.end(), arguments.begin(), arguments.end());
    return runJob(nbRanks, program, folder, fault);
}

} // namespace velmo::test
