// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"
#include "PrivateDisk.h"
#include "TiffSample.h"

#include <boost/algorithm/string/join.hpp>

namespace velmo::test {

/// A command with an output on the disk, far larger than the disk where its pixels do not compress.
struct DiskOutput {
    char const* name;
    std::string output;
    Arguments (*createArguments)(std::string const& folder, std::string const& output);
};

namespace {

namespace fs = boost::filesystem;

constexpr std::size_t g_diskSize = std::size_t{256} << 10;
constexpr std::size_t g_pageSize = 4096;

class FullDiskOutput : public CliTest, public testing::WithParamInterface<DiskOutput> {
  protected:
    FullDiskOutput() {
        TiffPage page;
        page.sizeX = 1000;
        page.sizeY = 400;
        page.resolution = 10;
        page.pixels = createNoise(page.countBytes());
        fs::create_directory(_folder / "s");
        writeTiff(_folder / "s/a1.tif", {page});
        writeTiff(_folder / "s/a2.tif", {page});
        create("steps.txt", "1\n");
    }

    /// The end of what the tool says on a disk with so much room, and what it leaves there.
    std::string run(std::size_t nbBytesLeft) const {
        fs::path const disk = _folder / "disk";
        return onPrivateDisk(disk, g_diskSize, [&] {
            fillDisk(disk / "filler", nbBytesLeft);
            ToolResult const result = runTool(
                GetParam().createArguments(_folder.getPath().string(), (disk / GetParam().output).string()));
            std::size_t const end = result.err.find_last_not_of('\n') + 1;
            std::string const text = result.err.substr(0, end);
            std::string const lastLine = text.substr(text.rfind('\n') + 1);
            std::string const reason = "No space left on device";
            bool const bNamed = lastLine.size() >= reason.size() &&
                                lastLine.compare(lastLine.size() - reason.size(), reason.size(), reason) == 0;
            std::vector<std::string> names;
            for (fs::directory_entry const& entry : fs::directory_iterator(disk)) {
                names.push_back(entry.path().filename().string());
            }
            return std::to_string(result.status) +
                   (bNamed ? " for want of room, left: " : ": " + result.err) +
                   boost::algorithm::join(names, " ");
        });
    }
};

} // namespace

TEST_P(FullDiskOutput, IsAFailureWhoseLastLineNamesTheReasonAndLeavesNothing) {
    for (std::size_t const nbPages : {0U, 1U, 2U, 3U, 16U, 60U}) {
        std::string const outcome = run(nbPages * g_pageSize);
        if (outcome == g_noMount) {
            GTEST_SKIP() << "this process cannot mount a disk";
        }
        EXPECT_EQ("1 for want of room, left: filler", outcome) << nbPages << " pages left";
    }
}

INSTANTIATE_TEST_SUITE_P(
    Outputs, FullDiskOutput,
    testing::Values(
        DiskOutput{"Picture", "out.png",
                   [](auto const& folder, auto const& output) {
                       return Arguments{"preview", folder + "/s/a1.tif", output};
                   }},
        DiskOutput{"Page", "out.html",
                   [](auto const& folder, auto const& output) {
                       return Arguments{"preview", folder + "/s/a1.tif", output, "--max-size", "1000"};
                   }},
        DiskOutput{"RawPlanes", "out.raw",
                   [](auto const& folder, auto const& output) {
                       return Arguments{"convert", folder + "/s/a1.tif", output};
                   }},
        DiskOutput{
            "RawPlanesBehindAHeader", "out.raw",
            [](auto const& folder, auto const& output) {
                return Arguments{"convert", folder + "/s/a1.tif", output, "--header", folder + "/steps.txt"};
            }},
        DiskOutput{"Tiff", "out.tif",
                   [](auto const& folder, auto const& output) {
                       return Arguments{"convert", folder + "/s/a1.tif", output};
                   }},
        DiskOutput{"CompressedTiff", "out.tif",
                   [](auto const& folder, auto const& output) {
                       return Arguments{"convert", folder + "/s/a1.tif", output, "--compression", "deflate"};
                   }},
        DiskOutput{"TiffWithTags", "out.tif",
                   [](auto const& folder, auto const& output) {
                       return Arguments{"convert", folder + "/s/a1.tif", output, "--calibration-tags"};
                   }},
        DiskOutput{"TiffForImageJ", "out.tif",
                   [](auto const& folder, auto const& output) {
                       return Arguments{"convert", folder + "/s/a1.tif", output, "--imagej"};
                   }},
        DiskOutput{"PartOfAnotherType", "out.tif",
                   [](auto const& folder, auto const& output) {
                       return Arguments{"convert",     folder + "/s/a1.tif", output,  "--region",
                                        "1,1,999,399", "--to-type",          "real32"};
                   }},
        DiskOutput{"Projection", "out.tif",
                   [](auto const& folder, auto const& output) {
                       return Arguments{"project", folder + "/s/a1.tif", output, "--along", "z", "--by",
                                        "mean"};
                   }},
        DiskOutput{"Stack", "out.raw",
                   [](auto const& folder, auto const& output) {
                       return Arguments{"stack", folder + "/s", "a<INDEX>.tif", output};
                   }},
        DiskOutput{
            "Resampled", "out.tif",
            [](auto const& folder, auto const& output) {
                return Arguments{
                    "resample", folder + "/s", "a<INDEX>.tif", folder + "/steps.txt", output, "--size-z",
                    "3"};
            }}),
    getName<DiskOutput>);

} // namespace velmo::test
