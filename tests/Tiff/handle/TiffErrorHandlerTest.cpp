// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "TiffFixture.h"

#include <VELMOUtil/Logging.h>
#include <atomic>
#include <sys/wait.h>
#include <type_traits>

namespace velmo::image::file {

namespace {

using testing::StartsWith;
using velmo::test::CapturedLog;

constexpr std::uint16_t g_unknownTag = 60000; // libtiff warns of it

RawDirectory strangeDirectory() {
    return greyDirectory().set(g_unknownTag, shorts({1}));
}

std::atomic<int> g_nbReports{0};

void countReport(char const* /*module*/, char const* /*format*/, va_list /*args*/) {
    ++g_nbReports;
}

/// What the example of a fresh process wrote.
struct Outcome {
    std::string output;
    std::string errors;
};

class TiffErrorHandlerText : public TiffTest {};

class TiffErrorHandlerProcess : public TiffTest {
  protected:
    Outcome run(std::string const& scenario) const {
        path const output = _folder / "output";
        path const errors = _folder / "errors";
        // what an exception leaves behind in libtiff is not freed
        std::string const command = std::string("ASAN_OPTIONS=detect_leaks=0 ") + VELMO_TEST_TIFF_MESSAGES +
                                    " " + scenario + " " + _path.string() + " >" + output.string() + " 2>" +
                                    errors.string();
        int const status = std::system(command.c_str());
        EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, 0);
        return {readFile(output), readFile(errors)};
    }
    std::string openFailed(std::string const& words) const {
        return "Failed to open tiff image file " + _path.string() + "\n" + words;
    }
    std::string missing() const { return _path.string() + ": No such file or directory"; }
};

} // namespace

TEST_F(TiffErrorHandlerText, IsAPrefixAndTheFormattedWordsWithoutTheModule) {
    TIFFError("theModule", "row %d of %s", 7, "a strip whose text is longer than the next");
    EXPECT_EQ(lastTiffMessage(), "Tiff Error : row 7 of a strip whose text is longer than the next");
    TIFFWarning("theModule", "%u%% of %s", 50U, "a plane");
    EXPECT_EQ(lastTiffMessage(), "Tiff Warning : 50% of a plane");
    TIFFError(nullptr, "no module");
    EXPECT_EQ(lastTiffMessage(), "Tiff Error : no module");
}

TEST_F(TiffErrorHandlerText, StaysUntilTheNextReport) {
    TIFFError("m", "old");
    for (int read = 0; read < 3; ++read) {
        EXPECT_EQ(TiffErrorHandler::getInstance().getCurrentError(), "Tiff Error : old");
    }
    writeRawTiff(_path, {greyDirectory()});
    EXPECT_THAT(OpenedTiff(_path).result, Succeeds());
    EXPECT_EQ(lastTiffMessage(), "Tiff Error : old");
}

TEST_F(TiffErrorHandlerText, IsEmptiedForTheCallingThreadAlone) {
    TIFFError("m", "mine");
    std::thread([] {
        TIFFError("m", "other");
        TiffErrorHandler::getInstance().clearCurrentError();
        EXPECT_EQ(lastTiffMessage(), "");
    }).join();
    EXPECT_EQ(lastTiffMessage(), "Tiff Error : mine");
    TiffErrorHandler::getInstance().clearCurrentError();
    EXPECT_EQ(lastTiffMessage(), "");
}

TEST_F(TiffErrorHandlerText, OfAWarningStandsInALaterFailureOfWhichLibtiffSaysNothing) {
    writeRawTiff(_path, {strangeDirectory().without(TIFFTAG_BITSPERSAMPLE)});
    EXPECT_THAT(OpenedTiff(_path).result,
                FailsWith("Error while getting tiff tag TIFFTAG_BITSPERSAMPLE for file " + _path.string() +
                          "\nTiff Warning : Unknown field with tag 60000 (0xea60) encountered"));
}

TEST_F(TiffErrorHandlerText, TooLongForItsBufferIsCut) {
    std::string const words = "begins here" + std::string(20000, 'w');
    TIFFError("m", "%s", words.c_str());
    std::string const text = lastTiffMessage();
    EXPECT_THAT(text, StartsWith("Tiff Error : "));
    EXPECT_EQ(text.size(), 13U + 4095U);
    EXPECT_EQ(text.substr(13), words.substr(0, text.size() - 13));
}

TEST_F(TiffErrorHandlerText, ReachesNeitherTheConsoleNorTheLog) {
    CapturedLog const log(getBaseLogger());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    TIFFError("m", "an error");
    TIFFWarning("m", "a warning");
    OpenedTiff const missing(_path);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(log.getRecords().empty());
}

