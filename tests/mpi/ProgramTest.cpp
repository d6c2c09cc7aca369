// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "MpiJob.h"
#include "TemporaryFolder.h"

#include <boost/filesystem/fstream.hpp>
#include <gtest/gtest.h>
#include <iterator>

namespace velmo::test {

namespace {

std::string readPixels(boost::filesystem::path const& path) {
    boost::filesystem::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

TEST(Program, AppliesFunctionsOverRanksWhereverTheFilesStandInTheLine) {
    TemporaryFolder const folder;
    boost::filesystem::ofstream(folder / "in.raw", std::ios::binary)
        << std::string("\x00\x0A\x14\xFF\x05\x32", 6);
    std::string const program = VELMO_MPI_PROGRAM;
    JobResult const last = runJob(
        2, {program, "in.raw", "--size", "1,2,3", "--type", "uint8", "--apply", "threshold=20", "mask.raw"},
        folder.getPath());
    EXPECT_EQ(0, last.status) << last.err;
    EXPECT_EQ(std::string("\x00\x00\xFF\xFF\x00\xFF", 6), readPixels(folder / "mask.raw"));
    JobResult const first = runJob(2,
                                   {program, "--type", "uint8", "--size", "1,2,3", "in.raw", "--apply",
                                    "invert", "--apply", "scale=0.5,1", "half.raw", "--statistics"},
                                   folder.getPath());
    EXPECT_EQ(0, first.status) << first.err;
    EXPECT_NE(std::string::npos, first.out.find("min 1, max 128")) << first.out;
    // Inverted: 255, 245, 235, 0, 250, 205. Halves are rounded to the even number.
    EXPECT_EQ(std::string("\x80\x7C\x76\x01\x7E\x68", 6), readPixels(folder / "half.raw"));
    JobResult const whole =
        runJob(1, {program, "in.raw", "whole.raw", "--size", "6,1", "--type", "uint8", "--apply", "scale=1"},
               folder.getPath());
    EXPECT_EQ(0, whole.status) << whole.err;
    EXPECT_EQ(readPixels(folder / "in.raw"), readPixels(folder / "whole.raw"));
}

TEST(Program, EndsWithTheStatusOfAnError) {
    TemporaryFolder const folder;
    JobResult const missing = runJob(2, {VELMO_MPI_PROGRAM, "missing.tif"}, folder.getPath());
    EXPECT_EQ(1, missing.status);
    EXPECT_NE(std::string::npos, missing.err.find("missing.tif: No such file or directory")) << missing.err;
    EXPECT_EQ(2, runJob(2, {VELMO_MPI_PROGRAM, "a.tif", "--apply", "blur"}, folder.getPath()).status);
    for (char const* const work :
         {"threshold", "threshold=", "threshold=1,2", "scale=1,", "scale=inf", "scale=a"}) {
        EXPECT_EQ(2, runJob(1, {VELMO_MPI_PROGRAM, "a.tif", "--apply", work}, folder.getPath()).status)
            << work;
    }
}

} // namespace velmo::test
