// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"

#include <cstdint>
#include <sys/stat.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using testing::ElementsAre;

namespace {

class Convert : public CliTest {
  protected:
    /// A conversion of uint8 pixels to the file "out.raw".
    ToolResult convert(std::string const& input, std::string const& size,
                       Arguments const& further = {}) const {
        return runTool(Arguments{"convert", input, path("out.raw")} + raw(size, "uint8") + further);
    }

    mode_t getMode(std::string const& name) const {
        struct stat state = {};
        EXPECT_EQ(0, stat(path(name).c_str(), &state));
        return state.st_mode & 07777;
    }
};

std::string count(std::size_t nbBytes) {
    std::string bytes(nbBytes, '\0');
    for (std::size_t index = 0; index < nbBytes; ++index) {
        bytes[index] = static_cast<char>(index * 7 + index / 256);
    }
    return bytes;
}

} // namespace

TEST_F(Convert, ThePlanesOfARawFileKeepTheirBytesAndTheirOrder) {
    std::string const bytes = count(5 * 4 * 3 * 2 * 2);
    expectDone(convert(create("in.raw", bytes), "5,4,3,2,2"));
    EXPECT_EQ(bytes, read("out.raw"));
}

TEST_F(Convert, AnImageOfManyPiecesKeepsItsBytes) {
    std::string const bytes = count(3000 * 1000 * 5);
    expectDone(convert(create("in.raw", bytes), "3000,1000,5"));
    EXPECT_TRUE(bytes == read("out.raw"));
}

TEST_F(Convert, TheOffsetAndTheBytesBehindTheLastPlaneStayOut) {
    std::string const input = create("in.raw", "headABCDtail");
    ToolResult const result = convert(input, "2,2", {"--offset", "4"});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("ABCD", read("out.raw"));
    EXPECT_EQ("velmo-image: warning: \"" + input +
                  "\": the file is longer than its geometry: 4 bytes behind the last plane are not read\n",
              result.err);
}

TEST_F(Convert, TheHeaderGoesBeforeThePlanes) {
    std::string const header = std::string("head\0er\n", 8);
    std::string const headerFile = create("header", header);
    expectDone(convert(create("in.raw", "ABCD"), "2,2", {"--header", headerFile}));
    EXPECT_EQ(header + "ABCD", read("out.raw"));
}

TEST_F(Convert, BigEndianValuesOfTwoBytesAreSwapped) {
    std::string const input = create("in.raw", "\x01\x02\x03\x04");
    for (char const* const type : {"uint16", "int16", "label16"}) {
        expectDone(
            runTool(Arguments{"convert", input, path(type), "--byte-order", "big"} + raw("2,1", type)));
        EXPECT_EQ("\x02\x01\x04\x03", read(type)) << type;
    }
}

TEST_F(Convert, BigEndianValuesOfFourBytesAreSwapped) {
    std::string const input = create("in.raw", "\x01\x02\x03\x04\x05\x06\x07\x08");
    for (char const* const type : {"uint32", "int32", "real32", "label32"}) {
        expectDone(
            runTool(Arguments{"convert", input, path(type), "--byte-order", "big"} + raw("1,2", type)));
        EXPECT_EQ("\x04\x03\x02\x01\x08\x07\x06\x05", read(type)) << type;
    }
}

TEST_F(Convert, ValuesOfOneByteAndLittleEndianOnesStayAsTheyAre) {
    std::string const input = create("in.raw", "\x01\x02\x03\x04");
    for (char const* const type : {"uint8", "int8", "binary", "label8"}) {
        expectDone(
            runTool(Arguments{"convert", input, path(type), "--byte-order", "big"} + raw("2,2", type)));
        EXPECT_EQ("\x01\x02\x03\x04", read(type)) << type;
    }
    expectDone(runTool(Arguments{"convert", input, path("little"), "--byte-order", "little"} +
                       raw("2,1", "uint16")));
    EXPECT_EQ("\x01\x02\x03\x04", read("little"));
}

TEST_F(Convert, AnExistingOutputIsRefusedWithoutOverwrite) {
    std::string const input = create("in.raw", "ABCD");
    create("out.raw", "earlier");
    expectFailure(convert(input, "2,2"), 1,
                  '"' + path("out.raw") + "\" exists already; --overwrite replaces it");
    EXPECT_EQ("earlier", read("out.raw"));
    expectDone(convert(input, "2,2", {"--overwrite"}));
    EXPECT_EQ("ABCD", read("out.raw"));
    EXPECT_THAT(list(), ElementsAre("in.raw", "out.raw"));
}

TEST_F(Convert, AFailureLeavesTheEarlierOutputAndNothingElse) {
    std::string const input = create("in.raw", "ABC");
    create("out.raw", "earlier");
    expectFailure(
        convert(input, "2,2", {"--overwrite"}), 1,
        "Error while loading raw image file \"" + input +
            "\"\nInput geometry with total size 4 and starting offset 0 is greater than global file "
            "size 3 for raw image file " +
            input);
    expectFailure(convert(create("in.raw", "ABCD"), "2,2", {"--overwrite", "--header", path("none")}), 1,
                  "cannot read the header \"" + path("none") + "\": No such file or directory");
    EXPECT_EQ("earlier", read("out.raw"));
    EXPECT_THAT(list(), ElementsAre("in.raw", "out.raw"));
}

