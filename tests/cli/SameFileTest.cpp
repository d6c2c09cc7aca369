// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ResampleFixture.h"

namespace velmo::test {

namespace fs = boost::filesystem;
using testing::HasSubstr;

namespace {

/// Files that a command reads and writes at once.
class SameFile : public Resample {
  protected:
    Arguments convert(std::string const& output, std::string const& headerFile) const {
        return Arguments{"convert", path("in.raw"), output, "--header", headerFile, "--overwrite"} +
               raw("2,2", "uint8");
    }

    Arguments stack(std::string const& output, Arguments const& options = {}) const {
        return Arguments{"stack", path("s"), "a<INDEX>.tif", output} + options;
    }

    /// What `stack` says behind the warning of the gap.
    std::string warnOf(std::string const& output) const {
        ToolResult const result = runTool(stack(output));
        EXPECT_EQ(0, result.status) << result.err;
        std::string const gap = "velmo-image: warning: missing 4-9\n";
        EXPECT_EQ(0U, result.err.find(gap)) << result.err;
        return result.err.substr(gap.size());
    }
};

} // namespace

TEST_F(SameFile, AHeaderThatIsTheOutputIsWrongUseByWhateverPath) {
    create("in.raw", "ABCD");
    std::string const header = create("head", "head");
    link("head", "link");
    fs::create_hard_link(_folder / "head", _folder / "twin");
    for (std::string const& other : {header, path("link"), path("twin"), path("s/../head")}) {
        expectFailure(runTool(convert(header, other)), 2, "--header \"" + other + '"', "is the output");
        EXPECT_EQ("head", read("head"));
    }
    expectFailure(runTool(stack(header, {"--header", path("link"), "--overwrite"})), 2,
                  "--header \"" + path("link") + '"', "is the output");
    EXPECT_EQ("head", read("head"));
}

TEST_F(SameFile, AHeaderThatIsTheInputIsWrongUse) {
    create("in.raw", "ABCD");
    link("in.raw", "link");
    for (char const* const name : {"in.raw", "link", "s/../in.raw"}) {
        expectFailure(runTool(convert(path("out.raw"), path(name))), 2, "--header", path(name),
                      "is the input");
    }
    EXPECT_FALSE(exists("out.raw"));
}

TEST_F(SameFile, AHeaderAmongTheFilesOfASeriesIsWrongUse) {
    link("s/a3.tif", "link");

    for (char const* const name : {"s/a3.tif", "link"}) {
        for (Arguments const& arguments :
             {stack(path("out.raw"), {"--header", path(name)}), resample({"--header", path(name)})}) {
            expectFailure(runTool(arguments), 2, "--header", path(name), "input file \"a3.tif\"");
        }
    }
    EXPECT_FALSE(exists("out.raw"));
}

TEST_F(SameFile, TheFileOfStepsIsNeitherOutputNorHeader) {
    link("steps.txt", "link");
    for (char const* const name : {"steps.txt", "link"}) {
        for (Arguments const& options : {Arguments{}, Arguments{"--overwrite"}}) {
            Arguments arguments = resample({"--output-format", "raw"}) + options;
            arguments[4] = path(name);
            expectFailure(runTool(arguments), 1, "cannot write", path(name), "z-steps");
        }
        expectFailure(runTool(resample({"--header", path(name)})), 2, "--header", path(name), "z-steps");
    }
    EXPECT_EQ("1\n3\n", read("steps.txt"));
}

TEST_F(SameFile, AnotherFileOfTheSameBytesIsAHeader) {
    create("in.raw", "ABCD");
    expectDone(runTool(convert(path("out.raw"), create("copy.raw", "ABCD"))));
    EXPECT_EQ("ABCDABCD", read("out.raw"));
}

TEST_F(SameFile, AnOutputThatALaterRunWouldReadIsToldOf) {
    link("s", "folder");
    link("s/a14.tif", "dangling.tif");
    for (char const* const name : {"s/a11.tif", "s/../s/a12.tif", "folder/a13.tif", "dangling.tif"}) {
        EXPECT_THAT(warnOf(path(name)), isMessage("warning", path(name), "a later run"));
    }
    EXPECT_TRUE(fs::exists(path("s/a14.tif")));
    Arguments arguments = resample();
    arguments[4] = path("s/a15.tif");
    create("steps.txt", "1\n1\n1\n1\n1\n1\n");
    EXPECT_THAT(runTool(arguments).err, HasSubstr("a later run"));
}

TEST_F(SameFile, AnOutputThatNoLaterRunWouldReadIsNotToldOf) {
    fs::create_directory(_folder / "t");
    for (char const* const name : {"s/b11.tif", "t/a11.tif", "a11.tif", "s/a.tif"}) {
        EXPECT_EQ("", warnOf(path(name))) << name;
    }
}

TEST_F(SameFile, AnOutputBesideTheFilesIsToldOfInTheCurrentFolder) {
    ToolResult const result = runTool({"stack", ".", "a<INDEX>.tif", "a11.tif"}, path("s"));
    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.err, hasWords("\"a11.tif\"", "a later run"));
}

TEST_F(SameFile, AnOutputWhoseNumberNoLaterRunCouldReadIsRefused) {
    ToolResult const result = runTool(stack(path("s/a18446744073709551616.tif")));
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.err, hasWords("\"a18446744073709551616.tif\"", "64 bits"));
    EXPECT_FALSE(exists("s/a18446744073709551616.tif"));
}

TEST_F(SameFile, TheSecondRunIsRefusedAsItsOutputIsAnInput) {
    warnOf(path("s/a11.tif"));
    std::string const bytes = read("s/a11.tif");
    expectFailure(runTool(stack(path("s/a11.tif"), {"--overwrite"})), 1, "input file \"a11.tif\"");
    EXPECT_EQ(bytes, read("s/a11.tif"));
}

} // namespace velmo::test
