// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ThrownText.h"
#include "TiffFilesFixture.h"

#include <VELMOAttributes/ZSteps.h>
#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOSerialization/XmlFile.h>
#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace velmo {
namespace test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;
using namespace imaproc::attr;
using processor::VELMOBaseProcessingException;
using testing::HasSubstr;
using testing::StartsWith;
using Steps = std::vector<float>;

namespace {

/// A stack of planes of one pixel, whose value is the number of the plane: resampled linearly it shows the
/// steps.
class ZStepsFile : public TiffFiles {
  protected:
    ZStepsFile() { saveStack(3); }

    void saveStack(std::size_t nbPlanes) const {
        for (std::size_t plane = 0; plane < nbPlanes; ++plane) {
            auto const value = static_cast<float>(plane);
            save(numbered(plane), {geometry3d(eIBT_Real32, 1, 1, 1),
                                   std::string(reinterpret_cast<char const*>(&value), sizeof(value))});
        }
    }

    ImagePtr loadWith(fs::path const& steps) const {
        return loadCustomZStackImageFiles(_folder, steps, g_nbPlanes, eIP_Linear, g_numbered, eTBM_Default);
    }

    void expectStepsOf(fs::path const& path, Steps const& steps) const {
        ImagePtr const pImage = loadWith(path);
        for (vlUInt64 plane = 0; plane < g_nbPlanes; ++plane) {
            float value = -1;
            ASSERT_TRUE(pImage->readPixels(plane, 0, 0, 0, 1, &value));
            EXPECT_NEAR(value, findPlane(steps, plane), 1e-4) << "plane " << plane;
        }
    }
    void expectSteps(std::string const& text, Steps const& steps) const {
        SCOPED_TRACE(text.substr(0, 100));
        writeSteps(text);
        expectStepsOf(getStepsPath(), steps);
    }

    /// What the processor says of the steps of a text.
    std::string refusedText(std::string const& text) const {
        writeSteps(text);
        return refusedTextOf(getStepsPath());
    }
    std::string refusedTextOf(fs::path const& path) const {
        return thrownText<VELMOBaseProcessingException>([&] { loadWith(path); });
    }
    static std::string refusal(std::size_t index, std::string const& value) {
        return "InZSteps holds a step that is not positive and finite: step " + std::to_string(index) +
               " is " + value;
    }

    std::string countedText(std::string const& text) const {
        writeSteps(text);
        return raisedText(getStepsPath());
    }
    std::string raisedText(fs::path const& path) const {
        auto const raised = expectRaisedFrom("src/Tiff/TiffCustomZStack.cpp", [&] { loadWith(path); });
        EXPECT_EQ(countOpenFiles(), 0U);
        return raised ? raised->text : std::string();
    }
    static std::string countMismatch(int nbSteps) {
        return "Number of z-steps (" + std::to_string(nbSteps) +
               ") does not match with number of z-plans minus one (3-1)";
    }

    /// The archive has logged its failure by itself; the module's log has it once more, under its own text.
    static std::string archiveText(Action const& action) {
        CapturedLog const log(getVELMOImageFileLogger());
        std::string text = thrownText<VELMOImageFileException>(action);
        EXPECT_EQ(log.getRecords().size(), 1U);
        if (log.getRecords().size() == 1) {
            EXPECT_EQ(log.getRecords()[0].message, text);
            EXPECT_EQ(log.getRecords()[0].level, log4cplus::ERROR_LOG_LEVEL);
        }
        return text;
    }

    static std::string fileError(fs::path const& path, std::string const& reason) {
        return "Error while loading z-steps file \"" + path.string() + "\": " + reason;
    }

    fs::path writeXml(std::string const& name, Steps const& steps) const {
        ZSteps object;
        object.accessSteps() = steps;
        writeToXmlFile(_other / name, object);
        return _other / name;
    }

    static constexpr vlUInt64 g_nbPlanes = 17;