TEST_F(Convert, AHeaderThatIsADirectoryOrHasNoEndFails) {
    std::string const input = create("in.raw", "ABCD");
    std::string const folder = _folder.getPath().string();
    expectFailure(convert(input, "2,2", {"--header", folder}), 1,
                  "cannot read the header \"" + folder + "\": Is a directory");
    expectFailure(convert(input, "2,2", {"--header", "/dev/zero"}), 1,
                  "the header \"/dev/zero\" is larger than 64 MiB");
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
    ToolResult const result = convert(create("in.raw", "ABCD"), "2,2");
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.err, testing::HasSubstr("Too many levels of symbolic links"));
    EXPECT_THAT(list(), ElementsAre("in.raw", "out.raw"));
}

TEST_F(Convert, ADirectoryIsRefusedAsTheOutput) {
    std::string const input = create("in.raw", "ABCD");
    std::string const folder = _folder.getPath().string();
    expectFailure(runTool(Arguments{"convert", input, folder, "--overwrite"} + raw("2,2", "uint8")), 1,
                  "cannot write \"" + folder + "\": it is a directory");
}

TEST_F(Convert, AnOutputInAFolderThatIsMissingFails) {
    std::string const input = create("in.raw", "ABCD");
    expectFailure(runTool(Arguments{"convert", input, path("no/out.raw")} + raw("2,2", "uint8")), 1,
                  "cannot create \"" + path("no/out.raw") + "\": No such file or directory");
}

TEST_F(Convert, ADeviceIsWrittenTo) {
    std::string const input = create("in.raw", "ABCD");
    expectDone(runTool(Arguments{"convert", input, "/dev/null"} + raw("2,2", "uint8")));
    expectFailure(runTool(Arguments{"convert", input, "/dev/full"} + raw("2,2", "uint8")), 1,
                  "Error while saving raw image file \"/dev/full\"\nFailed to reserve 4 bytes for raw image "
                  "file /dev/full\nNo space left on device");
    struct stat state = {};
    ASSERT_EQ(0, stat("/dev/null", &state));
    EXPECT_TRUE(S_ISCHR(state.st_mode));
}

TEST_F(Convert, APipeIsRefusedWithTheLibrarysWords) {
    std::string const input = create("in.raw", "ABCD");
    ASSERT_EQ(0, mkfifo(path("out.raw").c_str(), 0600));
    expectFailure(convert(input, "2,2"), 1,
                  "Error while saving raw image file \"" + path("out.raw") +
                      "\"\nFailed to create raw image file " + path("out.raw") + "\nIllegal seek");
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
    expectDone(runTool(Arguments{"convert", input, path(name)} + raw("2,2", "uint8")));
    EXPECT_EQ("ABCD", read(name));
}

TEST_F(Convert, AnIm6OutputIsRefused) {
    std::string const input = create("in.raw", "ABCD");
    ToolResult const result = runTool(Arguments{"convert", input, path("out.im6")} + raw("2,2", "uint8"));
    EXPECT_EQ(2, result.status);
    EXPECT_THAT(result.err, testing::HasSubstr("Im6 files are read and not written"));
    for (char const* const format : {"im6", "x"}) {
        expectFailure(convert(input, "2,2", {"--output-format", format}), 2,
                      std::string("--output-format takes one of raw, tiff; not \"") + format + '"');
    }
    EXPECT_THAT(list(), ElementsAre("in.raw"));
    expectDone(runTool(Arguments{"convert", input, path("out.im6"), "--output-format", "raw"} +
                       raw("2,2", "uint8")));
    EXPECT_EQ("ABCD", read("out.im6"));
}

TEST_F(Convert, ANameOfAPictureIsWrongUseUnlessAFormatIsGiven) {
    std::string const input = create("in.raw", "ABCD");
    for (char const* const name :
         {"a.png", "a.JPG", "a.jpeg", "a.bmp", "a.gif", "a.webp", "a.pgm", "a.jp2"}) {
        Arguments const arguments = Arguments{"convert", input, path(name)} + raw("2,2", "uint8");
        expectFailure(runTool(arguments), 2,
                      '"' + path(name) +
                          "\" is the name of a picture, which this command does not write: velmo-image "
                          "preview writes PNG pictures; --output-format raw or tiff writes under any name");
        EXPECT_FALSE(boost::filesystem::exists(path(name)));
        expectDone(runTool(arguments + Arguments{"--output-format", "raw"}));
        EXPECT_EQ("ABCD", read(name));
    }
}

TEST_F(Convert, ANameThatIsOnlyLikeThatOfAPictureIsOneOfRawPlanes) {
    std::string const input = create("in.raw", "ABCD");
    for (char const* const name : {"a.png.raw", "png", "a.pngs"}) {
        expectDone(runTool(Arguments{"convert", input, path(name)} + raw("2,2", "uint8")));
        EXPECT_EQ("ABCD", read(name));
    }
}

} // namespace velmo::test
