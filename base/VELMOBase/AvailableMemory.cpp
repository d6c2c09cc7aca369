// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOBase/AvailableMemory.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <map>
#include <optional>
#include <sstream>
#include <string>

namespace velmo {

namespace {

namespace fs = boost::filesystem;

constexpr std::uint64_t g_unbounded = std::numeric_limits<std::uint64_t>::max();

/// First number of a file; empty for a missing file and for words such as "max".
std::optional<std::uint64_t> readNumber(fs::path const& file) {
    std::ifstream stream(file.string());
    std::uint64_t value = 0;
    if (stream >> value) {
        return value;
    }
    return std::nullopt;
}

/// A file of lines "key value ...", as /proc/meminfo and memory.stat are.
std::map<std::string, std::uint64_t> readTable(fs::path const& file) {
    std::map<std::string, std::uint64_t> table;
    std::ifstream stream(file.string());
    std::string line;
    while (std::getline(stream, line)) {
        std::istringstream fields(line);
        std::string key;
        std::uint64_t value = 0;
        if (fields >> key >> value) {
            table[key] = value;
        }
    }
    return table;
}

std::uint64_t machineAvailable(fs::path const& root) {
    auto const table = readTable(root / "proc/meminfo");
    auto const found = table.find("MemAvailable:");
    return found == table.end() ? g_unbounded : found->second * 1024;
}

/// The two generations of control groups differ in file names alone.
struct GroupFiles {
    char const* limit;
    char const* usage;
    char const* inactiveFile;
    char const* activeFile;
};
constexpr GroupFiles g_unified = {"memory.max", "memory.current", "inactive_file", "active_file"};
constexpr GroupFiles g_legacy = {"memory.limit_in_bytes", "memory.usage_in_bytes", "total_inactive_file",
                                 "total_active_file"};

std::uint64_t groupAvailable(fs::path const& group, GroupFiles const& files) {
    auto const limit = readNumber(group / files.limit);
    auto const usage = readNumber(group / files.usage);
    if (!limit || !usage) {
        return g_unbounded;
    }
    auto stat = readTable(group / "memory.stat");
    std::uint64_t const cache = stat[files.inactiveFile] + stat[files.activeFile];
    std::uint64_t const inUse = *usage - std::min(*usage, cache);
    return *limit - std::min(*limit, inUse);
}

/// The least of a group and all groups above it, up to where they are mounted.
std::uint64_t groupsAvailable(fs::path const& mount, std::string const& group, GroupFiles const& files) {
    std::uint64_t available = groupAvailable(mount, files);
    fs::path current = mount;
    for (fs::path const& name : fs::path(group).relative_path()) {
        current /= name;
        available = std::min(available, groupAvailable(current, files));
    }
    return available;
}

} // namespace

std::uint64_t getAvailableMemory(fs::path const& root) {
    std::uint64_t available = machineAvailable(root);
    std::ifstream groups((root / "proc/self/cgroup").string());
    std::string line; // "id:controllers:path"
    while (std::getline(groups, line)) {
        auto const first = line.find(':');
        auto const second = line.find(':', first == std::string::npos ? first : first + 1);
        if (second == std::string::npos) {
            continue;
        }
        std::string const controllers = line.substr(first + 1, second - first - 1);
        std::string const group = line.substr(second + 1);
        if (controllers.empty()) {
            available = std::min(available, groupsAvailable(root / "sys/fs/cgroup", group, g_unified));
        } else if (("," + controllers + ",").find(",memory,") != std::string::npos) {
            available = std::min(available, groupsAvailable(root / "sys/fs/cgroup/memory", group, g_legacy));
        }
    }
    return available;
}

} // namespace velmo
