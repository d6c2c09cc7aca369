// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "InfoEntries.h"

#include <array>

namespace velmo::test {

using nlohmann::json;
using testing::HasSubstr;

namespace {

class Info : public CliTest {
  protected:
    /// The entry of an input that holds enough bytes for it.
    json describe(std::string const& size, std::string const& type) const {
        std::string const input = create("in.raw", std::string(4096, 'x'));
        return test::describe(Arguments{input} + raw(size, type));
    }
};

std::vector<std::string> const g_keys = {
    "file",       "format",     "sizeX",       "sizeY",          "sizeZ", "sizeC",    "sizeT",
    "pixelType",  "dtype",      "shape",       "axes",           "type",  "color",    "isVolume",
    "isSequence", "minIsBlack", "calibration", "userProperties", "bytes", "warnings", "error"};

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
                           {"pixelType", "uint16"},
                           {"dtype", "uint16"},
                           {"shape", {5, 3, 4, 3, 2}},
                           {"axes", "TCZYX"},
                           {"type", "number"},
                           {"color", "rgb"},
                           {"isVolume", true},
                           {"isSequence", true},
                           {"minIsBlack", true},
                           {"calibration", nullptr},
                           {"userProperties", ""},
                           {"bytes", 720},
                           {"warnings", json::array()},
                           {"error", nullptr}};
    EXPECT_EQ(expected, entry);
}

TEST_F(Info, EachTypeHasTheNameThatTheOptionTakes) {
    for (auto const& [nbBytes, types] : std::vector<std::pair<int, std::vector<std::string>>>{
             {1, {"uint8", "int8", "binary", "label8"}},
             {2, {"uint16", "int16", "label16"}},
             {4, {"uint32", "int32", "real32", "label32"}}}) {
        for (std::string const& type : types) {
            json const entry = describe("10,10", type);
            EXPECT_EQ(type, entry.at("pixelType"));
            EXPECT_EQ(100 * nbBytes, entry.at("bytes")) << type;
        }
    }
}

TEST_F(Info, TheTypeOfNumpyHasTheByteOrderOfTheFileWhereItIsAnother) {
    std::string const input = create("in.raw", std::string(4096, 'x'));
    bool const bBig = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
    for (auto const& [type, name, code, kind] :
         std::vector<std::array<std::string, 4>>{{"uint8", "uint8", "", "number"},
                                                 {"binary", "uint8", "", "mask"},
                                                 {"label8", "uint8", "", "label"},
                                                 {"int16", "int16", "i2", "number"},
                                                 {"label16", "uint16", "u2", "label"},
                                                 {"uint32", "uint32", "u4", "number"},
                                                 {"real32", "float32", "f4", "number"}}) {
        for (char const* const order : {"little", "big"}) {
            bool const bOther = bBig != (order == std::string("big")) && !code.empty();
            json const entry = test::describe(Arguments{input, "--byte-order", order} + raw("9,9", type));
            EXPECT_EQ(bOther ? (bBig ? "<" : ">") + code : name, entry.at("dtype")) << type << ' ' << order;
            EXPECT_EQ(kind, entry.at("type"));
        }
    }
}

TEST_F(Info, TheNumberOfChannelsSaysWhatTheyAre) {
    EXPECT_EQ("grey", describe("2,2,1,1", "uint8").at("color"));
    EXPECT_EQ("user", describe("2,2,1,2", "uint8").at("color"));
    EXPECT_EQ("rgb", describe("2,2,1,3", "uint8").at("color"));
    EXPECT_EQ("rgba", describe("2,2,1,4", "uint8").at("color"));
    json const many = describe("2,2,1,7", "uint8");
    EXPECT_EQ("user", many.at("color"));
    EXPECT_EQ(7, many.at("sizeC"));
}

TEST_F(Info, AVolumeIsOneWhoseZIsGivenAndASequenceHasMoreThanOneStep) {
    EXPECT_EQ(false, describe("2,2", "uint8").at("isVolume"));
    EXPECT_EQ(true, describe("2,2,1", "uint8").at("isVolume"));
    EXPECT_EQ(false, describe("2,2,1,1,1", "uint8").at("isSequence"));
    EXPECT_EQ(true, describe("2,2,1,1,2", "uint8").at("isSequence"));
}

