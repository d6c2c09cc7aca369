// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PrivateDisk.h"
#include "ZStepsFixture.h"

#include <VELMOAttributes/ZSteps.h>
#include <VELMOSerialization/XmlFile.h>
#include <boost/filesystem/operations.hpp>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image::file;
using imaproc::attr::ZSteps;
using testing::StartsWith;
using Steps = std::vector<float>;

namespace {

char const* const g_badLines[] = {
    "x",     "1x",   "x1",    "1 2",  "1,5",  "1;",   "1.2.3", "0x10",      "1e",
    "1E",    "1e+",  "1+",    "1-",   "+",    "-",    "e",     "--1",       "+-1",
    "1e5.5", ".",    "# 1",   "1/2",  "1\r1", "1\t1", "infin", "1\xC2\xA0", "\xEF\xBB\xBF\x31",
    "one",   "1 um", "\"1\"", "1e400"};

} // namespace

// Lines that are numbers

TEST_F(ZStepsFile, HoldsOneNumberALineWhateverBlanksAndBlankLinesStandAround) {
    for (char const* text : {"2\n1\n", "2\n1", "2\r\n1\r\n", "  2\n1  \n", "\t2 \t\v\f\r\n \r 1\r\r",
                             "\n\n2\n\n\r\n \t\n1\n\n\n", "\r\n2\n1\n   "}) {
        expectSteps(text, {2, 1});
    }
}

TEST_F(ZStepsFile, NumbersMayHaveSignFractionAndExponent) {
    for (char const* number : {"2.5", "+2.5", "2.50000", "002.5", "25e-1", "25E-1", "0.25e1", "0.25e+1",
                               "0.25E+01", "+.25e1", "2.5e0"}) {
        expectSteps(std::string(number) + "\n1", {2.5F, 1});
        expectSteps("1\n" + std::string(number), {1, 2.5F});
    }
    expectSteps("4.\n1", {4, 1});
    expectSteps("2." + std::string(1000, '0') + "\n1", {2, 1});
}

// Lines that are none

TEST_F(ZStepsFile, ALineThatIsNoNumberIsAStepWithoutAValueWhichTheProcessorRefuses) {
    for (std::string const line : g_badLines) {
        SCOPED_TRACE(line);
        CapturedLog const log(getVELMOImageFileLogger());
        EXPECT_EQ(refusedText(line + "\n1\n"), refusal(0, "nan"));
        EXPECT_EQ(refusedText("1\n" + line), refusal(1, "nan"));
        EXPECT_TRUE(log.getRecords().empty());
    }
}

TEST_F(ZStepsFile, ALineThatIsNoNumberCountsLikeAnyOtherAndABlankOneDoesNot) {
    EXPECT_EQ(countedText("x\ny\nz\n"), countMismatch(3));
    EXPECT_EQ(countedText("1\n2\n# comment\n"), countMismatch(3));
    for (std::string const text : {"", "\n", "\r\n\r\n", " \t\n \n"}) {
        EXPECT_EQ(countedText(text), countMismatch(0));
    }
    EXPECT_EQ(raisedText("/dev/null"), countMismatch(0));
}

TEST_F(ZStepsFile, WordsForInfinityAndNoNumberAreValuesThatTheProcessorRefuses) {
    for (std::string const sign : {"", "+", "-"}) {
        for (std::string const word : {"inf", "INF", "Inf", "infinity", "INFINITY", "Infinity"}) {
            EXPECT_EQ(refusedText(sign + word + "\n1\n"), refusal(0, sign == "-" ? "-inf" : "inf"));
        }
        for (std::string const word : {"nan", "NAN", "NaN"}) {
            EXPECT_EQ(refusedText(sign + word + "\n1\n"), refusal(0, sign == "-" ? "-nan" : "nan"));
        }
    }
}

TEST_F(ZStepsFile, BytesOfAnyKindAreLinesThatAreNoNumbers) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    EXPECT_EQ(refusedText("1\n" + bytes.substr(11)), refusal(1, "nan"));
    EXPECT_EQ(countedText(bytes + "\n1\n1"), countMismatch(4));
    EXPECT_EQ(refusedText(std::string("1\0\n1", 4)), refusal(0, "nan"));
    EXPECT_EQ(refusedText("1\n" + std::string(1 << 20, '7') + 'x'), refusal(1, "nan"));
}

// Which form

TEST_F(ZStepsFile, AnyExtensionButXmlInLowerCaseIsText) {
    for (char const* name : {"steps", "steps.XML", "steps.Xml", "steps.txt", "steps.xml.txt", "steps.xml2",
                             "xml", "steps.xml "}) {
        SCOPED_TRACE(name);
        writeFile(_other / name, "2\n1\n");
        expectStepsOf(_other / name, {2, 1});
    }
    fs::create_directory(_other / "folder.xml");
    writeFile(_other / "folder.xml/steps", "2\n1\n");
    expectStepsOf(_other / "folder.xml/steps", {2, 1});
}

