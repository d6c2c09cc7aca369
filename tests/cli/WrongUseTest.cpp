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
                                            {"OfStats", {"stats", "in.raw"}},
                                            {"OfCompare", {"compare", "in.raw", "in.raw"}},
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
Arguments const g_preview = {"preview", "in.tif", "out.png"};
Arguments const g_stats = {"stats", "in.tif"};
Arguments const g_compare = {"compare", "in.tif", "in.tif"};
Arguments const g_project = {"project", "in.tif", "out.raw", "--along", "z", "--by", "max"};
Arguments const g_stack = {"stack", "s", "*", "out.tif"};
Arguments const g_split = {"split", "in.tif", "p", "z<INDEX>.tif"};
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
         {"info, convert, import, preview, stats, compare, project, stack, split, resample, match",
          "see velmo-image --help\n"}},
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
        {"ProjectionOfOnePlane",
         {"preview", "a", "b", "--projection", "max", "--z", "1"},
         {"--projection", "--z"}},
        wrongOption("UnknownProjection", g_preview, "--projection", "sum", "max, min, mean"),
        wrongOption("StepZero", g_preview + Arguments{"--montage"}, "--step", "0", "at least 1"),
        wrongOption("ColumnsZero", g_preview + Arguments{"--montage"}, "--columns", "0", "at least 1"),
        wrongOption("ColumnsWord", g_preview + Arguments{"--montage"}, "--columns", "all", "whole number"),
        wrongOption("RangeOfPreview", g_preview, "--range", "max,min", "min,max"),
        {"ColumnsWithoutAMontage", g_preview + Arguments{"--columns", "2"}, {"--columns", "--montage"}},
        {"StepOfOnePlane", g_preview + Arguments{"--step", "2"}, {"--step", "--montage"}},
        {"BytesOfAPicture", g_preview + Arguments{"--max-bytes", "1M"}, {"--max-bytes", ".html"}},
        wrongOption("BytesOfAPage", {"preview", "in.tif", "out.html"}, "--max-bytes", "1MB", "20M"),
        {"MontageOfAPage", {"preview", "in.tif", "out.html", "--montage"}, {"--montage", "page"}},
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

        wrongOption("NoPlanes", g_toTiff, "--z", "", "A:B[:STEP]"),
        wrongOption("PlanesBackwards", g_toTiff, "--z", "3:1", "A:B[:STEP]"),
        wrongOption("NoStep", g_toTiff, "--c", "0:1:0", "A:B[:STEP]"),
        wrongOption("OnlyTooManyColons", g_toTiff, "--c", ":::", "A:B[:STEP]"),
        wrongOption("EmptyStep", g_toTiff, "--c", "0:1:", "A:B[:STEP]"),
        wrongOption("FourNumbersOfARange", g_toTiff, "--t", "0:1:1:1", "A:B[:STEP]"),
        {"NegativePlane", g_toTiff + Arguments{"--z=-1"}, {"--z", "A:B[:STEP]", "\"-1\""}},
        wrongOption("PlaneInAWord", g_toTiff, "--z", "all:", "A:B[:STEP]"),
        wrongOption("RegionOfThreeNumbers", g_toTiff, "--region", "0,0,1", "X,Y,W,H"),
        wrongOption("RegionWithoutRows", g_toTiff, "--region", "0,0,1,0", "X,Y,W,H"),
        wrongOption("RegionOfFractions", g_toTiff, "--region", "0,0,1.5,1", "X,Y,W,H"),
        wrongOption("PixelSizeZero", g_toTiff, "--pixel-size", "0,1", "greater than 0"),
        wrongOption("PixelSizeInfinite", g_toTiff, "--pixel-size", "inf,1", "greater than 0"),
        wrongOption("PixelSizeTooLarge", g_toTiff, "--pixel-size", "1e39,1", "greater than 0"),
        wrongOption("PixelSizeOfOneNumber", g_toTiff, "--pixel-size", "1", "X,Y[,Z]"),
        wrongOption("PixelSizeWithAnEmptyField", g_toTiff, "--pixel-size", "1,1,", "X,Y[,Z]"),
        wrongOption("UnknownUnit", g_toTiff + Arguments{"--pixel-size", "1,1"}, "--unit", "parsec", "um"),
        {"UnitAlone", g_toTiff + Arguments{"--unit", "um"}, {"--unit needs --pixel-size"}},
        {"RangeAlone", g_toTiff + Arguments{"--range", "0,1"}, {"--range needs --to-type"}},
        wrongOption("UnknownTargetType", g_toTiff, "--to-type", "uint64", "uint8, int8, uint16"),
        wrongOption("RangeBackwards", g_toTiff + Arguments{"--to-type", "uint8"}, "--range", "1,0", "LO,HI"),
        wrongOption("RangeTooWide", g_toTiff + Arguments{"--to-type", "uint8"}, "--range", "-1.7e308,1.7e308",
                    "too wide"),
        {"ImageJOfRaw", g_convert + Arguments{"--imagej"}, {"--imagej", "TIFF outputs"}},
        {"ImageJAndCalibrationTags",
         g_toTiff + Arguments{"--imagej", "--calibration-tags"},
         {"--imagej", "--calibration-tags", "excludes"}},

        {"NoPatternOfSplit", {"split", "in.tif", "p"}, {"PATTERN is required"}},
        {"NoIndexOfSplit", {"split", "in.tif", "p", "z.tif"}, {"one <INDEX>", "\"z.tif\""}},
        {"TwoIndexesOfSplit", {"split", "in.tif", "p", "<INDEX><INDEX>.tif"}, {"one <INDEX>"}},
        {"WildcardOfSplit", {"split", "in.tif", "p", "z<INDEX>*.tif"}, {"? * | and /"}},
        {"FolderInPatternOfSplit", {"split", "in.tif", "p", "q/z<INDEX>.tif"}, {"? * | and /"}},
        {"RawFilesOfSplit", {"split", "in.tif", "p", "z<INDEX>.raw"}, {".tif or .tiff"}},
        wrongOption("AxisOfSplit", g_split, "--along", "c", "z, t"),
        wrongOption("NoDigits", g_split, "--digits", "0", "from 1 to 20"),
        wrongOption("TooManyDigits", g_split, "--digits", "21", "from 1 to 20"),
        wrongOption("CompressionOfSplit", g_split, "--compression", "jpeg", "none, lzw, deflate"),
        {"FormatOfSplit", g_split + Arguments{"--output-format", "raw"}, {"\"--output-format\" of split"}},
        {"SizeOfSplit", g_split + Arguments{"--size", "1,1"}, {"--size", "raw inputs"}},
        {"NoFileOfStats", {"stats"}, {"FILE is required", "stats FILE..."}},
        wrongOption("SetOfStats", g_stats, "--by", "row", "file, plane, channel, time"),
        wrongOption("PercentileAbove100", g_stats, "--percentiles", "5,100.5", "from 0 to 100"),
        wrongOption("PercentileBelow0", g_stats, "--percentiles", "-1", "from 0 to 100"),
        wrongOption("PercentileNaN", g_stats, "--percentiles", "nan", "from 0 to 100"),
        wrongOption("PercentileEmpty", g_stats, "--percentiles", "1,,2", "from 0 to 100"),
        wrongOption("PercentilesEmpty", g_stats, "--percentiles", "", "from 0 to 100"),
        wrongOption("HistogramZero", g_stats, "--histogram", "0", "1 to 65536"),
        wrongOption("HistogramTooLarge", g_stats, "--histogram", "65537", "1 to 65536"),
        wrongOption("HistogramNegative", g_stats, "--histogram", "-1", "whole number"),
        wrongOption("ThreadsOfStats", g_stats, "--threads", "0", "from 1 to 1024"),
        {"JsonAndCsv", g_stats + Arguments{"--json", "--csv"}, {"--json excludes --csv"}},
        {"SizeOfMeasuredTiff", g_stats + Arguments{"--size", "2,1"}, {"--size", "raw inputs"}},
        {"OneFileOfCompare", {"compare", "in.tif"}, {"SECOND is required", "compare FIRST SECOND"}},
        {"ThreeFilesOfCompare", g_compare + Arguments{"c"}, {"argument \"c\"", "FIRST SECOND"}},
        wrongOption("ToleranceNegative", g_compare, "--tolerance", "-1", "number from 0"),
        wrongOption("ToleranceInfinite", g_compare, "--tolerance", "inf", "number from 0"),
        wrongOption("ToleranceNaN", g_compare, "--tolerance", "nan", "number from 0"),
        wrongOption("ToleranceWord", g_compare, "--tolerance", "1px", "number from 0"),
        wrongOption("ThreadsOfCompare", g_compare, "--threads", "1025", "from 1 to 1024"),
        {"NoAxisOfProject", {"project", "a", "b", "--by", "max"}, {"--along is required", "INPUT OUTPUT"}},
        {"NoKindOfProject", {"project", "a", "b", "--along", "z"}, {"--by is required", "INPUT OUTPUT"}},
        {"NoOutputOfProject", {"project", "a", "--along", "z", "--by", "max"}, {"OUTPUT is required"}},
        {"AxisOfProject",
         {"project", "in.tif", "out.raw", "--along", "x", "--by", "max"},
         {"--along", "z, t, c"}},
        {"KindOfProject",
         {"project", "in.tif", "out.raw", "--along", "z", "--by", "median"},
         {"--by", "max, min, mean, sum", "\"median\""}},
        wrongOption("ThreadsOfProject", g_project, "--threads", "0", "from 1 to 1024"),
        {"CompressionOfProjectedRaw",
         g_project + Arguments{"--compression", "lzw"},
         {"--compression", "TIFF outputs"}},
        {"PictureOfProject",
         {"project", "in.tif", "out.png", "--along", "z", "--by", "max"},
         {"out.png", "extension of a picture"}},

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
