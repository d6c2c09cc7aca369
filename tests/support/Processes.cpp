// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Processes.h"

#include <boost/filesystem/operations.hpp>
#include <sys/wait.h>
#include <unistd.h>

namespace velmo::test {

namespace {

namespace fs = boost::filesystem;

constexpr unsigned int g_secondsOfChild = 120;
constexpr unsigned int g_nobody = 65534;

std::string readToEnd(int descriptor) {
    std::string text;
    char block[256];
    for (ssize_t got = 0; (got = read(descriptor, block, sizeof(block))) > 0;) {
        text.append(block, static_cast<std::size_t>(got));
    }
    return text;
}

[[noreturn]] void runChild(int descriptor, std::function<std::string()> const& work) {
    alarm(g_secondsOfChild);
    std::string text;
    try {
        text = work();
    } catch (std::exception const& exception) {
        text = std::string("thrown: ") + exception.what();
    }
    ssize_t const put = write(descriptor, text.data(), text.size());
    _exit(put == static_cast<ssize_t>(text.size()) ? 0 : 1);
}

} // namespace

std::string inChild(std::function<std::string()> const& work) {
    int ends[2] = {};
    if (pipe(ends) != 0) {
        return "no pipe";
    }
    pid_t const child = fork();
    if (child == 0) {
        close(ends[0]);
        runChild(ends[1], work);
    }
    close(ends[1]);
    std::string const text = readToEnd(ends[0]);
    close(ends[0]);
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? text : "killed";
}

std::string asOrdinaryUser(std::function<std::string()> const& work) {
    return inChild([&]() -> std::string {
        bool const bRoot = geteuid() == 0;
        if (bRoot && (setegid(g_nobody) != 0 || setuid(g_nobody) != 0)) {
            return g_noSuchUser;
        }
        return work();
    });
}

std::size_t countDescriptors(fs::path const& path) {
    std::string const name = (fs::canonical(path.parent_path()) / path.filename()).string();
    std::size_t count = 0;
    for (fs::directory_entry const& entry : fs::directory_iterator("/proc/self/fd")) {
        boost::system::error_code gone;
        std::string const target = fs::read_symlink(entry.path(), gone).string();
        count += target == name || target == name + " (deleted)" ? 1 : 0;
    }
    return count;
}

} // namespace velmo::test
