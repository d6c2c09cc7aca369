// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

#include <boost/filesystem/operations.hpp>
#include <fstream>
#include <sched.h>
#include <sys/mount.h>

namespace velmo::image::file {

namespace {

constexpr char const* g_noMount = "no mount";

/// What happens on a file system that is full at 256 KiB, in a child process that alone sees it.
class TiffPlaneDataSpaceTest : public TiffTest {
  protected:
    std::string onSmallDisk(std::function<std::string(path const&)> const& work) const {
        path const place = _folder / "disk";
        boost::filesystem::create_directory(place);
        return inChild([&]() -> std::string {
            if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
                mount("tmpfs", place.c_str(), "tmpfs", 0, "size=256k") != 0) {
                return g_noMount;
            }
            return work(place / "planes.tif");
        });
    }
};

std::string tryCreate(path const& path, PlaneSizes const& sizes, eTiffCompression compression) {
    TIFF* pTiff = nullptr;
    std::string const text =
        toText(createTiffFile(path, *makeGeometry(eIBT_UInt8, sizes), nullptr, compression, pTiff));
    return pTiff == nullptr && countDescriptors(path) == 0 ? text : "open";
}

} // namespace

TEST_F(TiffPlaneDataSpaceTest, CreatingAFileThatDoesNotFitNamesTheDirectory) {
    std::string const text = onSmallDisk([](path const& path) {
        return tryCreate(path, {300, 200, 8}, eTC_None);
    });
    if (text == g_noMount) {
        GTEST_SKIP() << text;
    }
    EXPECT_THAT(text,
                testing::MatchesRegex("Failed to initialize strip data of directory 4 for file .*planes.tif\n"
                                      "Tiff Error : Write error at scanline [0-9]+: No space left on "
                                      "device"));
}

TEST_F(TiffPlaneDataSpaceTest, ACompressedStripThatDoesNotFitIsNamedAndTheOtherPlanesStay) {
    for (eTiffCompression const compression : {eTC_Lzw, eTC_Deflate}) {
        std::string const text = onSmallDisk([&](path const& path) -> std::string {
            Planes const planes = createPlanes(path, makeGeometry(eIBT_UInt8, {300, 200, 8}), compression);
            std::string const pixels = noise(60000);
            for (vlUInt64 z = 0; z < 8; ++z) {
                BoolResult const result = writeTiffData(planes.pTiff.get(), path, *planes.pGeometry, z, 0, 0,
                                                        0, 60000, pixels.data());
                if (!result) {
                    bool const bFormer = planes.readPlane(z - 1) == pixels;
                    bool const bNext = planes.readPlane(7) == std::string(60000, '\0');
                    return (bFormer && bNext ? "others stay: " : "others are gone: ") + result.getMessage();
                }
            }
            return "fits";
        });
        if (text == g_noMount) {
            GTEST_SKIP() << text;
        }
        EXPECT_THAT(text,
                    testing::MatchesRegex("others stay: Failed to write data of strip [0-9]+ for directory "
                                          "z=[2-4], c=0, t=0 of file .*planes.tif\n"
                                          "Tiff Error : Write error at scanline [0-9]+: No space left on "
                                          "device"));
    }
}

TEST_F(TiffPlaneDataSpaceTest, UncompressedPlanesHaveTheirSpaceFromTheirCreation) {
    std::string const text = onSmallDisk([](path const& path) -> std::string {
        Planes const planes = createPlanes(path, makeGeometry(eIBT_UInt8, {300, 200, 4}));
        std::ofstream filler((path.parent_path() / "filler").string(), std::ios::binary);
        filler << noise(300000) << std::flush; // takes what is left
        bool bWritten = true;
        for (vlUInt64 z = 0; z < 4; ++z) {
            bWritten = bWritten && planes.tryWrite(planes.wholePlane(z));
        }
        return bWritten && planes.readPlane(3) == noise(60000) ? "written" : "lost";
    });
    if (text == g_noMount) {
        GTEST_SKIP() << text;
    }
    EXPECT_EQ(text, "written");
}

} // namespace velmo::image::file
