// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ResampleFixture.h"
#include "SoftLimit.h"

#include <VELMOAttributes/ZSteps.h>
#include <VELMOSerialization/XmlFile.h>
#include <csignal>

namespace velmo::test {

using testing::HasSubstr;
using testing::Not;

TEST_F(Resample, PlanesLieEvenlyFromTheFirstHeightToTheLast) {
    EXPECT_EQ(planes({10, 20, 40, 60, 80}), resampleToRaw());
    EXPECT_EQ(planes({10, 20, 40, 60, 80}), resampleToRaw({"--interpolation", "linear"}));
}

TEST_F(Resample, TheNearestPlaneIsTakenWhenAskedFor) {
    EXPECT_EQ(planes({10, 20, 20, 80, 80}), resampleToRaw({"--interpolation", "nearest"}));
}

TEST_F(Resample, TheCubicCurveGoesThroughThePlanes) {
    std::string const pixels = resampleToRaw({"--interpolation", "cubic"});
    ASSERT_EQ(30U, pixels.size());
    EXPECT_EQ(planes({10, 20}), pixels.substr(0, 12));
    EXPECT_EQ(planes({80}), pixels.substr(24));
    EXPECT_NE(planes({40, 60}), pixels.substr(12, 12));
}

TEST_F(Resample, BlankLinesAndBlanksAroundANumberCountForNothing) {
    create("steps.txt", "\n  1.0\r\n\r\n\t3e0 \n\n");
    EXPECT_EQ(planes({10, 20, 40, 60, 80}), resampleToRaw());
}

TEST_F(Resample, StepsAreReadFromAnXmlArchive) {
    imaproc::attr::ZSteps steps;
    steps.accessSteps() = {1, 3};
    writeToXmlFile(_folder / "steps.xml", steps);
    Arguments const arguments = resample({"--overwrite"}, "steps.xml");
    EXPECT_EQ(0, runTool(arguments).status);
    create("steps.xml", "1\n3\n");
    ToolResult const result = runTool(arguments);
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.err, HasSubstr("Error while loading z-steps file \"" + path("steps.xml") + "\": "));
    EXPECT_EQ(planes({10, 20, 40, 60, 80}), read("out.raw"));
}

TEST_F(Resample, AnExtensionInCapitalsIsATextOfSteps) {
    create("steps.XML", "<steps/>");
    expectStepsFailure("steps.XML", path("steps.XML"), "line 1 is not a positive");
}

TEST_F(Resample, ATiffOutputHasTheSizeAndTheCompressionAskedFor) {
    ToolResult const result = runTool({"resample", path("s"), "a<INDEX>.tif", path("steps.txt"),
                                       path("out.tif"), "--size-z", "9", "--compression", "deflate"});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(9, describe("out.tif").at("sizeZ"));
    EXPECT_EQ(planes({10}), readTiff(path("out.tif")).at(0).pixels);
    EXPECT_EQ(planes({80}), readTiff(path("out.tif")).at(8).pixels);
    EXPECT_EQ(COMPRESSION_DEFLATE, readTiff(path("out.tif")).at(8).compression);
}

TEST_F(Resample, ASingleFileIsResampledLikeSeveral) {
    put("only.tif", planes({10, 20, 80}));
    expectDone(runTool(resample({}, "steps.txt", "only.tif")));
    EXPECT_EQ(planes({10, 20, 40, 60, 80}), read("out.raw"));
    boost::filesystem::remove(_folder / "steps.txt");
    expectFailure(runTool(resample({"--overwrite"}, "steps.txt", "only.tif")), 1, path("steps.txt"),
                  "No such file or directory");
}

TEST_F(Resample, ASinglePlaneHasNoSteps) {
    create("steps.txt", "");
    expectDone(runTool(resample({}, "steps.txt", "a3.tif")));
    EXPECT_EQ(planes({20, 20, 20, 20, 20}), read("out.raw"));
}

