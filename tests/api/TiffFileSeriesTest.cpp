// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TemporaryFolder.h"
#include "ThrownText.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <boost/filesystem/operations.hpp>
#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <gmock/gmock.h>

namespace velmo::test {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using image::file::findTiffFiles;
using image::file::selectTiffFiles;
using image::file::TiffFileSeries;
using Strings = std::vector<std::string>;

/// Name and number of each file, "-" for no number.
Strings showFiles(std::vector<TiffFileSeries::File> const& files) {
    Strings texts;
    for (TiffFileSeries::File const& file : files) {
        texts.push_back(file.path.string() + ' ' + (file.number ? std::to_string(*file.number) : "-"));
    }
    return texts;
}

Strings showGaps(TiffFileSeries const& series) {
    Strings texts;
    for (TiffFileSeries::Gap const& gap : series.gaps) {
        texts.push_back(std::to_string(gap.first) + ' ' + std::to_string(gap.last));
    }
    return texts;
}

} // namespace

TEST(TiffFileSeriesSelection, ComesInTheOrderOfTheNumbersWithDuplicatesAndGaps) {
    TiffFileSeries const series =
        selectTiffFiles({"a10.tif", "a2.tif", "b1.tif", "a02.tif", "a5.tif", "a002.tif", "a10.tiff"},
                        "a<INDEX>.tif|a<INDEX>.tiff");
    EXPECT_THAT(showFiles(series.files), ElementsAre("a2.tif 2", "a5.tif 5", "a10.tif 10"));
    EXPECT_THAT(showFiles(series.duplicates), ElementsAre("a02.tif 2", "a002.tif 2", "a10.tiff 10"));
    EXPECT_THAT(showGaps(series), ElementsAre("3 4", "6 9"));
}

TEST(TiffFileSeriesSelection, OfConsecutiveNumbersHasNoGap) {
    TiffFileSeries const series = selectTiffFiles({"a3.tif", "a1.tif", "a2.tif"}, "a<INDEX>.tif");
    EXPECT_THAT(showFiles(series.files), ElementsAre("a1.tif 1", "a2.tif 2", "a3.tif 3"));
    EXPECT_THAT(showGaps(series), IsEmpty());
}

TEST(TiffFileSeriesSelection, HasNumbersOf64Bits) {
    TiffFileSeries const series = selectTiffFiles({"18446744073709551615", "0"}, "<INDEX>");
    EXPECT_THAT(showFiles(series.files), ElementsAre("0 0", "18446744073709551615 18446744073709551615"));
    EXPECT_THAT(showGaps(series), ElementsAre("1 18446744073709551614"));
}

TEST(TiffFileSeriesSelection, WithoutAKeywordHasTheOrderOfThePathsAndNoNumbers) {
    TiffFileSeries const series = selectTiffFiles({"a2.tif", "a10.tif", "b"}, "a*.tif");
    EXPECT_THAT(showFiles(series.files), ElementsAre("a10.tif -", "a2.tif -"));
    EXPECT_THAT(series.duplicates, IsEmpty());
    EXPECT_THAT(series.gaps, IsEmpty());
}

TEST(TiffFileSeriesSelection, MatchesNamesWithTheirFolders) {
    EXPECT_THAT(showFiles(selectTiffFiles({"s/a1.tif", "a2.tif"}, "s/a<INDEX>.tif").files),
                ElementsAre("s/a1.tif 1"));
}

TEST(TiffFileSeriesSelection, NamesTheFileWhoseNumberIsTooLarge) {
    try {
        selectTiffFiles({"a1", "a18446744073709551616"}, "a<INDEX>");
        FAIL() << "nothing was thrown";
    } catch (boost::bad_lexical_cast const& failure) {
        EXPECT_STREQ("the number in \"a18446744073709551616\" is larger than 64 bits", failure.what());
    }
}

TEST(TiffFileSeriesSelection, RejectsAPatternOnlyWithANameToTry) {
    EXPECT_THAT(selectTiffFiles({}, "a<INDEX>|b").files, IsEmpty());
    EXPECT_THAT(
        thrownText<image::file::VELMOImageFileException>([] { selectTiffFiles({"a1"}, "a<INDEX>|b"); }),
        HasSubstr("a<INDEX>|b"));
}

TEST(TiffFilesFound, AreFilesAndLinksOfTheDirectoryItself) {
    TemporaryFolder const folder;
    writeFile(folder / "a2.tif", "");
    boost::filesystem::create_directory(folder / "a1.tif");
    writeFile(folder / "a1.tif/a3.tif", "");
    boost::filesystem::create_symlink("a2.tif", folder / "a4.tif");
    EXPECT_THAT(showFiles(findTiffFiles(folder.getPath(), "a<INDEX>.tif").files),
                ElementsAre((folder / "a2.tif").string() + " 2", (folder / "a4.tif").string() + " 4"));
    EXPECT_THAT(findTiffFiles(folder.getPath(), "z*").files, IsEmpty());
}

TEST(TiffFilesFound, OfAMissingDirectoryAreAnErrorOfTheFileSystem) {
    EXPECT_THROW(findTiffFiles("/no such directory", "*"), boost::filesystem::filesystem_error);
}

} // namespace velmo::test
