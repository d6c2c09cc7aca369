// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Processes.h"

#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOUtil/LogMessageManager.h>
#include <VELMOUtil/Logging.h>
#include <gtest/gtest.h>
#include <set>
#include <vector>

namespace velmo::test {

namespace {

using namespace image::file;

/// What `access` gives on each of many threads that start together.
template <class Access>
std::set<void const*> accessFromManyThreads(Access const& access) {
    std::vector<void const*> seen(16, nullptr);
    onThreads(16, [&](unsigned int thread) {
        for (int i = 0; i < 200; ++i) {
            seen[thread] = &access();
        }
    });
    return {seen.begin(), seen.end()};
}

} // namespace

TEST(ModuleLog, TheLoggerIsAChildOfTheBaseLogger) {
    EXPECT_EQ(getVELMOImageFileLoggerName(), getBaseLoggerName() + ".VELMOImageFile");
    EXPECT_EQ(getVELMOImageFileLogger().getName(), getVELMOImageFileLoggerName());
    EXPECT_EQ(getBaseLogger().getName(), getBaseLoggerName()); // a parent is there from its first use on
    EXPECT_EQ(getVELMOImageFileLogger().getParent().getName(), getBaseLoggerName());
}

TEST(ModuleLog, TheManagerIsTheOneOfTheModulesName) {
    EXPECT_EQ(&getVELMOImageFileLogMessageManager(), &LogMessageManager::getInstance("VELMOImageFile"));
}

TEST(ModuleLog, EveryThreadGetsTheSameObjects) {
    EXPECT_EQ(accessFromManyThreads(getVELMOImageFileLogMessageManager),
              std::set<void const*>{&getVELMOImageFileLogMessageManager()});
    EXPECT_EQ(accessFromManyThreads(getVELMOImageFileLoggerName),
              std::set<void const*>{&getVELMOImageFileLoggerName()});
    EXPECT_EQ(accessFromManyThreads(getVELMOImageFileLogger),
              std::set<void const*>{&getVELMOImageFileLogger()});
}

} // namespace velmo::test