TEST_F(Resample, TheCalibrationAndTheUserPropertiesOfTheFirstFileAreKept) {
    saveVolume(path("s/b1.tif"), 1, "of 1");
    saveVolume(path("s/b2.tif"), 1, "of 2", "mm");
    create("steps.txt", "5\n");
    expectDone(runTool(
        {"resample", path("s"), "b<INDEX>.tif", path("steps.txt"), path("out.tif"), "--size-z", "3"}));
    nlohmann::json const entry = describe("out.tif");
    EXPECT_EQ("of 1", entry.at("userProperties"));
    EXPECT_EQ(nlohmann::json({{"x", 0.65F}, {"y", 0.5}, {"z", 3.5}, {"unit", "um"}}),
              entry.at("calibration"));
}

TEST_F(Resample, AnOutputThatOthersShowAsANegativeIsWarnedOf) {
    TiffPage white = page(planes({10}));
    white.photometric = PHOTOMETRIC_MINISWHITE;
    writeTiff(_folder / "s" / "b1.tif", {white, white, white});
    expectWarning(runTool(resample({}, "steps.txt", "b1.tif")), path("s"), "minimum is white");
}

TEST_F(Resample, AnotherNumberOfStepsThanOfGapsIsToldInTheWordsOfTheLibrary) {
    create("steps.txt", "1\n");
    expectStepsFailure("steps.txt", "Number of z-steps (1)", "(3-1)");
}

TEST_F(Resample, FailuresLeaveAnEarlierOutput) {
    putPlane("a4.tif", 1);
    for (int number = 5; number < 10; ++number) {
        putPlane("a" + std::to_string(number) + ".tif", number);
    }
    expectNoOutput(resample(), 1, "Number of z-steps (2)", "(9-1)");
    TiffPage wider = page("");
    wider.sizeX = 4;
    writeTiff(_folder / "s" / "a11.tif", {wider});
    expectNoOutput(resample(), 1, "SizeX mismatch", '"' + path("s/a2.tif") + "\" (3)",
                   '"' + path("s/a11.tif") + "\" (4)");
}

TEST_F(Resample, WithStrictAGapIsAFailureBeforeAnyWork) {
    expectNoOutput(resample({"--strict"}), 1, "missing 4-9\n");
}

TEST_F(Resample, NoMatchIsAFailure) {
    expectNoOutput(resample({}, "steps.txt", "b*"), 1, '"' + path("s") + '"', "\"b*\"",
                   "\"a10.tif\"; <INDEX>");
}

TEST_F(Resample, AnOutputAmongTheFilesAndAnExistingOneAreRefused) {
    Arguments arguments = resample();
    arguments[4] = path("s/a3.tif");
    expectFailure(runTool(arguments + Arguments{"--overwrite"}), 1,
                  "cannot write \"" + path("s/a3.tif") + '"', "input file \"a3.tif\"");
    EXPECT_EQ(planes({20}), readTiff(path("s/a3.tif")).at(0).pixels);
    create("out.raw", "earlier");
    EXPECT_THAT(runTool(resample()).err, hasWords(path("out.raw"), "exists", "--overwrite"));
    EXPECT_EQ("earlier", read("out.raw"));
}

TEST_F(Resample, ASizeBeyondTheMemoryIsOneFailureWithBothFigures) {
    Arguments arguments = resample({"--strict"});
    boost::filesystem::remove(_folder / "s" / "a10.tif");
    create("steps.txt", "3\n");
    arguments[6] = "1000000000000000";
    ToolResult const result = runTool(arguments);
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.err,
                testing::MatchesRegex("velmo-image: [^\n]*6000000000000000[^\n]* [0-9]+[^\n]*\n"));
    EXPECT_THAT(result.err, Not(HasSubstr("OutImg")));
    EXPECT_FALSE(exists("out.raw"));
}

TEST_F(Resample, TheNumberOfThreadsDoesNotChangeThePlanes) {
    std::string pixels;
    std::string steps;
    for (int plane = 0; plane < 50; ++plane) {
        pixels += std::string(6, static_cast<char>(plane * 37 % 251));
        steps += plane == 0 ? "" : std::to_string(1 + plane % 3) + '\n';
    }
    put("many.tif", pixels);
    create("steps.txt", steps);
    for (char const* const interpolation : {"nearest", "linear", "cubic"}) {
        std::string once;
        for (char const* const threads : {"1", "2", "3", "8"}) {
            expectDone(
                runTool({"resample", path("s"), "many.tif", path("steps.txt"), path("out.raw"), "--size-z",
                         "99", "--interpolation", interpolation, "--threads", threads, "--overwrite"}));
            once = once.empty() ? read("out.raw") : once;
            EXPECT_EQ(99U * 6, once.size());
            EXPECT_EQ(once, read("out.raw")) << interpolation << ' ' << threads;
        }
    }
}

