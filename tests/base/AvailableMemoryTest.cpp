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

/// A folder with the files of a machine in it.
class AvailableMemory : public testing::Test {
  protected:
    void put(std::string const& path, std::string const& text) const {
        boost::filesystem::create_directories((_root / path).parent_path());
        writeFile(_root / path, text);
    }

    void putMachine(vlUInt64 nbKibibytes) const {
        put("proc/meminfo", "MemTotal:       99999999 kB\nMemFree:          12 kB\nMemAvailable:   " +
                                std::to_string(nbKibibytes) + " kB\nBuffers:        3 kB\n");
    }

    void putUnified(std::string const& group, std::string const& limit, std::string const& usage) const {
        put("sys/fs/cgroup" + group + "/memory.max", limit + "\n");
        put("sys/fs/cgroup" + group + "/memory.current", usage + "\n");
    }

    void putLegacy(std::string const& group, std::string const& limit, std::string const& usage) const {
        put("sys/fs/cgroup/memory" + group + "/memory.limit_in_bytes", limit + "\n");
        put("sys/fs/cgroup/memory" + group + "/memory.usage_in_bytes", usage + "\n");
    }

    vlUInt64 get() const { return getAvailableMemory(_root.getPath()); }

  private:
    TemporaryFolder _root;
};

} // namespace

TEST_F(AvailableMemory, WhatCannotBeReadSetsNoBound) {
    EXPECT_EQ(get(), g_noBound);
    put("proc/meminfo", "no table at all\n\nMemAvailable: soon\n");
    put("proc/self/cgroup", "no colon\none:colon\n\n");
    EXPECT_EQ(get(), g_noBound);
}

TEST_F(AvailableMemory, WithoutGroupsItIsWhatTheMachineSays) {
    putMachine(1000);
    EXPECT_EQ(get(), 1024000U);
}

TEST_F(AvailableMemory, AGroupOfTheSecondGenerationBoundsIt) {
    putMachine(1000);
    put("proc/self/cgroup", "0::/job\n");
    putUnified("/job", "5000", "1500");
    EXPECT_EQ(get(), 3500U);
}

TEST_F(AvailableMemory, ALimitAtAParentBoundsItToo) {
    putMachine(1000);
    put("proc/self/cgroup", "0::/slice/job/inner\n");
    putUnified("/slice", "4000", "3000");
    putUnified("/slice/job", "max", "2000");
    putUnified("/slice/job/inner", "9000", "100");
    EXPECT_EQ(get(), 1000U);
}

TEST_F(AvailableMemory, ALimitAtTheMountBoundsIt) {
    put("proc/self/cgroup", "0::/\n");
    putUnified("", "700", "200");
    EXPECT_EQ(get(), 500U);
}

TEST_F(AvailableMemory, TheMachineBoundsItBelowTheGroup) {
    putMachine(1);
    put("proc/self/cgroup", "0::/job\n");
    putUnified("/job", "5000", "0");
    EXPECT_EQ(get(), 1024U);
}

TEST_F(AvailableMemory, AGroupWithoutALimitSetsNoBound) {
    putMachine(1000);
    put("proc/self/cgroup", "0::/job\n");
    putUnified("/job", "max", "1500");
    EXPECT_EQ(get(), 1024000U);
}

TEST_F(AvailableMemory, PageCacheOfTheSecondGenerationCountsAsAvailable) {
    put("proc/self/cgroup", "0::/job\n");
    putUnified("/job", "5000", "4000");
    put("sys/fs/cgroup/job/memory.stat", "anon 1\nfile 900\ninactive_file 600\nactive_file 300\n");
    EXPECT_EQ(get(), 1900U);
}

TEST_F(AvailableMemory, PageCacheBeyondTheUsageGivesNoMoreThanTheLimit) {
    put("proc/self/cgroup", "0::/job\n");
    putUnified("/job", "5000", "400");
    put("sys/fs/cgroup/job/memory.stat", "inactive_file 600\nactive_file 300\n");
    EXPECT_EQ(get(), 5000U);
}

TEST_F(AvailableMemory, AUsageAboveTheLimitLeavesNothing) {
    put("proc/self/cgroup", "0::/job\n");
    putUnified("/job", "5000", "5001");
    EXPECT_EQ(get(), 0U);
}

TEST_F(AvailableMemory, AGroupOfTheFirstGenerationBoundsIt) {
    putMachine(1000);
    put("proc/self/cgroup", "5:cpu,cpuacct:/other\n4:memory:/slice/job\n1:name=systemd:/\n");
    putLegacy("", "9223372036854771712", "100");
    putLegacy("/slice", "6000", "1000");
    putLegacy("/slice/job", "9223372036854771712", "100");
    putLegacy("/other", "1", "1");
    EXPECT_EQ(get(), 5000U);
}

TEST_F(AvailableMemory, PageCacheOfTheFirstGenerationCountsWithThatOfTheGroupsBelow) {
    put("proc/self/cgroup", "4:memory:/job\n");
    putLegacy("/job", "5000", "4000");
    put("sys/fs/cgroup/memory/job/memory.stat",
        "inactive_file 1\nactive_file 2\ntotal_inactive_file 500\ntotal_active_file 400\n");
    EXPECT_EQ(get(), 1900U);
}

TEST_F(AvailableMemory, AGroupOfSeveralControllersBoundsIt) {
    putMachine(1000);
    put("proc/self/cgroup", "5:cpu,memory:/job\n");
    putLegacy("/job", "5000", "1500");
    EXPECT_EQ(get(), 3500U);
}

TEST_F(AvailableMemory, TheLeastOfBothGenerationsCounts) {
    put("proc/self/cgroup", "4:memory:/job\n0::/job\n");
    putLegacy("/job", "5000", "4000");
    putUnified("/job", "5000", "4500");
    EXPECT_EQ(get(), 500U);
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
