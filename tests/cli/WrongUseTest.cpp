// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"

namespace velmo::test {

/// A command line that is wrong use, run in a folder with "in.raw" and "in.tif", and words of its message.
struct WrongLine {
    std::string name;
    Arguments arguments;
    std::vector<std::string> words;
};

namespace {

using WrongLines = std::vector<WrongLine>;

class WrongUse : public CliTest, public testing::WithParamInterface<WrongLine> {};

std::string inQuotes(std::string const& text) {
    return '"' + text + '"';
}

/// The same options for each command that reads a raw file.
WrongLines forEachReader(WrongLines const& lines) {
    WrongLines all;
    for (WrongLine const& line : lines) {
        for (auto const& [name, command] : {std::pair("OfInfo", Arguments{"info", "in.raw"}),
                                            {"OfConvert", {"convert", "in.raw", "out"}},
                                            {"OfPreview", {"preview", "in.raw", "out"}}}) {
            all.push_back({line.name + name, command + line.arguments, line.words});
        }
    }
    return all;
}

WrongLine wrongSize(char const* name, char const* size) {
    return {name, raw(size, "uint8"), {"--size must be X,Y[,Z[,C[,T]]]", inQuotes(size)}};
}

/// Further arguments of a line that would be right without them.
WrongLine wrongOption(char const* name, Arguments const& line, char const* option, char const* value,
                      char const* word) {
    return {name, line + Arguments{option, value}, {option, word, inQuotes(value)}};
}

Arguments const g_convert = {"convert", "in.tif", "out.raw"};
Arguments const g_toTiff = {"convert", "in.tif", "out.tif"};
Arguments const g_convertRaw = Arguments{"convert", "in.raw", "out.raw"} + raw("2,1", "uint8");
Arguments const g_stack = {"stack", "s", "*", "out.tif"};
Arguments const g_resample = {"resample", "s", "*", "z", "out.tif", "--size-z", "5"};
Arguments const g_unsized = {"resample", "s", "*", "z", "out.tif"};

} // namespace

TEST_P(WrongUse, IsExplainedBeforeAnyWork) {
    create("in.raw", std::string(64, 'x'));
    create("in.tif", "x");
    ToolResult const result = runTool(GetParam().arguments, _folder.getPath().string());
    EXPECT_EQ("", result.out);
    expectFailure(result, 2, "velmo-image: ");
    for (std::string const& word : GetParam().words) {
        EXPECT_THAT(result.err, testing::HasSubstr(word));
    }
    EXPECT_EQ(1, std::count(result.err.begin(), result.err.end(), '\n')) << result.err;
    EXPECT_EQ((std::vector<std::string>{"in.raw", "in.tif"}), list());
}

INSTANTIATE_TEST_SUITE_P(
    Lines, WrongUse,
    testing::ValuesIn(WrongLines{
        {"Nothing",
         {},
         {"info, convert, import, preview, stack, resample, match", "see velmo-image --help\n"}},
        {"NoSuchCommand", {"undo", "x"}, {"\"undo\"", "info, convert", "see velmo-image --help\n"}},
        {"SwappedLetters", {"inof", "x"}, {"\"inof\"", "did you mean info? see velmo-image --help\n"}},
        {"MissingLetters", {"resampl"}, {"\"resampl\"", "did you mean resample?"}},
        {"BeginningOfACommand", {"conv"}, {"\"conv\"", "did you mean convert?"}},
        {"HelpOfNoCommand", {"undo", "--help"}, {"\"undo\"", "info, convert", "see velmo-image --help\n"}},
        {"HelpOfAMisspeltCommand", {"resampl", "-h"}, {"\"resampl\"", "did you mean resample?"}},
        {"HelpOfAMisspeltCommandInWords", {"help", "conver"}, {"\"conver\"", "did you mean convert?"}},
        {"HelpOfTwoCommands", {"help", "info", "match"}, {"\"match\"", "help [COMMAND]"}},
        {"MisspeltHelp", {"hlep"}, {"\"hlep\"", "did you mean help?"}},
        {"NameWithADash", {"info", "-x.tif"}, {"\"-x.tif\"", "begins with a dash", "after --", "./-x.tif"}},
        {"NameWithADashAndAnH", {"info", "-his.tif"}, {"\"-his.tif\"", "after --", "./-his.tif"}},
        {"OutputWithADash", {"convert", "in.tif", "-out.tif"}, {"\"-out.tif\"", "after --", "./-out.tif"}},
        {"OptionWithoutACommand", {"--vresion"}, {"\"--vresion\"", "did you mean --version?"}},
        {"OptionBeforeTheCommand", {"--json", "info", "a.tif"}, {"unknown option \"--json\"", "info --help"}},
        {"MisspeltOption",
         {"info", "--jsn", "x"},
         {"\"--jsn\" of info, did you mean --json?", "info --help"}},
        {"MisspeltOptionWithAValue",
         {"convert", "a", "b", "--compresion", "lzw"},
         {"\"--compresion\" of convert, did you mean --compression?", "see velmo-image convert --help\n"}},
        {"MisspeltOptionWithAnEqualsSign",
         {"convert", "a", "b", "--sise=3,4"},
         {"\"--sise\" of convert, did you mean --size?"}},
        {"NoSuchOption", {"info", "--what", "x"}, {"\"--what\" of info; see velmo-image info --help\n"}},
        {"OptionOfAnotherCommand", {"match", "*", "--montage"}, {"\"--montage\" of match; see"}},
        {"OneNameTooMany", {"convert", "a", "b", "c"}, {"argument \"c\"", "INPUT OUTPUT; see"}},
        {"PatternTheShellReplaced",
         {"stack", "s", "a1.tif", "a2.tif", "out.tif"},
         {"argument \"out.tif\"", "DIRECTORY PATTERN OUTPUT", "quote the pattern", "shell"}},
        {"NoOutputOfConvert", {"convert", "a"}, {"OUTPUT is required", "convert INPUT OUTPUT"}},
        {"NoOutputOfPreview", {"preview", "a"}, {"OUTPUT is required", "preview INPUT OUTPUT"}},
        {"NoFile", {"info"}, {"FILE is required", "info FILE..."}},
        {"NoPatternOfMatch", {"match"}, {"PATTERN is required", "match PATTERN [NAME...]"}},
        {"NoValue", {"info", "x", "--size"}, {"--size needs a value"}},
        {"OptionGivenTwice", {"info", "x", "--size", "1,1", "--size", "1,1"}, {"--size", "more than once"}},
        {"OptionsThatDoNotGoTogether",
         {"preview", "a", "b", "--montage", "--z", "1"},
         {"--z excludes --montage"}},
        {"TableAndJson", {"info", "a", "--table", "--json"}, {"--json excludes --table"}},
        wrongOption("NoThreadsOfInfo", {"info", "in.tif"}, "--threads", "0", "from 1 to 1024"),
        {"MatchOfNothing", {"match", "a*"}, {"either names or --directory"}},
        {"MatchOfNamesAndADirectory",
         {"match", "a*", "a1", "--directory", "."},
         {"either names or --directory"}},

        {"SizeOfATiffInput", g_convert + Arguments{"--size", "2,1"}, {"--size", "raw inputs"}},
        {"ByteOrderOfATiffInput",
         g_convert + Arguments{"--byte-order", "big"},
         {"--byte-order", "raw inputs"}},
        {"DirectoriesOfARawInput",
         g_convertRaw + Arguments{"--directories", "t"},
         {"--directories", "TIFF inputs"}},
        {"PixelsOfARawInput", g_convertRaw + Arguments{"--pixels", "label"}, {"--pixels", "TIFF inputs"}},
        wrongOption("UnknownDirectories", g_convert, "--directories", "c", "z, t"),
        wrongOption("UnknownPixels", g_convert, "--pixels", "labels", "default, binary, label"),
        wrongOption("UnknownCompression", g_toTiff, "--compression", "zip", "none, lzw, deflate"),
        {"CompressionOfRaw",
         g_convert + Arguments{"--compression", "lzw"},
         {"--compression", "TIFF outputs"}},
        wrongOption("NoThreads", g_toTiff, "--threads", "0", "from 1 to 1024"),
        wrongOption("TooManyThreads", g_toTiff, "--threads", "1025", "from 1 to 1024"),
        wrongOption("ThreadsInAWord", g_toTiff, "--threads", "all", "whole number"),
        {"ThreadsOfRaw", g_convert + Arguments{"--threads", "2"}, {"--threads", "TIFF outputs"}},
        {"HeaderOfTiff", g_toTiff + Arguments{"--header", "h"}, {"--header", "raw outputs"}},

        {"NoOutputOfStack", {"stack", "s", "*"}, {"OUTPUT is required"}},
        {"NoPatternOfStack", {"stack", "s"}, {"PATTERN is required"}},
        {"TooManyOfStack", g_stack + Arguments{"more"}, {"argument \"more\"", "DIRECTORY PATTERN OUTPUT"}},
        wrongOption("AxisOfStack", g_stack, "--along", "x", "z, t"),
        wrongOption("PixelsOfStack", g_stack, "--pixels", "grey", "default, binary, label"),
        wrongOption("CompressionOfStack", g_stack, "--compression", "jpeg", "none, lzw, deflate"),
        wrongOption("FormatOfStack", g_stack, "--output-format", "png", "raw, tiff"),
        {"HeaderOfStackedTiff", g_stack + Arguments{"--header", "h"}, {"--header", "raw outputs"}},
        {"StackToRaw",
         {"stack", "s", "*", "out.raw", "--compression", "lzw"},
         {"--compression", "TIFF outputs"}},
        {"StackToIm6", {"stack", "s", "*", "out.im6"}, {"out.im6", "Im6 files can only be read"}},

        {"NoSizeZ", g_unsized, {"--size-z is required", "DIRECTORY PATTERN ZSTEPS OUTPUT"}},
        {"NoOutputOfResample", {"resample", "s", "*", "z", "--size-z", "5"}, {"OUTPUT is required"}},
        wrongOption("SizeZZero", g_unsized, "--size-z", "0", "at least 1"),
        wrongOption("SizeZNegative", g_unsized, "--size-z", "-1", "whole number"),
        wrongOption("SizeZWord", g_unsized, "--size-z", "many", "whole number"),
        wrongOption("Interpolation", g_resample, "--interpolation", "spline", "nearest, linear, cubic"),
        wrongOption("PixelsOfResample", g_resample, "--pixels", "grey", "default, binary, label"),
        {"ResampleToRaw",
         {"resample", "s", "*", "z", "out.raw", "--size-z", "5", "--compression", "lzw"},
         {"--compression", "TIFF outputs"}},
        {"AxisOfResample", g_resample + Arguments{"--along", "z"}, {"\"--along\" of resample"}}}),
    getName<WrongLine>);

INSTANTIATE_TEST_SUITE_P(
    Values, WrongUse,
    testing::ValuesIn(forEachReader(
        {{"NoSize", {"--type", "uint8"}, {"in.raw", "--size X,Y", "--type TYPE"}},
         {"NoType", {"--size", "1,1"}, {"in.raw", "--size X,Y", "--type TYPE"}},
         wrongSize("SizeZero", "0,1"),
         wrongSize("SizeNegative", "-1,1"),
         wrongSize("SizeWithLetter", "12x,1"),
         wrongSize("SizeExponent", "1e9,1"),
         wrongSize("SizePlus", "+1,1"),
         wrongSize("SizeSpace", "1, 1"),
         wrongSize("SizeEmptyField", "1,,1"),
         wrongSize("SizeTrailingComma", "1,1,"),
         wrongSize("SizeOneField", "1"),
         wrongSize("SizeSixFields", "1,1,1,1,1,1"),
         wrongSize("SizeBeyond64Bits", "18446744073709551616,1"),
         {"UnknownType", raw("1,1", "uint64"), {"--type", "uint8, int8, uint16", "label32", "\"uint64\""}},
         wrongOption("OffsetNegative", raw("1,1", "uint8"), "--offset", "-1", "whole number"),
         wrongOption("OffsetEmpty", raw("1,1", "uint8"), "--offset", "", "whole number"),
         wrongOption("OffsetHexadecimal", raw("1,1", "uint8"), "--offset", "0x10", "whole number"),
         wrongOption("ByteOrder", raw("1,1", "uint8"), "--byte-order", "middle", "little, big"),
         wrongOption("Format", raw("1,1", "uint8"), "--format", "png", "raw, tiff, im6")})),
    getName<WrongLine>);

} // namespace velmo::test
