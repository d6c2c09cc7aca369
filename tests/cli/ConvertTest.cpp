// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"
#include "Results.h"

#include <sys/stat.h>
#include <tuple>

namespace velmo::test {

namespace fs = boost::filesystem;
using testing::ElementsAre;

namespace {

class Convert : public CliTest {
  protected:
    ToolResult convertTo(std::string const& output, std::string const& input,
                         Arguments const& options = raw("2,2", "uint8")) const {
        return runTool(Arguments{"convert", input, path(output)} + options);
    }

    /// A conversion of uint8 pixels to the file "out.raw".
    ToolResult convert(std::string const& input, std::string const& size,
                       Arguments const& further = {}) const {
        return convertTo("out.raw", input, raw(size, "uint8") + further);
    }

    mode_t getMode(std::string const& name) const {
        struct stat state = {};
        EXPECT_EQ(0, stat(path(name).c_str(), &state));
        return state.st_mode & 07777;
    }
};

} // namespace

TEST_F(Convert, ThePlanesOfARawFileKeepTheirBytesAndTheirOrder) {
    std::string const bytes = countingBytes(5 * 4 * 3 * 2 * 2);
    expectDone(convert(create("in.raw", bytes), "5,4,3,2,2"));
    EXPECT_EQ(bytes, read("out.raw"));
}

TEST_F(Convert, AnImageOfManyPiecesKeepsItsBytes) {
    std::string const bytes = countingBytes(3000 * 1000 * 5);
    expectDone(convert(create("in.raw", bytes), "3000,1000,5"));
    EXPECT_TRUE(bytes == read("out.raw"));
}

TEST_F(Convert, TheOffsetAndTheBytesBehindTheLastPlaneStayOut) {
    std::string const input = create("in.raw", "headABCDtail");
    expectWarning(convert(input, "2,2", {"--offset", "4"}), input, "4 bytes after the last plane");
    EXPECT_EQ("ABCD", read("out.raw"));
}

TEST_F(Convert, TheHeaderGoesBeforeThePlanes) {
    std::string const header = std::string("head\0er\n", 8);
    std::string const headerFile = create("header", header);
    expectDone(convert(create("in.raw", "ABCD"), "2,2", {"--header", headerFile}));
    EXPECT_EQ(header + "ABCD", read("out.raw"));
}

TEST_F(Convert, BigEndianValuesAreSwappedByTheirSize) {
    std::string const input = create("in.raw", "\x01\x02\x03\x04");
    for (auto const& [bytes, size, types] :
         std::vector<std::tuple<std::string, std::string, std::vector<std::string>>>{
             {"\x01\x02\x03\x04", "2,2", {"uint8", "int8", "binary", "label8"}},
             {"\x02\x01\x04\x03", "2,1", {"uint16", "int16", "label16"}},
             {"\x04\x03\x02\x01", "1,1", {"uint32", "int32", "real32", "label32"}}}) {
        for (std::string const& type : types) {
            for (bool const bBig : {true, false}) {
                expectDone(convertTo("out", input,
                                     raw(size, type) +
                                         Arguments{"--overwrite", "--byte-order", bBig ? "big" : "little"}));
                EXPECT_EQ(bBig ? bytes : "\x01\x02\x03\x04", read("out")) << type;
            }
        }
    }
}

TEST_F(Convert, AnExistingOutputIsRefusedWithoutOverwrite) {
    std::string const input = create("in.raw", "ABCD");
    create("out.raw", "earlier");
    expectFailure(convert(input, "2,2"), 1, path("out.raw"), "exists", "--overwrite");
    EXPECT_EQ("earlier", read("out.raw"));
    expectDone(convert(input, "2,2", {"--overwrite"}));
    EXPECT_EQ("ABCD", read("out.raw"));
    EXPECT_THAT(list(), ElementsAre("in.raw", "out.raw"));
}

TEST_F(Convert, AFailureLeavesTheEarlierOutputAndNothingElse) {
    std::string const input = create("in.raw", "ABC");
    create("out.raw", "earlier");
    expectFailure(convert(input, "2,2", {"--overwrite"}), 1, input,
                  "total size 4 and starting offset 0 is greater than global file size 3");
    expectFailure(convert(create("in.raw", "ABCD"), "2,2", {"--overwrite", "--header", path("none")}), 1,
                  "header", path("none"), "No such file or directory");
    EXPECT_EQ("earlier", read("out.raw"));
    EXPECT_THAT(list(), ElementsAre("in.raw", "out.raw"));
}

TEST_F(Convert, AHeaderThatIsADirectoryOrHasNoEndFails) {
    std::string const input = create("in.raw", "ABCD");
    std::string const folder = _folder.getPath().string();
    expectFailure(convert(input, "2,2", {"--header", folder}), 1, folder, "Is a directory");
    expectFailure(convert(input, "2,2", {"--header", "/dev/zero"}), 1, "/dev/zero", "64 MiB");
}

TEST_F(Convert, AFileCanBeReplacedByItsOwnConversion) {
    std::string const file = create("same.raw", "xxABCD");
    expectDone(
        runTool(Arguments{"convert", file, file, "--overwrite", "--offset", "2"} + raw("2,2", "uint8")));
    EXPECT_EQ("ABCD", read("same.raw"));
}

TEST_F(Convert, ALinkStaysAndWhatItNamesIsReplaced) {
    std::string const input = create("in.raw", "ABCD");
    fs::create_directory(_folder / "place");
    create("place/real.raw", "earlier");
    fs::create_symlink("place/real.raw", _folder / "out.raw");
    expectDone(convert(input, "2,2", {"--overwrite"}));
    EXPECT_TRUE(fs::is_symlink(_folder / "out.raw"));
    EXPECT_EQ("ABCD", read("place/real.raw"));
    EXPECT_FALSE(fs::is_symlink(_folder / "place/real.raw"));
}

TEST_F(Convert, ALinkToNothingLeadsToANewFile) {
    fs::create_symlink("new.raw", _folder / "out.raw");
    expectDone(convert(create("in.raw", "ABCD"), "2,2"));
    EXPECT_TRUE(fs::is_symlink(_folder / "out.raw"));
    EXPECT_EQ("ABCD", read("new.raw"));
}

TEST_F(Convert, ALinkThatLeadsInACircleIsRefused) {
    fs::create_symlink("out.raw", _folder / "out.raw");
    expectFailure(convert(create("in.raw", "ABCD"), "2,2"), 1, "Too many levels of symbolic links");
    EXPECT_THAT(list(), ElementsAre("in.raw", "out.raw"));
}

TEST_F(Convert, AnOutputThatIsADirectoryOrInAMissingOneIsRefused) {
    std::string const input = create("in.raw", "ABCD");
    fs::create_directory(_folder / "place");
    expectFailure(convertTo("place", input), 1, path("place"), "is a directory");
    expectFailure(convertTo("no/out.raw", input), 1, path("no/out.raw"), "No such file or directory");
}

TEST_F(Convert, ADeviceIsWrittenTo) {
    std::string const input = create("in.raw", "ABCD");
    expectDone(runTool(Arguments{"convert", input, "/dev/null"} + raw("2,2", "uint8")));
    expectFailure(runTool(Arguments{"convert", input, "/dev/full"} + raw("2,2", "uint8")), 1, "/dev/full",
                  "\nNo space left on device\n");
    struct stat state = {};
    ASSERT_EQ(0, stat("/dev/null", &state));
    EXPECT_TRUE(S_ISCHR(state.st_mode));
}

TEST_F(Convert, ANewFileHasThePermissionsOfTheMask) {
    std::string const input = create("in.raw", "ABCD");
    mode_t const mask = umask(027);
    ToolResult const result = convert(input, "2,2");
    umask(mask);
    expectDone(result);
    EXPECT_EQ(0640U, getMode("out.raw"));
}

TEST_F(Convert, AReplacedFileHandsOnItsPermissionsAlone) {
    std::string const input = create("in.raw", "ABCD");
    create("out.raw", "earlier");
    ASSERT_EQ(0, chmod(path("out.raw").c_str(), 04600));
    expectDone(convert(input, "2,2", {"--overwrite"}));
    EXPECT_EQ(0600U, getMode("out.raw"));
}

TEST_F(Convert, AnOutputNameOfTheGreatestLengthIsWritten) {
    std::string const name(255, 'n');
    std::string const input = create("in.raw", "ABCD");
    expectDone(convertTo(name, input));
    EXPECT_EQ("ABCD", read(name));
}

TEST_F(Convert, ANameOfIm6OrOfAPictureIsWrongUseUnlessAFormatIsGiven) {
    std::string const input = create("in.raw", "ABCD");
    for (char const* const name :
         {"a.im6", "a.png", "a.JPG", "a.jpeg", "a.bmp", "a.gif", "a.webp", "a.pgm", "a.jp2"}) {
        expectFailure(convertTo(name, input), 2, path(name), name == std::string("a.im6") ? "Im6" : "picture",
                      "--output-format raw or tiff");
        EXPECT_FALSE(exists(name));
        expectDone(convertTo(name, input, raw("2,2", "uint8") + Arguments{"--output-format", "raw"}));
        EXPECT_EQ("ABCD", read(name));
    }
    for (char const* const format : {"im6", "x"}) {
        expectFailure(convert(input, "2,2", {"--output-format", format}), 2, "--output-format", "raw, tiff",
                      '"' + std::string(format) + '"');
    }
}

TEST_F(Convert, ANameThatIsOnlyLikeThatOfAPictureIsOneOfRawPlanes) {
    std::string const input = create("in.raw", "ABCD");
    for (char const* const name : {"a.png.raw", "png", "a.pngs"}) {
        expectDone(convertTo(name, input));
        EXPECT_EQ("ABCD", read(name));
    }
}

} // namespace velmo::test
