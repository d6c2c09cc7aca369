// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Everything that the module does, on many threads at once.

#include "CapturedLog.h"
#include "Im6Sample.h"
#include "Processes.h"
#include "TemporaryFolder.h"
#include "ThreadWork.h"
#include "Threshold.h"

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImage/SubImageExtractor.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/XmlArchive.h>
#include <VELMOUtil/Logging.h>
#include <deque>
#include <gmock/gmock.h>
#include <log4cplus/loglevel.h>
#include <map>
#include <set>
#include <sstream>

namespace velmo::test {

using namespace image;
using namespace image::file;
using AccessorPtr = boost::shared_ptr<BaseDiskImageAccessor>;

namespace {

class MixedWork : public testing::Test {
  protected:
    MixedWork() {
        for (unsigned int thread = 0; thread <= g_nbThreads; ++thread) {
            _files.emplace_back(_folder.getPath(), thread);
        }
        openShared();
    }

    /// Of each format an image that all threads read, of files of none of them.
    void openShared() {
        ThreadFiles const& files = _files[g_nbThreads];
        _shared.push_back({"raw", files.openRaw(), files.getPixels()});
        _shared.push_back({"im6", files.openIm6(), files.getPixels()});
        _shared.push_back({"tiff", files.openTiff(), files.getPixels()});
        _shared.push_back({"joined tiff", files.openJoined(), files.getPixels(), 4});
        DiskImagePtr pJoined;
        ASSERT_TRUE(SubImageExtractor::concatenateDiskVolumes(
            {files.openRaw(), files.openIm6(), files.openTiff()}, pJoined));
        _shared.push_back(
            {"joined formats", pJoined, files.getPixels() + files.getPixels() + files.getPixels(), 12});
    }

    void readShared(unsigned int choice) const {
        for (Expected const& expected : _shared) {
            expectPlane(expected, choice);
        }
    }

    /// Planes that the shared files do not have, another for each thread. Of libtiff there are the words that
    /// this thread was told last.
    void expectWrongPlanes(unsigned int thread) const {
        std::string const lastText = _files[thread].getFailing().back().text;
        std::string const lastWords = lastText.substr(lastText.rfind('\n'));
        for (Expected const& expected : _shared) {
            std::string const plane = std::to_string(1000 + thread - expected.lastPart);
            std::string const text = _files[thread].getReadFailure(
                *boost::dynamic_pointer_cast<DiskImage>(expected.pImage)->getAccessor());
            if (expected.name == "raw" || expected.name == "im6") {
                EXPECT_EQ(text, "Invalid plan component indexes z=" + plane + " c=0 t=0");
            } else {
                EXPECT_THAT(text, testing::StartsWith("Error while setting directory " + plane +
                                                      " for file " + _files[g_nbThreads].at("").string()));
                EXPECT_THAT(text, testing::EndsWith(".tif" + lastWords));
            }
        }
    }

    /// Each failure, with a shared image read between it and the next.
    void expectFailures(std::vector<Failing> const& failures, unsigned int thread) const {
        for (std::size_t index = 0; index < failures.size(); ++index) {
            EXPECT_EQ(failures[index].call(), failures[index].text);
            expectPlane(_shared[(thread + index) % _shared.size()],
                        thread + static_cast<unsigned int>(index));
        }
    }