TEST_F(Info, AFileThatFailsHasItsEntryAndTheOthersAreTold) {
    std::string const missing = path("missing.raw");
    std::string const good = create("good.raw", "xxxx");
    ToolResult const result = runTool(Arguments{"info", "--json", missing, good} + raw("2,2", "uint8"));
    expectFailure(result, 1, "cannot read", missing, "No such file or directory");
    json const files = getEntries(result);
    ASSERT_EQ(2U, files.size());
    EXPECT_THAT(getKeys(files[0]), testing::UnorderedElementsAreArray(g_keys));
    EXPECT_EQ(missing, files[0].at("file"));
    EXPECT_EQ("velmo-image: " + files[0].at("error").get<std::string>() + '\n', result.err);
    EXPECT_TRUE(files[0].at("sizeX").is_null());
    EXPECT_EQ(good, files[1].at("file"));
    EXPECT_TRUE(files[1].at("error").is_null());
}

TEST_F(Info, AFileThatIsTooShortFailsWithTheLibrarysWords) {
    std::string const input = create("short.raw", "xxx");
    expectFailure(runTool(Arguments{"info", input, "--offset", "1"} + raw("2,2", "uint8")), 1, input,
                  "total size 4 and starting offset 1 is greater than global file size 3");
}

TEST_F(Info, AGeometryBeyond64BitsFailsForItsFile) {
    std::string const input = create("in.raw", "xxx");
    ToolResult const result =
        runTool(Arguments{"info", "--json", input} + raw("18446744073709551615,2", "uint8"));
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(getEntries(result).at(0).at("error").get<std::string>(),
                HasSubstr("more bytes than 64 bits can count"));
}

TEST_F(Info, ANameThatIsNotUtf8DoesNotSpoilTheDocument) {
    std::string const input = create("odd\xff.raw", "x");
    ToolResult const result =
        runTool(Arguments{"info", "--json", input, path("none\xfe")} + raw("1,1", "uint8"));
    EXPECT_EQ(1, result.status);
    json const files = getEntries(result);
    EXPECT_EQ(path("odd\xEF\xBF\xBD.raw"), files[0].at("file"));
    EXPECT_EQ(path("none\xEF\xBF\xBD"), files[1].at("file"));
}

TEST_F(Info, ACheckWarnsOfBytesBehindTheLastPlane) {
    std::string const input = create("long.raw", std::string(20, 'x'));
    Arguments const arguments = Arguments{input, "--offset", "5"} + raw("2,2", "uint16");
    json const warnings = test::describe(arguments + Arguments{"--check"}).at("warnings");
    ASSERT_EQ(1U, warnings.size());
    EXPECT_THAT(warnings[0].get<std::string>(), HasSubstr("7 bytes after the last plane"));
    EXPECT_EQ(json::array(), test::describe(arguments).at("warnings"));
}

TEST_F(Info, ACheckIsSilentOnAFileOfTheRightLength) {
    std::string const input = create("exact.raw", std::string(13, 'x'));
    EXPECT_EQ(
        json::array(),
        test::describe(Arguments{"--check", input, "--offset", "5"} + raw("2,2", "uint16")).at("warnings"));
}

TEST_F(Info, TheTextIsABlockOfLinesForEachFile) {
    std::string const first = create("a.raw", "123456789");
    std::string const second = create("b.raw", "12345678");
    ToolResult const result = runTool(Arguments{"info", "--check", first, second} + raw("2,2,2", "uint8"));
    expectDone(result);
    auto const block = [](std::string const& file) {
        return file + "\n  format      raw\n  size        X 2, Y 2, Z 2, C 1, T 1\n  pixels      uint8\n"
                      "  colour      grey, minimum is black\n  kind        volume, single time step\n"
                      "  bytes       8\n";
    };
    EXPECT_THAT(result.out, testing::StartsWith(block(first) + "  warning     "));
    EXPECT_THAT(result.out, testing::EndsWith('\n' + block(second)));
}

TEST_F(Info, AFileNamedLikeACommandIsAFile) {
    create("info", "x");
    expectDone(runTool(Arguments{"info", "info"} + raw("1,1", "uint8"), _folder.getPath().string()));
}

} // namespace velmo::test
