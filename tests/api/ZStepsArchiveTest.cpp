// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ZStepsFixture.h"

#include <VELMOAttributes/ZSteps.h>
#include <VELMOSerialization/XmlFile.h>
#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using imaproc::attr::ZSteps;
using testing::StartsWith;
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
