// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "DamagedTiff.h"
#include "InfoEntries.h"

namespace velmo::test {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

/// A file that does not hold what it announces, and what every command says of it.
struct Damage {
    char const* name;
    void (*write)(boost::filesystem::path const& path);
    unsigned int nbChannels;
    std::string reason;
};

namespace {

namespace fs = boost::filesystem;

/// The file is the second one of a folder "s"; the first one is sound.
class DamagedTiff : public CliTest, public testing::WithParamInterface<Damage> {
  protected:
    DamagedTiff() {
        fs::create_directory(_folder / "s");
        writePixelsLast(_folder / "s/a1.tif", 2, GetParam().nbChannels);
        GetParam().write(_folder / "s/a2.tif");
    }

    /// A run that fails with the reason and leaves no output.
    void expectFailureOf(Arguments const& arguments) const {
        std::vector<std::string> const names = list();
        ToolResult const result = runTool(arguments);
        expectFailure(result, 1, GetParam().reason);
        EXPECT_THAT(result.err, HasSubstr(_damaged));
        EXPECT_EQ(names, list());
    }

    std::string const _damaged = path("s/a2.tif");
};

} // namespace

TEST_P(DamagedTiff, TheCheckFailsAndItsDocumentHasTheReason) {
    ToolResult const result = runTool({"info", "--json", "--check", path("s/a1.tif"), _damaged});
    EXPECT_EQ(1, result.status);
    json const files = getEntries(result);
    EXPECT_EQ(json(nullptr), files.at(0).at("error"));
    ASSERT_TRUE(files.at(1).at("error").is_string());
    std::string const error = files.at(1).at("error");
    EXPECT_THAT(error, HasSubstr(GetParam().reason));
    EXPECT_EQ("velmo-image: " + error + '\n', result.err);
}

TEST_P(DamagedTiff, TheCheckFailsWithoutADocumentToo) {
    expectFailureOf({"info", "--check", _damaged});
}

TEST_P(DamagedTiff, ConversionFails) {
    expectFailureOf({"convert", _damaged, path("out.raw")});
    expectFailureOf({"convert", _damaged, path("out.tif"), "--directories", "t"});
}

TEST_P(DamagedTiff, PreviewOfAllPlanesFails) {
    expectFailureOf({"preview", _damaged, path("out.png"), "--montage"});
}

TEST_P(DamagedTiff, MeasuringFails) {
    expectFailureOf({"stats", _damaged});
    expectFailureOf({"compare", _damaged, _damaged});
    expectFailureOf({"project", _damaged, path("out.raw"), "--along", "z", "--by", "max"});
}

TEST_P(DamagedTiff, StackingFails) {
    for (char const* const axis : {"z", "t"}) {
        expectFailureOf({"stack", path("s"), "a<INDEX>.tif", path("out.raw"), "--along", axis});
        expectFailureOf({"stack", path("s"), "a2.tif", path("out.raw"), "--along", axis});
    }
}

TEST_P(DamagedTiff, ResamplingFails) {
    create("steps.txt", "1\n2\n1\n");
    expectFailureOf(
        {"resample", path("s"), "a<INDEX>.tif", path("steps.txt"), path("out.raw"), "--size-z", "5"});
    create("steps.txt", "2\n");
    expectFailureOf({"resample", path("s"), "a2.tif", path("steps.txt"), path("out.raw"), "--size-z", "5"});
}

INSTANTIATE_TEST_SUITE_P(
    Files, DamagedTiff,
    testing::Values(Damage{"CutGrey", [](auto const& path) { writeCutPixels(path, 1); }, 1,
                           "Failed to read data of strip 0"},
                    Damage{"CutColours", [](auto const& path) { writeCutPixels(path, 3); }, 3,
                           "Failed to read data of strip 0"},
                    Damage{"CutColoursWithAlpha", [](auto const& path) { writeCutPixels(path, 4); }, 4,
                           "Failed to read data of strip 0"},
                    Damage{"BrokenChain", writeBrokenChain, 1, "breaks off behind directory 0"},
                    Damage{"CutChain", writeCutChain, 1, "breaks off behind directory 1"},
                    Damage{"ChainInACircle", writeChainInACircle, 1, "breaks off behind directory 1"},
                    Damage{"ShortStack", writeShortStack, 1, "announces 5 planes"},
                    Damage{"CompressedStack", writeCompressedStack, 1, "announces 2 planes"}),
    getName<Damage>);

class DamageReport : public CliTest {};

TEST_F(DamageReport, NamesThePlanesThatCannotBeRead) {
    writePixelsLast(_folder / "in.tif", 3, 3);
    fs::resize_file(_folder / "in.tif", fs::file_size(_folder / "in.tif") - 1801);
    ToolResult const result = runTool({"info", "--check", path("in.tif")});
    EXPECT_THAT(result.out, HasSubstr("size        X 30, Y 20, Z 3, C 3, T 1\n"));
    expectFailure(result, 1, '"' + path("in.tif") + '"', "9 planes", "6 cannot be read",
                  "plane z=1 c=0 t=0, plane z=2 c=0 t=0, plane z=1 c=1 t=0", "plane z=2 c=2 t=0",
                  "strip 0 for directory z=1, c=0, t=0", "\nTiff Error : ");
}

TEST_F(DamageReport, NamesTenPlanesAtMost) {
    writePixelsLast(_folder / "in.tif", 12, 1);
    fs::resize_file(_folder / "in.tif", fs::file_size(_folder / "in.tif") - 12 * 600);
    expectFailure(runTool({"info", "--check", path("in.tif")}), 1, "12 cannot be read: plane z=0 c=0 t=0, ",
                  ", plane z=9 c=0 t=0 and 2 more");
}

} // namespace velmo::test
