// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "files/TiffImageFileFixture.h"

#include <boost/filesystem/operations.hpp>

namespace velmo::image::file {

namespace {

namespace fs = boost::filesystem;

/// The record of an accessor whose file is in a folder of its own, and whose path is then spoiled.
class TiffImageFileRestoreTest : public TiffImageFileTest,
                                 public testing::WithParamInterface<eImageAccessMode> {
  protected:
    TiffImageFileRestoreTest() {
        fs::create_directory(_inner);
        writeExample(_file);
        TiffImageFile written;
        openExampleOf(written);
        _record = writeRecord(g_binary, written);
    }

    void openExampleOf(TiffImageFile& file) const {
        OpenRequest request;
        request.access = GetParam();
        EXPECT_THAT(openFile(file, _file, request), Succeeds());
    }

    /// What restoring the record says.
    std::string restore() const {
        TiffImageFile file;
        BoolResult const result = readRecord(g_binary, _record, file);
        return result || file.isInit() ? "restored" : result.getMessage();
    }

    /// An accessor that may write creates a file that is not there; one that may not opens it.
    std::string getExpected(std::string const& reason) const {
        std::string const verb = GetParam() == eIAM_ReadOnly ? "open" : "create";
        return "Failed to " + verb + " tiff image file " + _file.string() +
               "\nTiff Error : " + _file.string() + ": " + reason;
    }

    path const _inner = _folder / "inner";
    path const _file = _inner / "image.tif";
    std::string _record;
};

std::string nameOfAccess(testing::TestParamInfo<eImageAccessMode> const& info) {
    return "Access" + std::to_string(static_cast<int>(info.param));
}

} // namespace

TEST_P(TiffImageFileRestoreTest, AFileWhoseFolderIsNowAFileIsMissing) {
    fs::remove_all(_inner);
    writeFile(_inner, "no folder");
    EXPECT_EQ(restore(), getExpected("Not a directory"));
    EXPECT_EQ(readFile(_inner), "no folder");
}

TEST_P(TiffImageFileRestoreTest, ALinkToItselfCountsAsMissingSinceItsStatusIsUnknown) {
    fs::remove(_file);
    fs::create_symlink(_file, _file);
    EXPECT_EQ(restore(), getExpected("Too many levels of symbolic links"));
}

TEST_P(TiffImageFileRestoreTest, AFileInAFolderThatCannotBeSearchedCountsAsMissing) {
    fs::permissions(_folder.getPath(), fs::all_all);
    fs::permissions(_inner, fs::owner_read);
    std::string const text = asOrdinaryUser([&] { return restore(); });
    fs::permissions(_inner, fs::owner_all);
    if (text == g_noSuchUser) {
        GTEST_SKIP() << text;
    }
    EXPECT_EQ(text, getExpected("Permission denied"));
}

TEST_P(TiffImageFileRestoreTest, AFileThatIsThereIsOpened) {
    TiffImageFile file;
    EXPECT_THAT(readRecord(g_binary, _record, file), Succeeds());
    expectExample(file);
}

INSTANTIATE_TEST_SUITE_P(AccessModes, TiffImageFileRestoreTest,
                         testing::Values(eIAM_ReadOnly, static_cast<eImageAccessMode>(1), eIAM_ReadWrite),
                         nameOfAccess);

} // namespace velmo::image::file
