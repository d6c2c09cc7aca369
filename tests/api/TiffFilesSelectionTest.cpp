// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFilesFixture.h"

#include <VELMOImage/ImageAccessor.h>
#include <VELMOUtil/Logging.h>
#include <boost/filesystem/operations.hpp>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;
namespace attr = velmo::imaproc::attr;

namespace {

class TiffFilesSelection : public TiffFiles {
  protected:
    /// All functions and modes, for a pattern.
    struct Call {
        std::string name;
        std::function<ImagePtr(fs::path const& directory, std::string const& pattern)> run;
    };

    std::vector<Call> getCalls() const {
        std::vector<Call> calls;
        for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
            calls.push_back(
                {"load " + std::to_string(mode), [mode](auto const& directory, auto const& pattern) {
                     return loadTiffImageFiles(directory, pattern, mode, eTBM_Default);
                 }});
            calls.push_back(
                {"open " + std::to_string(mode), [mode](auto const& directory, auto const& pattern) {
                     return openTiffImageFiles(directory, pattern, mode, eTBM_Default);
                 }});
        }
        calls.push_back({"stack", [this](auto const& directory, auto const& pattern) {
                             return loadCustomZStackImageFiles(directory, getStepsPath(), 2,
                                                               attr::eIP_Nearest, pattern, eTBM_Default);
                         }});
        return calls;
    }

    void expectNothing(fs::path const& directory, std::string const& pattern) const {
        for (Call const& call : getCalls()) {
            SCOPED_TRACE(call.name);
            CapturedLog const log(log4cplus::Logger::getRoot());
            EXPECT_EQ(call.run(directory, pattern), nullptr);
            EXPECT_TRUE(log.getRecords().empty());
        }
    }

    std::string raisedText(Call const& call, std::string const& pattern) const {
        auto const raised =
            expectRaisedFrom("src/Utils/FilePatternMatching.cpp", [&] { call.run(_folder, pattern); });
        return raised ? raised->text : std::string();
    }

    static int getSystemError(Call const& call, fs::path const& directory) {
        try {
            call.run(directory, "*");
        } catch (fs::filesystem_error const& error) {
            return error.code().value();
        }
        return 0;
    }
};

} // namespace

// No file

TEST_F(TiffFilesSelection, WithoutAMatchAnEmptyPointerIsGivenWithoutAWordAndNoPatternRefused) {
    for (char const* pattern : {g_numbered, "*", "z<INDEX>|y", "<INDEX>_<INDEX>"}) {
        expectNothing(_folder, pattern);
    }
    writeFile(at("b1.tif"), "never opened");
    fs::create_directory(at("a1.tif"));
    expectNothing(_folder, g_numbered);
}

// Several

TEST_F(TiffFilesSelection, NothingIsLoggedOnSuccess) {
    save({makePart(makeVolume(1), 1), makePart(makeVolume(1), 2)});
    writeEvenSteps(2);
    CapturedLog const log(log4cplus::Logger::getRoot());
    for (Call const& call : getCalls()) {
        EXPECT_TRUE(call.run(_folder, g_numbered)) << call.name;
    }
    EXPECT_TRUE(log.getRecords().empty());
}

// What is refused before a file is opened

TEST_F(TiffFilesSelection, RefusedPatternsAreRaisedAndNoFileIsOpened) {
    writeFile(at("a1.tif"), "no TIFF file");
    for (Call const& call : getCalls()) {
        SCOPED_TRACE(call.name);
        EXPECT_EQ(raisedText(call, "z<INDEX>|y"),
                  "Invalid pattern string (z<INDEX>|y), mixing patterns with and "
                  "without keyword \"<INDEX>\"");
        EXPECT_EQ(raisedText(call, "<INDEX>_<INDEX>"),
                  "More than one instance of keyword \"<INDEX>\" in pattern \"<INDEX>_<INDEX>\"");
    }
}

TEST_F(TiffFilesSelection, WhatTheFileSystemSaysOfTheDirectoryPassesAsItIs) {
    writeFile(at("file"), "");
    for (Call const& call : getCalls()) {
        SCOPED_TRACE(call.name);
        CapturedLog const log(getBaseLogger());
        EXPECT_EQ(getSystemError(call, at("missing")), ENOENT);
        EXPECT_EQ(getSystemError(call, at("file")), ENOTDIR);
        EXPECT_TRUE(log.getRecords().empty());
    }
}

namespace {

/// A directory in which one file matches.
class TiffFilesSingle : public TiffFiles {
  protected:
    fs::path const _path = numbered(3);
};

} // namespace

TEST_F(TiffFilesSingle, TheDirectoryModeIsTheCallers) {
    std::vector<Directory> const pages = makePages(3);
    writeTiff(_path, pages);
    for (ImagePtr const& pImage : {load(eTDM_Volume), open(eTDM_Volume)}) {
        EXPECT_EQ(pImage->getGeometry().getSizeZ(), 3U);
        EXPECT_EQ(pImage->getGeometry().getSizeT(), 1U);
        EXPECT_EQ(readPixels(*pImage), pixelsOf(pages));
    }
    for (ImagePtr const& pImage : {load(eTDM_Temporal), open(eTDM_Temporal)}) {
        EXPECT_EQ(pImage->getGeometry().getSizeZ(), 1U);
        EXPECT_EQ(pImage->getGeometry().getSizeT(), 3U);
        EXPECT_EQ(pImage->getTemporalGeometryType(), eTGT_Sequence);
        EXPECT_EQ(readPixels(*pImage), pixelsOf(pages));
    }
}

