// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "RecordedLoad.h"

#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <set>

namespace velmo::test {

namespace {

using namespace image::file;

using Texts = std::vector<std::string>;

void append(Texts& texts, Texts const& more) {
    texts.insert(texts.end(), more.begin(), more.end());
}

/// A catalogue's look-up of the manager and its messages.
Texts getCatalogue(std::string const& domainKey, int nbMessages) {
    Texts steps = {"manager"};
    for (int id = 0; id < nbMessages; ++id) {
        steps.push_back("message " + domainKey + ' ' + std::to_string(id));
    }
    return steps;
}

/// The mutex of a class that applications do not see has no name here.
Texts getExpectedSteps() {
    Texts steps = {"mutex Im6TypeName", "mutex Im6Version", "class velmo::image::file::Im6ImageFile"};
    append(steps, getCatalogue("N5velmo5image4file20eIm6ImageFileMessage6domainE", 15));
    append(steps, {"mutex LoggerName", "mutex Manager", "mutex Logger"});
    append(steps, getCatalogue("of the module as a whole", 0));
    append(steps, {"mutex RawTypeName", "mutex RawVersion", "class velmo::image::file::RawImageFile"});
    append(steps, getCatalogue("N5velmo5image4file20eRawImageFileMessage6domainE", 15));
    append(steps, {"mutex TiffHandler", "mutex TiffTypeName", "class velmo::image::file::TiffImageFile"});
    append(steps, getCatalogue("N5velmo5image4file21eTiffImageFileMessage6domainE", 46));
    steps.emplace_back("text VELMO_Library");
    append(steps, getCatalogue("N5velmo5image4file22eImageFileUtilsMessage6domainE", 2));
    append(steps, {"mutex unknown", "class velmo::image::file::CheckedTiffImageFile"});
    append(steps, getCatalogue("N5velmo5image4file22eImageFileCheckMessage6domainE", 23));
    return steps;
}

#ifdef VELMO_TEST_RECORDS_MUTEXES

/// The only mutex that an operation locks.
template <class Work>
void const* getOnlyLock(Work const& work) {
    std::vector<void const*> const locks = recordLocks(work);
    EXPECT_EQ(locks.size(), 1U);
    return locks.empty() ? nullptr : locks[0];
}

/// The mutex that a failed open locks to fetch libtiff's words, besides those that have a name.
void const* getHandlerLock(std::map<void const*, std::string> const& names) {
    std::vector<void const*> locks = recordLocks([] {
        std::string userProperties;
        TiffImageFile().openFile("/missing.tif", image::eIAM_ReadOnly, eTDM_Volume, eTBM_Default,
                                 userProperties);
    });
    locks.erase(std::remove_if(locks.begin(), locks.end(),
                               [&](void const* pMutex) { return names.count(pMutex) != 0; }),
                locks.end());
    EXPECT_FALSE(locks.empty());
    EXPECT_EQ(std::set<void const*>(locks.begin(), locks.end()).size(), 1U);
    return locks.empty() ? nullptr : locks[0];
}

/// The mutexes by what they guard.
std::map<void const*, std::string> getMutexNames() {
    std::map<void const*, std::string> names;
    names[getOnlyLock([] { getVELMOImageFileLoggerName(); })] = "LoggerName";
    names[getOnlyLock([] { getVELMOImageFileLogMessageManager(); })] = "Manager";
    getVELMOImageFileLogger(); // the first call asks for the name
    names[getOnlyLock([] { getVELMOImageFileLogger(); })] = "Logger";
    names[getOnlyLock([] { Im6ImageFile::getTypeName(); })] = "Im6TypeName";
    names[getOnlyLock([] { Im6ImageFile::getVersion(); })] = "Im6Version";
    names[getOnlyLock([] { RawImageFile::getTypeName(); })] = "RawTypeName";
    names[getOnlyLock([] { RawImageFile::getVersion(); })] = "RawVersion";
    names[getOnlyLock([] { TiffImageFile::getTypeName(); })] = "TiffTypeName";
    names[getHandlerLock(names)] = "TiffHandler";
    return names;
}

Texts getSteps() {
    std::map<void const*, std::string> const names = getMutexNames();
    Texts texts;
    for (LoadStep const& step : endLoadRecord()) {
        auto const found = names.find(step.pMutex);
        texts.push_back(step.pMutex == nullptr
                            ? step.text
                            : step.text + ' ' + (found == names.end() ? "unknown" : found->second));
    }
    return texts;
}

#else

Texts getSteps() {
    Texts texts;
    for (LoadStep const& step : endLoadRecord()) {
        texts.push_back(step.text);
    }
    return texts;
}

#endif

} // namespace

#ifdef VELMO_TEST_RECORDS_MUTEXES

// The order of these two matters: the logger asks for its name once.
TEST(LibraryLoad, StepsRunInTheirFixedOrderAndTheLoggerLocksItsNameInside) {
    endLoadRecord();
    std::vector<void const*> const locks = recordLocks([] { getVELMOImageFileLogger(); });
    ASSERT_EQ(locks.size(), 2U);
    EXPECT_NE(locks[0], locks[1]);
    EXPECT_EQ(locks[1], getOnlyLock([] { getVELMOImageFileLoggerName(); }));
    EXPECT_EQ(locks[0], getOnlyLock([] { getVELMOImageFileLogger(); }));
    EXPECT_EQ(getMutexNames().size(), 9U);
    EXPECT_EQ(getSteps(), getExpectedSteps());
}

#else

TEST(LibraryLoad, StepsRunInTheirFixedOrder) {
    Texts expected = getExpectedSteps();
    expected.erase(std::remove_if(expected.begin(), expected.end(),
                                  [](std::string const& step) {
                                      return step.find("mutex") == 0 || step.find("text") == 0;
                                  }),
                   expected.end());
    EXPECT_EQ(getSteps(), expected);
}

#endif

} // namespace velmo::test