  private:
    /// The number of the plane, with what lies between two, at a height of the result.
    static double findPlane(Steps const& steps, vlUInt64 index) {
        double total = 0;
        for (float const step : steps) {
            total += static_cast<double>(step);
        }
        double height = total * static_cast<double>(index) / static_cast<double>(g_nbPlanes - 1);
        std::size_t plane = 0;
        while (plane + 1 < steps.size() && height >= static_cast<double>(steps[plane])) {
            height -= static_cast<double>(steps[plane++]);
        }
        return static_cast<double>(plane) + height / static_cast<double>(steps[plane]);
    }
};

char const* const g_badLines[] = {"x",
                                  "1x",
                                  "x1",
                                  "1 2",
                                  "1,5",
                                  "1;",
                                  "1.2.3",
                                  "0x10",
                                  "1e",
                                  "1E",
                                  "1e+",
                                  "1+",
                                  "1-",
                                  "+",
                                  "-",
                                  "e",
                                  "--1",
                                  "+-1",
                                  "1e5.5",
                                  ".",
                                  "# 1",
                                  "1/2",
                                  "1\r1",
                                  "1\t1",
                                  "infin",
                                  "1\xC2\xA0",
                                  "\xEF\xBB\xBF"
                                  "1",
                                  "one",
                                  "1 um",
                                  "\"1\"",
                                  "1e400"};

} // namespace

// Lines that are numbers