TEST_F(Resample, TheFirstPlaneThatCannotBeReadIsNamedByAnyNumberOfThreads) {
    for (int number = 0; number < 40; ++number) {
        putPlane("d" + std::to_string(number) + ".tif", number);
        if (number == 17 || number == 30) { // the strip is behind the end of the file
            std::string bytes = read("s/d" + std::to_string(number) + ".tif");
            std::size_t const entry = bytes.find(std::string("\x11\x01\x04\x00\x01\x00\x00\x00", 8));
            ASSERT_NE(std::string::npos, entry);
            create("s/d" + std::to_string(number) + ".tif", bytes.replace(entry + 8, 4, "\xff\xff\xff\x0f"));
        }
    }
    std::string steps;
    for (int step = 1; step < 40; ++step) {
        steps += "1\n";
    }
    create("steps.txt", steps);
    Arguments const line = {"resample",      path("s"),  "d<INDEX>.tif", path("steps.txt"),
                            path("out.raw"), "--size-z", "40",           "--threads"};
    ToolResult const alone = runTool(line + Arguments{"1"});
    expectFailure(alone, 1, path("s/d17.tif"));
    for (char const* const threads : {"2", "5"}) {
        EXPECT_EQ(alone.err, runTool(line + Arguments{threads}).err) << threads;
    }
}

TEST_F(Resample, ShowsItsProgressWhileItCalculatesAndIsInterrupted) {
    TiffPage slow = page(""); // each row is a strip to be decoded
    slow.sizeX = 1;
    slow.sizeY = 20000;
    slow.rowsPerStrip = 1;
    slow.compression = COMPRESSION_LZW;
    constexpr int nbPlanes = 32;
    constexpr int nbFiles = 200;
    writeTiff(_folder / "volume", std::vector<TiffPage>(nbPlanes, slow));
    for (int number = 0; number < nbFiles; ++number) {
        link("../volume", "s/b" + std::to_string(number) + ".tif");
    }
    std::string steps;
    for (int step = 1; step < nbFiles * nbPlanes; ++step) {
        steps += "1\n";
    }
    create("steps.txt", steps);
    TerminalProcess process({"resample", path("s"), "b<INDEX>.tif", path("steps.txt"), path("out.raw"),
                             "--size-z", "1600", "--interpolation", "cubic", "--threads", "1"});
    EXPECT_TRUE(process.waitFor(" %"));
    std::vector<std::string> const names = {"s", "steps.txt", "volume"};
    EXPECT_EQ(names, list()); // nothing is written yet
    process.send(SIGINT);
    ToolResult const result = process.wait();
    EXPECT_EQ(130, result.status);
    EXPECT_THAT(result.out, testing::EndsWith("\r\x1b[Kvelmo-image: interrupted\r\n"));
    EXPECT_EQ(names, list());
}

TEST_F(Resample, MoreFilesThanTheSoftLimitOfOpenFilesAreJoined) {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_max < 256) {
        GTEST_SKIP() << "the system lets a process have " << limit.rlim_max << " open files";
    }
    std::vector<int> values;
    std::string steps;
    for (int number = 0; number < 100; ++number) {
        putPlane("m" + std::to_string(number) + ".tif", number);
        values.push_back(number);
        steps += number == 0 ? "" : "2\n";
    }
    create("steps.txt", steps);
    SoftLimit const softLimit(RLIMIT_NOFILE, 64);
    expectDone(runTool(
        {"resample", path("s"), "m<INDEX>.tif", path("steps.txt"), path("out.raw"), "--size-z", "100"}));
    EXPECT_EQ(planes(values), read("out.raw"));
}

} // namespace velmo::test
