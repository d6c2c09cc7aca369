// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Formats whose planes lie in the file as in memory.

#include "AccessorKinds.h"
#include "CapturedLog.h"

#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <boost/filesystem/operations.hpp>
#include <sys/stat.h>

namespace velmo::image::file {

namespace {

namespace fs = boost::filesystem;

template <class Kind>
class PlainAccessor : public AccessorTest<Kind> {
  protected:
    /// A path is refused in each mode, in a child, which would be killed if one hung.
    void expectRefused(path const& path) const {
        std::string const text = inChild([&] {
            typename Kind::File file;
            return this->open(file, path).getMessage() + ";" +
                   this->open(file, path, eIAM_ReadWrite).getMessage() + ";" +
                   this->openShared(file, path).getMessage();
        });
        EXPECT_EQ(text, this->openFailed(path) + ";" + this->openFailed(path) + ";" + this->openFailed(path));
    }
};

TYPED_TEST_SUITE(PlainAccessor, PlainKinds, KindNames);

// Opening

TYPED_TEST(PlainAccessor, WhatIsNoFileIsRefusedAndNotMade) {
    this->expectRefused(this->_path);
    EXPECT_FALSE(fs::exists(this->_path));
    this->expectRefused("");
    this->expectRefused(this->_folder.getPath());
    ASSERT_EQ(mkfifo(this->_path.c_str(), 0600), 0);
    this->expectRefused(this->_path);
}

TYPED_TEST(PlainAccessor, APathStandsInATextAsItIs) {
    typename TypeParam::File file;
    EXPECT_THAT(this->open(file, this->_folder / "a \"b\" & %s"),
                FailsWith(std::string("Failed to open ") + TypeParam::s_format + " image file " +
                          this->_folder.getPath().string() + "/a \"b\" & %s"));
}

TYPED_TEST(PlainAccessor, AFileThatTheUserMayNotWriteOpensForReadingAlone) {
    TypeParam::write(this->_path, *makeExampleGeometry());
    fs::permissions(this->_path, fs::owner_read | fs::group_read | fs::others_read);
    std::string const texts = asOrdinaryUser([&] {
        typename TypeParam::File file;
        return this->open(file, this->_path).getMessage() + ";" +
               this->open(file, this->_path, eIAM_ReadWrite).getMessage();
    });
    if (texts == g_noSuchUser) {
        GTEST_SKIP() << "this process cannot become an ordinary user";
    }
    EXPECT_EQ(texts, ";" + this->openFailed(this->_path));
}

TYPED_TEST(PlainAccessor, NothingIsLoggedByAnOpeningThatSucceedsOrFails) {
    velmo::test::CapturedLog const log(log4cplus::Logger::getRoot());
    typename TypeParam::File file;
    this->openExample(file);
    EXPECT_FALSE(this->open(file, this->_folder / "missing"));
    EXPECT_TRUE(log.getRecords().empty());
}

TYPED_TEST(PlainAccessor, ClearingTheDerivedPartClosesTheStreamsAndKeepsTheDescription) {
    typename TypeParam::File file;
    this->openExample(file);
    file.clearDerived();
    EXPECT_EQ(countDescriptors(this->_path), 0U);
    EXPECT_TRUE(file.isInit());
    expectExample(file);
    EXPECT_EQ(countDescriptors(this->_path), 1U);
}

TYPED_TEST(PlainAccessor, ReadingWithoutAFileFailsAtTheOpening) {
    typename TypeParam::File file;
    EXPECT_THAT(tryRead(file, {}), FailsWith(this->openFailed("")));
}

// Runs

TYPED_TEST(PlainAccessor, ARunIsCountedInPixelsAndGoesOnInTheNextPlane) {
    typename TypeParam::File file;
    this->openExample(file);
    std::string buffer(8, '#');
    ASSERT_THAT(file.readRawData(1, 0, 0, 5, 3, buffer.data()), Succeeds());
    EXPECT_EQ(buffer, planeBytes(1).substr(10, 6) + "##");
    EXPECT_EQ(readPixels(file, {0, 0, 0, 11, 3}), countingBytes(6, 17 + 22));
    EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 48}), countingBytes(96, 17));
    EXPECT_EQ(readPixels(file, {0, 0, 0, 24, 2}), countingBytes(4, 17 + 48));
    EXPECT_THAT(file.readRawData(1, 0, 1, 12, 0, nullptr), Succeeds());
    EXPECT_THAT(file.writeRawData(1, 0, 1, 12, 0, nullptr), Succeeds());
}

