// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFilesFixture.h"

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

TEST_F(TiffFilesSelection, AnEmptyDirectoryGivesAnEmptyPointerWithoutAWord) {
    expectNothing(_folder, g_numbered);
    expectNothing(_folder, "*");
    writeSteps("1\n");
    expectNothing(_folder, "*");
}

TEST_F(TiffFilesSelection, ADirectoryWithoutAMatchGivesAnEmptyPointerWithoutAWord) {
    writeFile(at("b1.tif"), "never opened");
    fs::create_directory(at("a1.tif"));
    expectNothing(_folder, g_numbered);
}

TEST_F(TiffFilesSelection, AnEmptyDirectoryRefusesNoPattern) {
    expectNothing(_folder, "z<INDEX>|y");
    expectNothing(_folder, "<INDEX>_<INDEX>");
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

} // namespace velmo::test