    TemporaryFolder const _folder;
    std::deque<ThreadFiles> _files; ///< those of each thread, and the shared ones
    std::vector<Expected> _shared;
};

template <class OArchive, class IArchive>
AccessorPtr sendThroughArchive(AccessorPtr const& pAccessor) {
    std::stringstream stream;
    {
        OArchive archive(stream);
        archive.writeObject("accessor", pAccessor);
    }
    IArchive archive(stream);
    return readObjectOf<BaseDiskImageAccessor>(archive, "accessor");
}

/// An accessor made anew from the record of one that other threads read meanwhile.
void expectRebuilt(Expected const& expected, bool bXml) {
    AccessorPtr const pAccessor = boost::dynamic_pointer_cast<DiskImage>(expected.pImage)->getAccessor();
    AccessorPtr const pRebuilt = bXml ? sendThroughArchive<XmlOArchive, XmlIArchive>(pAccessor)
                                      : sendThroughArchive<BinaryOArchive, BinaryIArchive>(pAccessor);
    ASSERT_TRUE(pRebuilt);
    EXPECT_EQ(pRebuilt->getClassName(), pAccessor->getClassName());
    EXPECT_TRUE(readPixels(DiskImage(pRebuilt)) == expected.pixels) << expected.name;
}

std::set<std::string> getTexts(std::vector<Failing> const& failures) {
    std::set<std::string> texts;
    for (Failing const& failing : failures) {
        texts.insert(failing.text);
    }
    return texts;
}

} // namespace

// What the other tests compare with would hide an exchange of words if two threads had to get the same.
TEST_F(MixedWork, TheFailuresOfEachThreadHaveATextOfTheirOwn) {
    std::set<std::string> texts;
    for (ThreadFiles const& files : _files) {
        texts.merge(getTexts(files.getRaising()));
        texts.merge(getTexts(files.getFailing()));
    }
    ThreadFiles const& first = _files[0];
    EXPECT_EQ(texts.size(), _files.size() * (first.getRaising().size() + first.getFailing().size()));
    EXPECT_THAT(first.getRaising()[4].text,
                testing::EndsWith("\nTiff Error : " + first.at("missing.tif").string() +
                                  ": No such file or directory"));
    EXPECT_THAT(first.getRaising()[5].text, testing::HasSubstr("bad magic number 16724 (0x4154)"));
    EXPECT_EQ(first.getRaising()[8].text, "Invalid plan component indexes z=1000 c=0 t=0");
}

TEST_F(MixedWork, OpenedReadFailedAndClosedFilesDisturbNoSharedImage) {
    onThreads(g_nbThreads, [&](unsigned int thread) {
        ThreadFiles const& files = _files[thread];
        unsigned int choice = thread;
        for (Rounds rounds; rounds.goOn();) {
            files.expectPixels();
            expectFailures(files.getRaising(), thread);
            files.expectSaves();
            expectFailures(files.getFailing(), thread);
            expectWrongPlanes(thread);
            readShared(choice++);
        }
    });
}

TEST_F(MixedWork, EachRaiseOfEachThreadIsLoggedOnce) {
    CapturedLog const log(getVELMOImageFileLogger());
    onThreads(g_nbThreads, [&](unsigned int thread) {
        for (int round = 0; round < 5; ++round) {
            expectFailures(_files[thread].getRaising(), thread);
        }
    });
    std::map<std::string, int> counts;
    for (CapturedLog::Record const& record : log.getRecords()) {
        EXPECT_EQ(record.level, log4cplus::ERROR_LOG_LEVEL);
        ++counts[record.message];
    }
    for (unsigned int thread = 0; thread < g_nbThreads; ++thread) {
        for (Failing const& failing : _files[thread].getRaising()) {
            EXPECT_EQ(counts[failing.text], 5) << failing.text;
        }
    }
    EXPECT_EQ(counts.size(), g_nbThreads * _files[0].getRaising().size());
}

TEST_F(MixedWork, LogsThatComeAndGoAndLevelsThatAreSwitchedLoseNoFailure) {
    std::set<std::string> texts;
    for (ThreadFiles const& files : _files) {
        texts.merge(getTexts(files.getRaising()));
    }
    onThreads(g_nbThreads, [&](unsigned int thread) {
        for (Rounds rounds; rounds.goOn();) {
            if (thread == 0) {
                Threshold const threshold(getVELMOImageFileLogger(), log4cplus::OFF_LOG_LEVEL);
                readShared(thread);
            } else if (thread == 1) {
                Threshold const threshold(getBaseLogger(), log4cplus::WARN_LOG_LEVEL);
                readShared(thread);
            } else if (thread < 4) {
                CapturedLog const log(thread == 2 ? getVELMOImageFileLogger() : getBaseLogger());
                expectFailures(_files[thread].getRaising(), thread);
                for (CapturedLog::Record const& record : log.getRecords()) {
                    EXPECT_EQ(texts.count(record.message), 1U) << record.message;
                }
            } else {
                expectFailures(_files[thread].getRaising(), thread);
            }
        }
    });
}

TEST_F(MixedWork, ArchivesAreWrittenAndReadBesideReadsAndFailures) {
    onThreads(g_nbThreads, [&](unsigned int thread) {
        unsigned int choice = thread / 3;
        for (Rounds rounds; rounds.goOn();) {
            if (thread % 3 == 0) {
                expectRebuilt(_shared[choice % _shared.size()], choice % 2 == 0);
                ++choice;
            } else if (thread % 3 == 1) {
                expectFailures(_files[thread].getFailing(), thread);
            } else {
                readShared(choice++);
            }
        }
    });
}

} // namespace velmo::test
