// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PrivateDisk.h"
#include "SeriesFixture.h"

#include <boost/algorithm/string/join.hpp>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace velmo::test {

using testing::ElementsAre;

namespace {

namespace fs = boost::filesystem;

class Split : public SeriesFixture {
  protected:
    void SetUp() override {
        SeriesFixture::SetUp();
        put("in.tif", "abcdefghijklmnopqr");
    }

    Arguments split(std::string const& folder, std::string const& pattern,
                    Arguments const& options = {}) const {
        return Arguments{"split", path("s/in.tif"), path(folder), pattern} + options;
    }

    /// The names in a folder, sorted.
    std::vector<std::string> listIn(std::string const& folder) const {
        std::vector<std::string> names;
        for (auto const& entry : fs::directory_iterator(_folder / folder)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    std::string pixelsOf(std::string const& name) const { return readTiff(path(name)).at(0).pixels; }
};

} // namespace

TEST_F(Split, WritesAFileForEachPlaneThatStackJoins) {
    saveVolume(_folder / "in.tif", 12, "scanner");
    expectDone(runTool({"split", path("in.tif"), path("p"), "z<INDEX>.tif"}));
    EXPECT_EQ(12U, listIn("p").size());
    EXPECT_TRUE(exists("p/z00.tif"));
    EXPECT_TRUE(exists("p/z11.tif"));
    EXPECT_FALSE(describe("p/z05.tif").at("isVolume"));
    expectDone(runTool({"stack", path("p"), "z<INDEX>.tif", path("out.tif"), "--strict"}));
    nlohmann::json entry = describe("out.tif");
    entry["file"] = path("in.tif");
    EXPECT_EQ(describe("in.tif"), entry);
    expectDone(runTool({"convert", path("in.tif"), path("in.raw")}));
    expectDone(runTool({"convert", path("out.tif"), path("out.raw")}));
    EXPECT_EQ(read("in.raw"), read("out.raw"));
}

TEST_F(Split, WritesTimeStepsWithTheirPlanesAndTypes) {
    put("t1.tif", "abcdefghijkl");
    TiffPage wide = page("aAbBcCdDeEfF");
    wide.bits = 16;
    writeTiff(_folder / "s" / "t2.tif", {wide, wide});
    expectDone(runTool({"stack", path("s"), "t<INDEX>.tif", path("film.tif"), "--along", "t"}));
    expectFailure(runTool({"split", path("film.tif"), path("p"), "z<INDEX>.tif"}), 1, path("film.tif"),
                  "2 time steps", "--along t");
    EXPECT_FALSE(exists("p"));
    expectDone(runTool({"split", path("film.tif"), path("p"), "t<INDEX>.tif", "--along", "t"}));
    EXPECT_THAT(listIn("p"), ElementsAre("t0.tif", "t1.tif"));
    EXPECT_EQ("ghijkl", readTiff(path("p/t0.tif")).at(1).pixels);
    EXPECT_EQ("aAbBcCdDeEfF", pixelsOf("p/t1.tif"));
    EXPECT_EQ(2, describe("p/t1.tif").at("sizeZ"));
}

TEST_F(Split, NamesHaveAsManyDigitsAsAskedFor) {
    expectDone(runTool(split("p", "a<INDEX>b.TIFF", {"--digits", "3"})));
    EXPECT_THAT(listIn("p"), ElementsAre("a000b.TIFF", "a001b.TIFF", "a002b.TIFF"));
    EXPECT_EQ("mnopqr", pixelsOf("p/a002b.TIFF"));
}

TEST_F(Split, WritesAPartInAnotherType) {
    expectDone(
        runTool(split("p", "<INDEX>.tif", {"--z", "1:", "--to-type", "uint16", "--region", "1,0,1,1"})));
    EXPECT_THAT(listIn("p"), ElementsAre("0.tif", "1.tif"));
    EXPECT_EQ(std::string("h\0", 2), pixelsOf("p/0.tif"));
}

TEST_F(Split, OptionsOfTheFilesHoldForEach) {
    saveVolume(_folder / "in.tif", 2, "");
    expectDone(runTool({"split", path("in.tif"), path("p"), "<INDEX>.tif", "--compression", "deflate",
                        "--calibration-tags", "--threads", "2", "--quiet"}));
    for (char const* const name : {"p/0.tif", "p/1.tif"}) {
        EXPECT_EQ(COMPRESSION_DEFLATE, readTiff(path(name)).at(0).compression);
        EXPECT_EQ(std::vector<PageResolution>(1, {200000.0F / 13, 20000, RESUNIT_CENTIMETER}),
                  readResolutions(_folder / name));
    }
}

TEST_F(Split, AWarningOfTheCalibrationComesOnce) {
    expectWarning(runTool(split("p", "<INDEX>.tif", {"--calibration-tags"})), path("p"), "no calibration");
}

TEST_F(Split, ExistingFilesAreNotReplacedBeforeAllAreChecked) {
    fs::create_directory(_folder / "p");
    create("p/z2.tif", "earlier");
    expectFailure(runTool(split("p", "z<INDEX>.tif")), 1, path("p/z2.tif"), "already exists", "--overwrite");
    EXPECT_THAT(listIn("p"), ElementsAre("z2.tif"));
    EXPECT_EQ("earlier", read("p/z2.tif"));
    expectDone(runTool(split("p", "z<INDEX>.tif", {"--overwrite"})));
    EXPECT_EQ("mnopqr", pixelsOf("p/z2.tif"));
}

TEST_F(Split, FilesThatStackWouldReadAsWellAreWarnedOf) {
    fs::create_directory(_folder / "p");
    create("p/z3.tif", "");
    create("p/y3.tif", "");
    expectWarning(runTool(split("p", "z<INDEX>.tif")), "\"z3.tif\"", "stack");
}

TEST_F(Split, TheInputIsNoneOfTheFiles) {
    put("a1.tif", "abcdefghijkl");
    std::string const bytes = read("s/a1.tif");
    fs::create_symlink("a1.tif", _folder / "s/b0.tif");
    for (char const* const pattern : {"a<INDEX>.tif", "b<INDEX>.tif"}) {
        expectFailure(runTool({"split", path("s/a1.tif"), path("s"), pattern, "--overwrite"}), 1,
                      "it is the input");
    }
    EXPECT_EQ(bytes, read("s/a1.tif"));
    EXPECT_FALSE(exists("s/a0.tif"));
}

TEST_F(Split, OddNamesAreNames) {
    for (char const* const name : {"two words", "-dash", "\xc3\xbc\xce\xb1", "new\nline", "%d"}) {
        std::string const folder = name;
        ToolResult const result =
            runTool({"split", "--", "in.tif", "../" + folder, folder + "<INDEX>.tif"}, path("s"));
        expectDone(result);
        EXPECT_EQ("ghijkl", pixelsOf((fs::path(folder) / (folder + "1.tif")).string()));
    }
    expectDone(runTool({"split", "s/in.tif", "p/", "z<INDEX>.tif"}, _folder.getPath().string()));
    expectDone(runTool({"split", "in.tif", ".", "z<INDEX>.tif"}, path("s")));
    EXPECT_EQ("ghijkl", pixelsOf("s/z1.tif"));
}

TEST_F(Split, AFolderThatCannotBeIsAFailure) {
    create("file", "earlier");
    expectFailure(runTool(split("file", "z<INDEX>.tif")), 1, path("file"), "Not a directory");
    expectFailure(runTool(split("no/folder", "z<INDEX>.tif")), 1, path("no/folder"), "No such file");
    EXPECT_EQ("earlier", read("file"));
}

TEST_F(Split, ADamagedPlaneLeavesNothing) {
    std::string const bytes = read("s/in.tif");
    put("whole.tif", "abcdefghijklmnopqr");
    // The last directory has no pixels.
    TiffPage last = page("mnopqr");
    last.compression = COMPRESSION_ADOBE_DEFLATE;
    writeTiff(_folder / "in.tif", {page("abcdef"), last});
    std::string damaged = read("in.tif");
    std::size_t const place = damaged.find("\x78\x9c");
    ASSERT_NE(std::string::npos, place);
    damaged.replace(place, 4, "XXXX");
    create("in.tif", damaged);
    expectFailure(runTool({"split", path("in.tif"), path("p"), "z<INDEX>.tif"}), 1, path("in.tif"));
    EXPECT_FALSE(exists("p"));
    fs::create_directory(_folder / "p");
    EXPECT_EQ(1, runTool({"split", path("in.tif"), path("p"), "z<INDEX>.tif"}).status);
    EXPECT_THAT(listIn("p"), ElementsAre());
}

TEST_F(Split, TooFewDescriptorsAreAFailureBeforeAnythingIsWritten) {
    create("in.raw", std::string(200, 'x'));
    Arguments const line =
        Arguments{"split", path("in.raw"), path("p"), "z<INDEX>.tif"} + raw("1,1,200", "uint8");
    std::string const outcome = withLimit(RLIMIT_NOFILE, 100, [&] {
        ToolResult const result = runTool(line);
        return std::to_string(result.status) + result.err;
    });
    EXPECT_THAT(outcome, testing::StartsWith("1velmo-image: "));
    EXPECT_THAT(outcome, hasWords("200 files", "ulimit -n"));
    EXPECT_FALSE(exists("p"));
    expectDone(runTool(line));
    EXPECT_EQ(200U, listIn("p").size());
}

TEST_F(Split, OnAFullDiskLeavesNothing) {
    create("in.raw", std::string(std::size_t{400} << 10, 'x'));
    for (std::size_t const nbBytesLeft : {std::size_t{0}, std::size_t{4096}, std::size_t{100} << 10}) {
        fs::path const disk = _folder / "disk";
        std::string const outcome = onPrivateDisk(disk, std::size_t{256} << 10, [&] {
            fillDisk(disk / "filler", nbBytesLeft);
            ToolResult const result =
                runTool(Arguments{"split", path("in.raw"), (disk / "p").string(), "z<INDEX>.tif"} +
                        raw("64,64,100", "uint8"));
            std::vector<std::string> names;
            for (fs::directory_entry const& entry : fs::directory_iterator(disk)) {
                names.push_back(entry.path().filename().string());
            }
            bool const bNamed = result.err.find("No space left on device\n") != std::string::npos;
            return std::to_string(result.status) +
                   (bNamed ? " for want of room, left: " : ": " + result.err) +
                   boost::algorithm::join(names, " ");
        });
        if (outcome == g_noMount) {
            GTEST_SKIP() << "this process cannot mount a disk";
        }
        EXPECT_EQ("1 for want of room, left: filler", outcome) << nbBytesLeft;
    }
}

} // namespace velmo::test