// Text that cannot be read

TEST_F(ZStepsFile, ATextThatCannotBeOpenedIsAFailureWithTheSystemsWords) {
    fs::path const missing = _other / "missing";
    EXPECT_EQ(raisedText(missing), fileError(missing, "No such file or directory"));
    EXPECT_EQ(raisedText(""), fileError("", "No such file or directory"));
    EXPECT_EQ(raisedText(_folder), fileError(_folder, "Is a directory"));
    fs::create_symlink("nowhere", _other / "link");
    EXPECT_EQ(raisedText(_other / "link"), fileError(_other / "link", "No such file or directory"));
    fs::path const inFile = numbered(0) / "steps";
    EXPECT_EQ(raisedText(inFile), fileError(inFile, "Not a directory"));
    EXPECT_EQ(raisedText("/proc/self/mem"), fileError("/proc/self/mem", "Input/output error"));
}

// What is no ordinary file

TEST_F(ZStepsFile, APipeIsReadToTheEndOfItsWriter) {
    ZSteps steps;
    steps.accessSteps() = {2, 1};
    writeToXmlFile(_other / "steps.xml", steps);
    for (char const* name : {"pipe", "pipe.xml"}) {
        fs::path const pipe = _other / name;
        ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
        std::string const bytes =
            pipe.extension() == ".xml" ? readFile(_other / "steps.xml") : std::string("2\n1\n");
        int const held = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); // keeps what is written
        writeFile(pipe, bytes);
        expectStepsOf(pipe, {2, 1});
        close(held);
    }
}

TEST_F(ZStepsFile, ThePathOfAnOpenPipeIsReadAsTheShellGivesIt) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "2\n1\n", 4), 4);
    close(ends[1]);
    expectStepsOf("/dev/fd/" + std::to_string(ends[0]), {2, 1});
    close(ends[0]);
}

TEST_F(ZStepsFile, APipeWithoutAWriterIsRefusedInBoundedTime) {
    fs::path const pipes[] = {_other / "pipe", _other / "pipe.xml"};
    std::string texts[2];
    onThreads(2, [&](unsigned int index) {
        ASSERT_EQ(mkfifo(pipes[index].c_str(), 0600), 0);
        texts[index] = textThrownBy([&] { loadWith(pipes[index]); });
    });
    for (std::size_t index = 0; index < 2; ++index) {
        EXPECT_THAT(texts[index], StartsWith(fileError(pipes[index], "")));
        EXPECT_THAT(texts[index],
                    testing::EndsWith("No process has opened the pipe for writing within 2 seconds"));
    }
}

TEST_F(ZStepsFile, ADeviceWithoutAnEndIsRefused) {
    fs::path const link = _other / "device.xml";
    fs::create_symlink("/dev/zero", link);
    for (fs::path const& device : {fs::path("/dev/zero"), link}) {
        std::string const text = raisedText(device);
        EXPECT_THAT(text, StartsWith(fileError(device, "")));
        EXPECT_THAT(text, testing::EndsWith("The stream does not end within 16777216 bytes"));
    }
}

// No permission, and paths in texts

#ifdef VELMO_TEST_LIMITS_MEMORY
TEST_F(ZStepsFile, ALineAsLongAsTheMemoryIsALineThatIsNoNumber) {
    constexpr rlim_t nbBytes = rlim_t{1} << 26U;
    writeSteps("1\n7");
    fs::resize_file(getStepsPath(), nbBytes);
    rlim_t const limit = measureAddressSpace() + nbBytes;
    EXPECT_EQ(inChild([&]() -> std::string {
                  rlimit const both = {limit, limit};
                  setrlimit(RLIMIT_AS, &both);
                  return textThrownBy([&] { loadWith(getStepsPath()); });
              }),
              refusal(1, "nan"));
}
#endif

TEST_F(ZStepsFile, WithoutPermissionIsAFailureWithTheSystemsWords) {
    fs::permissions(_folder, fs::perms(0755));
    fs::permissions(_other.getPath(), fs::perms(0755));
    writeSteps("2\n1\n");
    fs::permissions(getStepsPath(), fs::perms(0600));
    fs::path const xml = _other / "steps.xml";
    writeFile(xml, "<archive/>");
    fs::permissions(xml, fs::perms(0600));
    for (fs::path const& path : {getStepsPath(), xml}) {
        std::string const text = asOrdinaryUser([&] { return textThrownBy([&] { loadWith(path); }); });
        if (text == g_noSuchUser) {
            GTEST_SKIP() << "this process cannot become another user";
        }
        EXPECT_THAT(text, StartsWith(fileError(path, "")));
        EXPECT_THAT(text, testing::EndsWith("Permission denied"));
    }
}

