// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"

#include <nlohmann/json.hpp>

namespace velmo::test {

using nlohmann::json;
using testing::HasSubstr;

namespace {

class Info : public CliTest {
  protected:
    /// The entries of a run of `info --json`.
    static json getFiles(ToolResult const& result) {
        json const document = json::parse(result.out);
        EXPECT_EQ(1, document.at("schema"));
        EXPECT_EQ(2U, document.size());
        return document.at("files");
    }

    /// The entry of an input that holds enough bytes for it.
    json describe(std::string const& size, std::string const& type) const {
        std::string const input = create("in.raw", std::string(4096, 'x'));
        ToolResult const result = runTool(Arguments{"info", "--json", input} + raw(size, type));
        expectDone(result);
        return getFiles(result).at(0);
    }
};

struct TypeName {
    char const* word;
    char const* enumerator;
    int nbBytes;
};

std::vector<std::string> const g_keys = {"file",
                                         "format",
                                         "sizeX",
                                         "sizeY",
                                         "sizeZ",
                                         "sizeC",
                                         "sizeT",
                                         "bufferType",
                                         "colorGeometry",
                                         "volumeGeometry",
                                         "temporalGeometry",
                                         "minIsBlack",
                                         "calibration",
                                         "userProperties",
                                         "bytes",
                                         "warnings",
                                         "error"};

std::vector<std::string> getKeys(json const& entry) {
    std::vector<std::string> keys;
    for (auto const& item : entry.items()) {
        keys.push_back(item.key());
    }
    return keys;
}

} // namespace

TEST_F(Info, TheJsonEntryHasTheGeometryUnderItsKeys) {
    json const entry = describe("2,3,4,3,5", "uint16");
    EXPECT_THAT(getKeys(entry), testing::UnorderedElementsAreArray(g_keys));
    json const expected = {{"file", path("in.raw")},
                           {"format", "raw"},
                           {"sizeX", 2},
                           {"sizeY", 3},
                           {"sizeZ", 4},
                           {"sizeC", 3},
                           {"sizeT", 5},
                           {"bufferType", "eIBT_UInt16"},
                           {"colorGeometry", "eCGT_Rgb"},
                           {"volumeGeometry", "eVGT_3d"},
                           {"temporalGeometry", "eTGT_Sequence"},
                           {"minIsBlack", true},
                           {"calibration", nullptr},
                           {"userProperties", ""},
                           {"bytes", 720},
                           {"warnings", json::array()},
                           {"error", nullptr}};
    EXPECT_EQ(expected, entry);
}

TEST_F(Info, EachTypeIsKnownByItsWord) {
    for (TypeName const& type : {TypeName{"uint8", "eIBT_UInt8", 1},
                                 {"int8", "eIBT_Int8", 1},
                                 {"uint16", "eIBT_UInt16", 2},
                                 {"int16", "eIBT_Int16", 2},
                                 {"uint32", "eIBT_UInt32", 4},
                                 {"int32", "eIBT_Int32", 4},
                                 {"real32", "eIBT_Real32", 4},
                                 {"binary", "eIBT_Binary", 1},
                                 {"label8", "eIBT_Label8", 1},
                                 {"label16", "eIBT_Label16", 2},
                                 {"label32", "eIBT_Label32", 4}}) {
        json const entry = describe("10,10", type.word);
        EXPECT_EQ(type.enumerator, entry.at("bufferType")) << type.word;
        EXPECT_EQ(100 * type.nbBytes, entry.at("bytes")) << type.word;
    }
}

TEST_F(Info, TheNumberOfChannelsSaysWhatTheyAre) {
    EXPECT_EQ("eCGT_Grey", describe("2,2,1,1", "uint8").at("colorGeometry"));
    EXPECT_EQ("eCGT_User", describe("2,2,1,2", "uint8").at("colorGeometry"));
    EXPECT_EQ("eCGT_Rgb", describe("2,2,1,3", "uint8").at("colorGeometry"));
    EXPECT_EQ("eCGT_Rgba", describe("2,2,1,4", "uint8").at("colorGeometry"));
    json const many = describe("2,2,1,7", "uint8");
    EXPECT_EQ("eCGT_User", many.at("colorGeometry"));
    EXPECT_EQ(7, many.at("sizeC"));
}

TEST_F(Info, AVolumeIsOneWhoseZIsGivenAndASequenceHasMoreThanOneStep) {
    EXPECT_EQ("eVGT_2d", describe("2,2", "uint8").at("volumeGeometry"));
    EXPECT_EQ("eVGT_3d", describe("2,2,1", "uint8").at("volumeGeometry"));
    EXPECT_EQ("eTGT_Single", describe("2,2,1,1,1", "uint8").at("temporalGeometry"));
    EXPECT_EQ("eTGT_Sequence", describe("2,2,1,1,2", "uint8").at("temporalGeometry"));
}

TEST_F(Info, AFileThatFailsHasItsEntryAndTheOthersAreTold) {
    std::string const missing = path("missing.raw");
    std::string const good = create("good.raw", "xxxx");
    ToolResult const result = runTool(Arguments{"info", "--json", missing, good} + raw("2,2", "uint8"));
    std::string const error = "cannot read \"" + missing + "\": No such file or directory";
    expectFailure(result, 1, error);
    json const files = getFiles(result);
    ASSERT_EQ(2U, files.size());
    EXPECT_THAT(getKeys(files[0]), testing::UnorderedElementsAreArray(g_keys));
    EXPECT_EQ(missing, files[0].at("file"));
    EXPECT_EQ(error, files[0].at("error"));
    EXPECT_TRUE(files[0].at("sizeX").is_null());
    EXPECT_EQ(good, files[1].at("file"));
    EXPECT_TRUE(files[1].at("error").is_null());
}

TEST_F(Info, AFileThatIsTooShortFailsWithTheLibrarysWords) {
    std::string const input = create("short.raw", "xxx");
    expectFailure(
        runTool(Arguments{"info", input, "--offset", "1"} + raw("2,2", "uint8")), 1,
        "Error while loading raw image file \"" + input +
            "\"\nInput geometry with total size 4 and starting offset 1 is greater than global file "
            "size 3 for raw image file " +
            input);
}

TEST_F(Info, AGeometryBeyond64BitsFailsForItsFile) {
    std::string const input = create("in.raw", "xxx");
    ToolResult const result =
        runTool(Arguments{"info", "--json", input} + raw("18446744073709551615,2", "uint8"));
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(getFiles(result).at(0).at("error").get<std::string>(),
                HasSubstr("more bytes than 64 bits can count"));
}

TEST_F(Info, ANameThatIsNotUtf8DoesNotSpoilTheDocument) {
    std::string const input = create("odd\xff.raw", "x");
    ToolResult const result =
        runTool(Arguments{"info", "--json", input, path("none\xfe")} + raw("1,1", "uint8"));
    EXPECT_EQ(1, result.status);
    json const files = getFiles(result);
    EXPECT_EQ(path("odd\xEF\xBF\xBD.raw"), files[0].at("file"));
    EXPECT_EQ(path("none\xEF\xBF\xBD"), files[1].at("file"));
}

TEST_F(Info, ACheckWarnsOfBytesBehindTheLastPlane) {
    std::string const input = create("long.raw", std::string(20, 'x'));
    Arguments const arguments = Arguments{"info", "--json", input, "--offset", "5"} + raw("2,2", "uint16");
    ToolResult const checked = runTool(arguments + Arguments{"--check"});
    expectDone(checked);
    EXPECT_EQ(
        json::array({"the file is longer than its geometry: 7 bytes behind the last plane are not read"}),
        getFiles(checked).at(0).at("warnings"));
    EXPECT_EQ(json::array(), getFiles(runTool(arguments)).at(0).at("warnings"));
}

TEST_F(Info, ACheckIsSilentOnAFileOfTheRightLength) {
    std::string const input = create("exact.raw", std::string(13, 'x'));
    ToolResult const result =
        runTool(Arguments{"info", "--json", "--check", input, "--offset", "5"} + raw("2,2", "uint16"));
    EXPECT_EQ(json::array(), getFiles(result).at(0).at("warnings"));
}

TEST_F(Info, TheTextIsABlockOfLinesForEachFile) {
    std::string const first = create("a.raw", "123456789");
    std::string const second = create("b.raw", "12345678");
    ToolResult const result = runTool(Arguments{"info", "--check", first, second} + raw("2,2,2", "uint8"));
    expectDone(result);
    auto const block = [](std::string const& file) {
        return file + "\n  format      raw\n  size        X 2, Y 2, Z 2, C 1, T 1\n  pixels      eIBT_UInt8\n"
                      "  colour      eCGT_Grey, the least value is black\n  volume      eVGT_3d\n"
                      "  time        eTGT_Single\n  bytes       8\n";
    };
    EXPECT_EQ(block(first) +
                  "  warning     the file is longer than its geometry: 1 bytes behind the last plane are not "
                  "read\n" +
                  block(second),
              result.out);
}

TEST_F(Info, AFileNamedLikeACommandIsAFile) {
    create("info", "x");
    expectDone(runTool(Arguments{"info", "info"} + raw("1,1", "uint8"), _folder.getPath().string()));
}

} // namespace velmo::test