TEST_F(ZStepsFile, HoldsOneNumberALine) {
    expectSteps("2\n1\n", {2, 1});
    expectSteps("0.25\n7.5\n", {0.25F, 7.5F});
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

TEST_F(ZStepsFile, BlanksAroundANumberAndCarriageReturnsDoNoHarm) {
    expectSteps("2\r\n1\r\n", {2, 1});
    expectSteps("  2\n1  \n", {2, 1});
    expectSteps("\t2 \t\v\f\r\n \r 1\r\r", {2, 1});
}

TEST_F(ZStepsFile, BlankLinesAddNoStepWhereverTheyStand) {
    expectSteps("\n\n2\n\n\r\n \t\n1\n\n\n", {2, 1});
    expectSteps("\r\n2\n1\n   ", {2, 1});
}

TEST_F(ZStepsFile, TheLastLineNeedsNoLineFeed) {
    expectSteps("2\n1", {2, 1});
    expectSteps("2\n1\n", {2, 1});
}

TEST_F(ZStepsFile, MayBeLong) {
    saveStack(300);
    std::string text;
    Steps steps;
    for (int step = 0; step < 299; ++step) {
        steps.push_back(static_cast<float>(1 + step % 7));
        text += std::to_string(1 + step % 7) + '\n';
    }
    expectSteps(text, steps);
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

TEST_F(ZStepsFile, ALineThatIsNoNumberCountsLikeAnyOther) {
    EXPECT_EQ(countedText("x\ny\nz\n"), countMismatch(3));
    EXPECT_EQ(countedText("1\n2\n# comment\n"), countMismatch(3));
    EXPECT_EQ(countedText("x\n"), countMismatch(1));
}

TEST_F(ZStepsFile, WordsForInfinityAndNoNumberAreValuesThatTheProcessorRefuses) {
    for (std::string const sign : {"", "+", "-"}) {
        for (std::string const word : {"inf", "INF", "Inf", "infinity", "INFINITY", "Infinity"}) {
            EXPECT_EQ(refusedText("1\n" + sign + word), refusal(1, sign == "-" ? "-inf" : "inf"));
        }
        for (std::string const word : {"nan", "NAN", "NaN"}) {
            EXPECT_EQ(refusedText(sign + word + "\n1\n"), refusal(0, sign == "-" ? "-nan" : "nan"));
        }
    }
}

TEST_F(ZStepsFile, TheFirstStepThatIsRefusedIsNamed) {
    EXPECT_EQ(refusedText("0\nx\n"), refusal(0, "0"));
    EXPECT_EQ(refusedText("x\n-1\n"), refusal(0, "nan"));
}

TEST_F(ZStepsFile, AnEmptyFileOrOneOfBlanksHoldsNoStep) {
    for (std::string const text : {"", "\n", "\r\n\r\n", " \t\n \n"}) {
        EXPECT_EQ(countedText(text), countMismatch(0));
    }
    EXPECT_EQ(raisedText("/dev/null"), countMismatch(0));
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

TEST_F(ZStepsFile, AnArchiveThatIsNamedXmlInCapitalsIsTextWhoseLinesAreNoNumbers) {
    fs::path const path = _other / "steps.XML";
    fs::rename(writeXml("steps.xml", {2, 1}), path);
    std::string const text = readFile(path);
    auto const nbLines = static_cast<int>(std::count(text.begin(), text.end(), '\n'));
    EXPECT_EQ(raisedText(path), countMismatch(nbLines));
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
}

TEST_F(ZStepsFile, APipeIsRefusedAndNotWaitedFor) {
    for (char const* name : {"pipe", "pipe.xml"}) {
        fs::path const pipe = _other / name;
        ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
        EXPECT_THAT(archiveText([&] { loadWith(pipe); }),
                    testing::AllOf(StartsWith(fileError(pipe, "")), HasSubstr("Illegal seek")));
    }
}

TEST_F(ZStepsFile, ATextThatCannotBeReadToItsEndIsAFailureWithTheSystemsWords) {
    EXPECT_EQ(raisedText("/proc/self/mem"), fileError("/proc/self/mem", "Input/output error"));
}

TEST_F(ZStepsFile, WithoutPermissionIsAFailureWithTheSystemsWords) {
    fs::permissions(_folder, fs::perms(0755));
    fs::permissions(_other.getPath(), fs::perms(0755));
    writeSteps("2\n1\n");
    fs::permissions(getStepsPath(), fs::perms(0600));
    fs::path const xml = writeXml("steps.xml", {2, 1});
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

TEST_F(ZStepsFile, ThePathStandsInTheTextAsItIs) {
    fs::path const path = _other / "a\"b&";
    EXPECT_EQ(raisedText(path),
              "Error while loading z-steps file \"" + path.string() + "\": No such file or directory");
}

// XML

TEST_F(ZStepsFile, AnArchiveHoldsTheStepsAsTheyWereWritten) {
    expectStepsOf(writeXml("steps.xml", {2, 1}), {2, 1});
    expectStepsOf(writeXml("a.b.xml", {0.1F, 1e-6F}), {0.1F, 1e-6F});
}

TEST_F(ZStepsFile, StepsOfAnArchiveCountAndAreRefusedLikeThoseOfAText) {
    EXPECT_EQ(raisedText(writeXml("steps.xml", {})), countMismatch(0));
    EXPECT_EQ(raisedText(writeXml("steps.xml", {1, 2, 3})), countMismatch(3));
    EXPECT_EQ(refusedTextOf(writeXml("steps.xml", {1, -2})), refusal(1, "-2"));
    EXPECT_EQ(refusedTextOf(writeXml("steps.xml", {std::numeric_limits<float>::infinity(), 1})),
              refusal(0, "inf"));
}

TEST_F(ZStepsFile, AnArchiveThatIsMissingOrAFolderIsAFailureWithTheSystemsWords) {
    fs::path const missing = _other / "missing.xml";
    EXPECT_EQ(archiveText([&] { loadWith(missing); }),
              fileError(missing, "Failed to reach the archive file " + quoted(missing) +
                                     "\nNo such file or directory"));
    fs::path const folder = _other / "folder.xml";
    fs::create_directory(folder);
    EXPECT_EQ(archiveText([&] { loadWith(folder); }),
              fileError(folder, "Failed to reach the archive file " + quoted(folder) + "\nIs a directory"));
}

TEST_F(ZStepsFile, ABrokenArchiveIsAFailureWithTheWordsOfTheArchive) {
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

TEST_F(ZStepsFile, AnArchiveThatHoldsFewerStepsThanItSaysOrNoNumbersIsAFailure) {
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

TEST_F(ZStepsFile, AnArchiveOfAnotherClassIsAFailureThatNamesIt) {
    fs::path const path = _other / "steps.xml";
    writeToXmlFile(path, GeometricCalibration());
    EXPECT_EQ(archiveText([&] { loadWith(path); }),
              fileError(path, "An object of class " + GeometricCalibration::getTypeName() +
                                  " cannot be item object of the archive"));
}

} // namespace test
} // namespace velmo
