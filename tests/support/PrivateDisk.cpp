// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PrivateDisk.h"

#include "Processes.h"

#include <boost/filesystem/operations.hpp>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

namespace velmo::test {

namespace fs = boost::filesystem;

namespace {

bool put(char const* path, std::string const& text) {
    return static_cast<bool>(std::ofstream(path) << text << std::flush);
}

/// A name space of mounts of its own, of root or of a user who is root in it alone.
bool leaveMounts() {
    std::string const user = std::to_string(geteuid());
    std::string const group = std::to_string(getegid());
    bool const bRoot = unshare(CLONE_NEWNS) == 0;
    bool const bLeft =
        bRoot ||
        (unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && put("/proc/self/setgroups", "deny") &&
         put("/proc/self/uid_map", "0 " + user + " 1") && put("/proc/self/gid_map", "0 " + group + " 1"));
    return bLeft && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

} // namespace

std::string onPrivateDisk(fs::path const& folder, std::size_t nbBytes,
                          std::function<std::string()> const& work) {
    fs::create_directories(folder);
    return inChild([&]() -> std::string {
        std::string const size = "size=" + std::to_string(nbBytes);
        bool const bMounted = leaveMounts() && mount("none", folder.c_str(), "tmpfs", 0, size.c_str()) == 0;
        return bMounted ? work() : g_noMount;
    });
}

bool forbidWrites(fs::path const& folder) {
    return mount("none", folder.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0;
}

void fillDisk(fs::path const& filler, std::size_t nbBytesLeft) {
    int const descriptor = open(filler.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    std::string const block(4096, 'f');
    off_t size = 0;
    for (ssize_t done = 0; (done = write(descriptor, block.data(), block.size())) > 0;) {
        size += done;
    }
    if (ftruncate(descriptor, std::max<off_t>(0, size - static_cast<off_t>(nbBytesLeft))) != 0) {
        size = 0;
    }
    close(descriptor);
}

std::string withLimit(int resource, std::size_t limit, std::function<std::string()> const& work) {
    return inChild([&]() -> std::string {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit const both = {limit, limit};
        return setrlimit(static_cast<__rlimit_resource>(resource), &both) == 0 ? work() : "no limit";
    });
}

std::size_t measureAddressSpace() {
    std::size_t nbPages = 0;
    std::ifstream("/proc/self/statm") >> nbPages;
    return nbPages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

} // namespace velmo::test