TEST_F(TiffFilesSingle, TheBufferModeIsTheCallers) {
    writeTiff(_path, makePages(1));
    EXPECT_EQ(load(eTDM_Volume, g_numbered, eTBM_Label)->getBufferType(), eIBT_Label8);
    EXPECT_EQ(open(eTDM_Temporal, g_numbered, eTBM_Binary)->getBufferType(), eIBT_Binary);
    EXPECT_EQ(loadCustomZStackImageFiles(_folder, getStepsPath(), 9, attr::eIP_Linear, g_numbered, eTBM_Label)
                  ->getBufferType(),
              eIBT_Label8);
}

TEST_F(TiffFilesSingle, NothingIsComparedAndSeveralTimeStepsOfDifferentTypesAreKept) {
    Part const part = makePart(makeHeterogeneous());
    save(_path, part);
    writeSteps("no number");
    for (ImagePtr const& pImage : {load(eTDM_Volume), open(eTDM_Volume), load(eTDM_Temporal),
                                   open(eTDM_Temporal), loadStack(1, attr::eIP_Linear)}) {
        EXPECT_TRUE(haveSamePixels(pImage->getGeometry(), *part.pGeometry));
        EXPECT_EQ(readPixels(*pImage), part.pixels);
    }
}

TEST_F(TiffFilesSingle, CalibrationAndUserPropertiesAreKept) {
    Part part = makePart(makeVolume(2));
    part.userProperties = "a text of the user";
    part.pCalibration = createGeometricCalibration2d(0.5F, 0.25F, "um", 1, 2, 3, 4, 5);
    save(_path, part);
    for (ImagePtr const& pImage : {load(eTDM_Volume), open(eTDM_Volume), load(eTDM_Temporal),
                                   open(eTDM_Temporal), loadStack(7, attr::eIP_Linear)}) {
        EXPECT_EQ(pImage->getUserPropertiesStr(), "a text of the user");
        ASSERT_TRUE(pImage->hasGeometricCalibration());
        EXPECT_EQ(pImage->getGeometricCalibrationConstPtr()->getPixelSizeY(), 0.25F);
    }
}

TEST_F(TiffFilesSingle, AnOpenedFileCanBeWritten) {
    Part const part = makePart(makeVolume(2));
    save(_path, part);
    ImagePtr const pImage = open(eTDM_Volume);
    auto const pDisk = boost::dynamic_pointer_cast<DiskImage>(pImage);
    ASSERT_TRUE(pDisk);
    EXPECT_NE(pDisk->getAccessor()->getAccessMode(), eIAM_ReadOnly);
    std::string const later = makePixels(*part.pGeometry, 99);
    writePixels(*pImage, later);
    EXPECT_EQ(readPixels(*load(eTDM_Volume)), later);
}

TEST_F(TiffFilesSingle, AFailureIsThatOfTheFunctionsOfOneFile) {
    writeFile(_path, "");
    for (auto const& action : std::vector<Action>{[&] { load(eTDM_Volume); }, [&] { open(eTDM_Volume); },
                                                  [&] { load(eTDM_Temporal); }, [&] { open(eTDM_Temporal); },
                                                  [&] { loadStack(2, attr::eIP_Linear); }}) {
        expectRaisedBeginning(action, loadError(_path, "Failed to open tiff image file " + _path.string()));
        EXPECT_EQ(countOpenFiles(), 0U);
    }
}

TEST_F(TiffFilesSingle, TheCustomStackTakesNoLookAtStepsSizeOrPolicy) {
    Part const part = makePart(makeVolume(4, 2));
    save(_path, part);
    auto const policy = static_cast<attr::eInterpolationPolicy>(77);
    for (char const* steps : {"missing", "missing.xml", "folder", "broken.xml", "few"}) {
        SCOPED_TRACE(steps);
        fs::path const path = _other / steps;
        if (steps == std::string("folder")) {
            fs::create_directory(path);
        } else if (path.string().find("missing") == std::string::npos) {
            writeFile(path, "1\n");
        }
        for (unsigned long const sizeZ : {0UL, 2UL, ~0UL}) {
            ImagePtr const pImage =
                loadCustomZStackImageFiles(_folder, path, sizeZ, policy, g_numbered, eTBM_Default);
            EXPECT_TRUE(haveSamePixels(pImage->getGeometry(), *part.pGeometry));
            EXPECT_EQ(readPixels(*pImage), part.pixels);
        }
    }
}

TEST_F(TiffFilesSingle, ALoadClosesTheFileAndAnOpenedImageKeepsItUntilItGoes) {
    save(_path, makePart(makeVolume(2)));
    ImagePtr pLoaded = load(eTDM_Volume);
    ImagePtr pStack = loadStack(2, attr::eIP_Linear);
    EXPECT_EQ(countOpenFiles(), 0U);
    ImagePtr pOpened = open(eTDM_Volume);
    EXPECT_EQ(countOpenFiles(), 1U);
    pOpened.reset();
    EXPECT_EQ(countOpenFiles(), 0U);
}

} // namespace velmo::test