TYPED_TEST(PlainAccessor, ARunPastTheFileFailsAndTheThreadsStreamStaysFailedUntilItIsOpenedAnew) {
    PixelRun const run = {1, 0, 1, 11, 2};
    PixelRun const other = {0, 0, 1, 1, 1};
    typename TypeParam::File file;
    this->openExample(file);
    for (bool const bOpen : {true, false}) {
        EXPECT_THAT(tryRead(file, run), FailsWith(this->readFailed(this->_path, run)));
        EXPECT_THAT(tryRead(file, other), FailsWith(this->seekFailed(this->_path, other)));
        inOtherThread([&] { EXPECT_THAT(tryRead(file, {}), Succeeds()); });
        EXPECT_THAT(tryRead(file, {}), FailsWith(this->seekFailed(this->_path, {})));
        if (bOpen) {
            ASSERT_THAT(this->open(file, this->_path), Succeeds());
        } else {
            file.clearDerived();
        }
        EXPECT_THAT(tryRead(file, {}), Succeeds());
    }
}

TYPED_TEST(PlainAccessor, AFileThatShrinksAfterItsOpeningFailsAtTheReadAndOneThatGrowsIsReadAsBefore) {
    PixelRun const run = {1, 0, 1, 0, 12};
    typename TypeParam::File file;
    this->openExample(file);
    vlUInt64 const size = fs::file_size(this->_path);
    fs::resize_file(this->_path, 4 * size);
    expectExample(file);
    fs::resize_file(this->_path, size - 1);
    EXPECT_THAT(tryRead(file, {1, 0, 1, 0, 11}), Succeeds());
    EXPECT_THAT(tryRead(file, run), FailsWith(this->readFailed(this->_path, run)));
}

TYPED_TEST(PlainAccessor, ARunThat64BitsCannotCountFailsAndLeavesTheBufferAndTheFile) {
    struct {
        PixelRun run;
        bool bSeekFails;
    } const cases[] = {{{0, 0, 0, g_largest, 1}, true},         {{0, 0, 0, g_largest / 2, 1}, true},
                       {{0, 0, 0, g_largest / 2 - 7, 1}, true}, {{0, 0, 0, g_largest / 4 + 1, 1}, true},
                       {{1, 0, 1, 0, g_largest}, false},        {{1, 0, 1, 0, g_largest / 2 + 1}, false},
                       {{1, 0, 1, 0, g_largest / 4 + 1}, false}};
    for (auto const& [run, bSeekFails] : cases) {
        std::string buffer(8, '#');
        typename TypeParam::File file;
        this->openExample(file, eIAM_ReadWrite);
        std::string const bytes = readFile(this->_path);
        std::string const seekFailed = this->seekFailed(this->_path, run);
        EXPECT_THAT(file.readRawData(run.z, run.c, run.t, run.start, run.count, buffer.data()),
                    FailsWith(bSeekFails ? seekFailed : this->readFailed(this->_path, run)));
        EXPECT_EQ(buffer, "########");
        if constexpr (TypeParam::s_bWrites) {
            file.clearDerived();
            EXPECT_THAT(file.writeRawData(run.z, run.c, run.t, run.start, run.count, buffer.data()),
                        FailsWith(bSeekFails ? seekFailed : this->writeFailed(this->_path, run)));
        }
        EXPECT_EQ(readFile(this->_path), bytes);
    }
}

// Planes that do not exist

TYPED_TEST(PlainAccessor, APlaneOutsideOfTheFileIsRaisedAndLoggedOnceWithItsPlace) {
    typename TypeParam::File file;
    this->openExample(file, eIAM_ReadWrite);
    for (PixelRun const& run : {PixelRun{2, 0, 0}, PixelRun{0, 3, 0}, PixelRun{2, 3, 1},
                                PixelRun{g_largest, 0, 0}, PixelRun{0, g_largest, 1}}) {
        velmo::test::CapturedLog const log(getVELMOImageFileLogger());
        EXPECT_EQ(thrownText<VELMOImageFileException>([&] { tryRead(file, run); }), this->invalidPlane(run));
        ASSERT_EQ(log.getRecords().size(), 1U);
        EXPECT_EQ(log.getRecords()[0].level, log4cplus::ERROR_LOG_LEVEL);
        EXPECT_EQ(log.getRecords()[0].message, this->invalidPlane(run));
        EXPECT_THAT(log.getRecords()[0].file, testing::EndsWith("ImageFile.cpp"));
    }
    EXPECT_EQ(thrownText<VELMOImageException>([&] {
                  tryRead(file, {9, 9, 2});
              }),
              "Time step 2 lies outside of an image of 2 time steps");
    EXPECT_THROW(tryRead(file, {0, 0, g_largest}), VELMOImageException);
    EXPECT_THAT(tryRead(file, {}), Succeeds());
}

} // namespace

} // namespace velmo::image::file
