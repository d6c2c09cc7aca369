// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TemporaryFolder.h"

#include <VELMOBase/AvailableMemory.h>
#include <VELMOUtil/Types.h>
#include <boost/filesystem/operations.hpp>
#include <fstream>
#include <gtest/gtest.h>

namespace velmo::test {

namespace {

constexpr vlUInt64 g_noBound = NumericLimits<vlUInt64>::s_max;
constexpr char const* g_groups = "proc/self/cgroup";

using File = std::pair<std::string, std::string>;
using Files = std::vector<File>;

File machine(vlUInt64 nbKibibytes) {
    return {"proc/meminfo", "MemTotal:       99999999 kB\nMemFree:          12 kB\nMemAvailable:   " +
                                std::to_string(nbKibibytes) + " kB\nBuffers:        3 kB\n"};
}

/// The files of a group of the second generation, of its statistics as well where there are any.
Files unified(std::string const& group, std::string const& limit, std::string const& usage,
              std::string const& statistics = "") {
    std::string const folder = "sys/fs/cgroup" + group;
    return {{folder + "/memory.max", limit + "\n"},
            {folder + "/memory.current", usage + "\n"},
            {folder + "/memory.stat", statistics}};
}

Files legacy(std::string const& group, std::string const& limit, std::string const& usage,
             std::string const& statistics = "") {
    std::string const folder = "sys/fs/cgroup/memory" + group;
    return {{folder + "/memory.limit_in_bytes", limit + "\n"},
            {folder + "/memory.usage_in_bytes", usage + "\n"},
            {folder + "/memory.stat", statistics}};
}

Files join(std::vector<Files> const& lists) {
    Files all;
    for (Files const& list : lists) {
        all.insert(all.end(), list.begin(), list.end());
    }
    return all;
}

/// A machine as its files show it.
struct Machine {
    char const* name;
    Files files;
    vlUInt64 nbBytes;
};

void PrintTo(Machine const& machine, std::ostream* pStream) {
    *pStream << machine.name;
}

char const* const g_noLimit = "9223372036854771712";
Files const g_job = {machine(1000), {g_groups, "0::/job\n"}};
Files const g_jobAlone = {{g_groups, "0::/job\n"}};

Machine const g_machines[] = {
    {"WithoutFilesThereIsNoBound", {}, g_noBound},
    {"WhatCannotBeReadSetsNoBound",
     {{"proc/meminfo", "no table at all\n\nMemAvailable: soon\n"}, {g_groups, "no colon\none:colon\n\n"}},
     g_noBound},
    {"WithoutGroupsItIsWhatTheMachineSays", {machine(1000)}, 1024000},
    {"AGroupOfTheSecondGenerationBoundsIt", join({g_job, unified("/job", "5000", "1500")}), 3500},
    {"ALimitAtAParentBoundsItToo",
     join({{machine(1000), {g_groups, "0::/slice/job/inner\n"}},
           unified("/slice", "4000", "3000"),
           unified("/slice/job", "max", "2000"),
           unified("/slice/job/inner", "9000", "100")}),
     1000},
    {"ALimitAtTheMountBoundsIt", join({{{g_groups, "0::/\n"}}, unified("", "700", "200")}), 500},
    {"TheMachineBoundsItBelowTheGroup", join({g_jobAlone, {machine(1)}, unified("/job", "5000", "0")}), 1024},
    {"AGroupWithoutALimitSetsNoBound", join({g_job, unified("/job", "max", "1500")}), 1024000},
    {"PageCacheOfTheSecondGenerationCountsAsAvailable",
     join({g_jobAlone,
           unified("/job", "5000", "4000", "anon 1\nfile 900\ninactive_file 600\nactive_file 300\n")}),
     1900},
    {"PageCacheBeyondTheUsageGivesNoMoreThanTheLimit",
     join({g_jobAlone, unified("/job", "5000", "400", "inactive_file 600\nactive_file 300\n")}), 5000},
    {"AUsageAboveTheLimitLeavesNothing", join({g_jobAlone, unified("/job", "5000", "5001")}), 0},
    {"AGroupOfTheFirstGenerationBoundsIt",
     join({{machine(1000), {g_groups, "5:cpu,cpuacct:/other\n4:memory:/slice/job\n1:name=systemd:/\n"}},
           legacy("", g_noLimit, "100"),
           legacy("/slice", "6000", "1000"),
           legacy("/slice/job", g_noLimit, "100"),
           legacy("/other", "1", "1")}),
     5000},
    {"PageCacheOfTheFirstGenerationCountsWithThatOfTheGroupsBelow",
     join({{{g_groups, "4:memory:/job\n"}},
           legacy("/job", "5000", "4000",
                  "inactive_file 1\nactive_file 2\ntotal_inactive_file 500\ntotal_active_file 400\n")}),
     1900},
    {"AGroupOfSeveralControllersBoundsIt",
     join({{machine(1000), {g_groups, "5:cpu,memory:/job\n"}}, legacy("/job", "5000", "1500")}), 3500},
    {"TheLeastOfBothGenerationsCounts",
     join({{{g_groups, "4:memory:/job\n0::/job\n"}},
           legacy("/job", "5000", "4000"),
           unified("/job", "5000", "4500")}),
     500}};

class AvailableMemory : public testing::TestWithParam<Machine> {};

INSTANTIATE_TEST_SUITE_P(Machines, AvailableMemory, testing::ValuesIn(g_machines),
                         [](auto const& machine) { return machine.param.name; });

} // namespace

TEST_P(AvailableMemory, IsTheLeastOfWhatTheFilesSay) {
    TemporaryFolder const root;
    for (auto const& [path, text] : GetParam().files) {
        boost::filesystem::create_directories((root / path).parent_path());
        writeFile(root / path, text);
    }
    EXPECT_EQ(getAvailableMemory(root.getPath()), GetParam().nbBytes);
}

TEST(AvailableMemoryOfThisMachine, IsMoreThanNothingAndNoMoreThanTheMachineHas) {
    std::ifstream stream("/proc/meminfo");
    std::string key;
    vlUInt64 nbKibibytes = 0;
    ASSERT_TRUE(stream >> key >> nbKibibytes);
    ASSERT_EQ(key, "MemTotal:");
    EXPECT_GT(getAvailableMemory(), 0U);
    EXPECT_LE(getAvailableMemory(), nbKibibytes * 1024);
}

} // namespace velmo::test