using namespace image;
using Steps = std::vector<float>;

namespace {

class ZStepsArchive : public ZStepsFile {
  protected:
    fs::path writeXml(std::string const& name, Steps const& steps) const {
        ZSteps object;
        object.accessSteps() = steps;
        writeToXmlFile(_other / name, object);
        return _other / name;
    }
};

} // namespace

TEST_F(ZStepsArchive, AnArchiveThatIsNamedXmlInCapitalsIsTextWhoseLinesAreNoNumbers) {
    fs::path const path = _other / "steps.XML";
    fs::rename(writeXml("steps.xml", {2, 1}), path);
    std::string const text = readFile(path);
    auto const nbLines = static_cast<int>(std::count(text.begin(), text.end(), '\n'));
    EXPECT_EQ(raisedText(path), countMismatch(nbLines));
}

TEST_F(ZStepsArchive, AnArchiveHoldsTheStepsAsTheyWereWritten) {
    expectStepsOf(writeXml("steps.xml", {2, 1}), {2, 1});
    expectStepsOf(writeXml("a.b.xml", {0.1F, 1e-6F}), {0.1F, 1e-6F});
}

TEST_F(ZStepsArchive, StepsOfAnArchiveCountAndAreRefusedLikeThoseOfAText) {
    EXPECT_EQ(raisedText(writeXml("steps.xml", {})), countMismatch(0));
    EXPECT_EQ(raisedText(writeXml("steps.xml", {1, 2, 3})), countMismatch(3));
    EXPECT_EQ(refusedTextOf(writeXml("steps.xml", {1, -2})), refusal(1, "-2"));
    EXPECT_EQ(refusedTextOf(writeXml("steps.xml", {std::numeric_limits<float>::infinity(), 1})),
              refusal(0, "inf"));
}

TEST_F(ZStepsArchive, AnArchiveThatIsMissingOrAFolderIsAFailureWithTheSystemsWords) {
    fs::path const missing = _other / "missing.xml";
    EXPECT_EQ(archiveText([&] { loadWith(missing); }),
              fileError(missing, "Failed to reach the archive file " + quoted(missing) +
                                     "\nNo such file or directory"));
    fs::path const folder = _other / "folder.xml";
    fs::create_directory(folder);
    EXPECT_EQ(archiveText([&] { loadWith(folder); }),
              fileError(folder, "Failed to reach the archive file " + quoted(folder) + "\nIs a directory"));
}

TEST_F(ZStepsArchive, ABrokenArchiveIsAFailureWithTheWordsOfTheArchive) {
    fs::path const path = writeXml("steps.xml", {2, 1});
    std::string const whole = readFile(path);
    for (std::string const& text :
         {std::string(), std::string("2\n1\n"), whole.substr(0, whole.size() / 2)}) {
        writeFile(path, text);
        EXPECT_THAT(archiveText([&] { loadWith(path); }),
                    StartsWith(fileError(path, "The archive is no valid XML: ")));
    }
    writeFile(path, "<archive/>");
    EXPECT_EQ(archiveText([&] { loadWith(path); }),
              fileError(path, "The archive has no item object where it is expected"));
}

TEST_F(ZStepsArchive, AnArchiveThatHoldsFewerStepsThanItSaysOrNoNumbersIsAFailure) {
    fs::path const path = writeXml("steps.xml", {2, 1});
    std::string const whole = readFile(path);
    auto const replace = [&](std::string const& old, std::string const& text) {
        std::string changed = whole;
        ASSERT_NE(whole.find(old), std::string::npos) << whole;
        writeFile(path, changed.replace(whole.find(old), old.size(), text));
    };
    replace("name=\"nbValues\" value=\"2\"", "name=\"nbValues\" value=\"18446744073709551615\"");
    EXPECT_EQ(archiveText([&] { loadWith(path); }),
              fileError(path, "The archive has no item value where it is expected"));
    replace("name=\"value\" value=\"1\"", "name=\"value\" value=\"one\"");
    EXPECT_THAT(archiveText([&] { loadWith(path); }),
                StartsWith(fileError(path, "Item value of the archive has no value of its type: ")));
}

TEST_F(ZStepsArchive, AnArchiveOfAnotherClassIsAFailureThatNamesIt) {
    fs::path const path = _other / "steps.xml";
    writeToXmlFile(path, GeometricCalibration());
    EXPECT_EQ(archiveText([&] { loadWith(path); }),
              fileError(path, "An object of class " + GeometricCalibration::getTypeName() +
                                  " cannot be item object of the archive"));
}

} // namespace velmo::test