TEST_F(TiffErrorHandlerText, OfThreadsThatFailAtOnceIsEachThreadsOwn) {
    constexpr unsigned int nbThreads = 8;
    std::atomic<unsigned int> nbOwn{0};
    onThreads(nbThreads, [&](unsigned int thread) {
        for (int round = 0; round < 200; ++round) {
            std::string const name =
                "missing-" + std::to_string(thread) + "-" + std::to_string(round) + ".tif";
            std::string const file = (_folder / name).string();
            std::string const words = "Tiff Error : " + file + ": No such file or directory";
            BoolResult const result = OpenedTiff(file).result;
            bool const bOwn = result.getMessage() == "Failed to open tiff image file " + file + "\n" + words;
            nbOwn += bOwn && lastTiffMessage() == words ? 1 : 0;
        }
    });
    EXPECT_EQ(nbOwn, nbThreads * 200);
}

TEST(TiffErrorHandlerInstance, IsOneForAllThreadsAndIsNotCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<TiffErrorHandler>);
    EXPECT_FALSE(std::is_copy_assignable_v<TiffErrorHandler>);
    TiffErrorHandler const* pOther = nullptr;
    std::thread([&] { pOther = &TiffErrorHandler::getInstance(); }).join();
    EXPECT_EQ(pOther, &TiffErrorHandler::getInstance());
}

TEST(TiffErrorHandlerInstance, InstallsTheHandlersAtItsFirstUseAlone) {
    TiffErrorHandler::getInstance();
    TIFFErrorHandler const errorHandler = TIFFSetErrorHandler(countReport);
    TIFFErrorHandler const warningHandler = TIFFSetWarningHandler(countReport);
    TiffErrorHandler::getInstance().clearCurrentError();
    TIFFError("m", "counted");
    TIFFWarning("m", "counted");
    EXPECT_EQ(lastTiffMessage(), "");
    EXPECT_EQ(g_nbReports, 2);
    EXPECT_EQ(TIFFSetErrorHandler(errorHandler), countReport);
    EXPECT_EQ(TIFFSetWarningHandler(warningHandler), countReport);
    TIFFError("m", "caught");
    EXPECT_EQ(lastTiffMessage(), "Tiff Error : caught");
}

TEST_F(TiffErrorHandlerProcess, TheFirstFailureGoesToLibtiffsOutputAndTheSecondIsCaught) {
    Outcome const outcome = run("failures");
    EXPECT_EQ(outcome.output, openFailed("") + "\n--\n" + openFailed("Tiff Error : " + missing()) + "\n--\n");
    EXPECT_THAT(outcome.errors, testing::HasSubstr(missing()));
    EXPECT_EQ(outcome.errors.find(missing()), outcome.errors.rfind(missing()));
}

TEST_F(TiffErrorHandlerProcess, ASuccessInstallsNothing) {
    writeRawTiff(_path, {greyDirectory()});
    Outcome const outcome = run("success");
    EXPECT_EQ(outcome.output, "opened\n");
    EXPECT_THAT(outcome.errors, testing::HasSubstr("said to the default output"));
}

TEST_F(TiffErrorHandlerProcess, AThreadThatHasSeenNoErrorHasAnEmptyText) {
    Outcome const outcome = run("thread");
    EXPECT_EQ(outcome.output, "[Tiff Error : " + missing() + "]\n[]\n[]\n");
}

TEST_F(TiffErrorHandlerProcess, AFailureBehindTheEndOfTheHandlerGoesToLibtiffsOutput) {
    Outcome const outcome = run("exit");
    EXPECT_EQ(outcome.output, "[Tiff Error : before the end]\n");
    EXPECT_THAT(outcome.errors, testing::HasSubstr("behind the end"));
}

TEST_F(TiffErrorHandlerProcess, AnExtenderOfAnotherUserIsCalledAsWell) {
    writeRawTiff(_path,
                 {greyDirectory().set(65000, ascii("text of 65000")).set(65001, ascii("text of 65001"))});
    Outcome const outcome = run("extender");
    EXPECT_EQ(outcome.output, "text of 65001\ntext of 65000\n");
}

TEST_F(TiffErrorHandlerProcess, WhatIsThrownWithinLibtiffIsAFailureOfTheOpening) {
    writeRawTiff(_path, {greyDirectory()});
    std::string const text = "An exception has been thrown while opening file " + _path.string() + "\n";
    Outcome const standard = run("throwing");
    EXPECT_EQ(standard.output, text + "thrown by an extender\n");
    Outcome const unknown = run("throwing-a-number");
    EXPECT_THAT(unknown.output, StartsWith(text));
    EXPECT_GT(unknown.output.size(), text.size() + 1);
}

} // namespace velmo::image::file
