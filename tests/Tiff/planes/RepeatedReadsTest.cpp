// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CheckedFixture.h"
#include "CpuTime.h"
#include "ForeignFile.h"

#include <random>

namespace velmo::image::file {

namespace {

constexpr eTiffPolicy g_checkedPolicies[] = {eTiffPolicy::Strict, eTiffPolicy::Tolerant};

/// Reads of parts through one accessor, which may reuse what it has decoded, and each through an accessor of
/// its own.
void compareReads(path const& path, eTiffPolicy policy, std::mt19937& random) {
    PolicyFile const one(path, policy);
    if (!one.getOpening() || one.getGeometry().getPlanNbPixels() > 20000) {
        return;
    }
    BaseImageGeometry const& geometry = one.getGeometry();
    vlUInt64 const sizeX = geometry.getSizeX();
    PlanIndexes plane = {0, 0, 0};
    for (unsigned int read = 0; read < 16; ++read) {
        if (random() % 5 == 0) {
            plane = geometry.getPlanIndexes(random() % geometry.getNbPlans());
        }
        vlUInt64 const row = read % 2 == 0 ? random() % geometry.getSizeY()
                                           : std::min<vlUInt64>(read, geometry.getSizeY() - 1);
        vlUInt64 const start = row * sizeX + (random() % 2 == 0 ? 0 : random() % sizeX);
        vlUInt64 const nbPixels =
            std::min<vlUInt64>(1 + random() % (2 * sizeX), geometry.getPlanNbPixels() - start);
        PixelRun const run = {plane.z, plane.c, plane.t, start, nbPixels};
        PlaneRead const reused = one.read(run);
        PlaneRead const fresh = PolicyFile(path, policy).read(run);
        EXPECT_TRUE(reused.pixels == fresh.pixels)
            << "z=" << plane.z << " c=" << plane.c << ", " << nbPixels << " pixels from " << start << ": "
            << reused.failure << " / " << fresh.failure;
        EXPECT_EQ(reused.failure, fresh.failure);
    }
}

class RepeatedReads : public TiffTest {};

} // namespace

TEST_F(RepeatedReads, GiveThePixelsOfEachForeignFile) {
    std::mt19937 random(1);
    for (path const& fixture : velmo::test::findForeignTiffs()) {
        SCOPED_TRACE(fixture.filename().string());
        for (eTiffPolicy const policy : g_checkedPolicies) {
            compareReads(fixture, policy, random);
        }
    }
}

TEST_F(RepeatedReads, OfDamagedFilesGiveTheSamePixelsAndFailures) {
    std::mt19937 random(20261123);
    velmo::test::forEachDamagedTiff(_folder.getPath(), 400, random,
                                    [&](path const& damaged, unsigned int number) {
                                        compareReads(damaged, g_checkedPolicies[number % 2], random);
                                    });
}

TEST_F(RepeatedReads, AWriteBetweenThemIsSeen) {
    Directory page = stripDirectory(100, 80, 80, COMPRESSION_LZW);
    page.pixels = countingBytes(8000);
    writeTiff(_path, {page});
    OpenRequest request;
    request.access = eIAM_ReadWrite;
    PolicyFile file(_path, eTiffPolicy::Strict, request);
    PixelRun const row = {0, 0, 0, 4000, 100};
    EXPECT_EQ(file.read(row).pixels, page.pixels.substr(4000, 100));
    EXPECT_EQ(file.read(row).pixels, page.pixels.substr(4000, 100));
    std::string const written(100, 'w');
    writePixels(file.getFile(), row, written);
    EXPECT_EQ(file.read(row).pixels, written);
    EXPECT_EQ(file.read(row).pixels, written);
}

// Each row would otherwise be decoded together with all rows before it: 1,000 times the work.
TEST_F(RepeatedReads, OfTheRowsOfOneStripTakeATimeLikeThatOfTheStrip) {
    for (int const codec : {COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_CCITTFAX4}) {
        auto const compression = static_cast<std::uint16_t>(codec);
        bool const bPacked = compression == COMPRESSION_CCITTFAX4;
        Directory page = stripDirectory(2000, 2000, 2000, compression, 1, bPacked ? 1 : 8);
        page.pixels = countingBytes(page.countBytes());
        writeTiff(_path, {page});
        PolicyFile const file(_path, eTiffPolicy::Strict);
        auto const begin = velmo::test::getCpuTime();
        std::string const pixels = file.readPlane().pixels.value();
        auto const middle = velmo::test::getCpuTime();
        for (vlUInt64 y = 0; y < 2000; ++y) {
            EXPECT_TRUE(file.read({0, 0, 0, y * 2000, 2000}).pixels == pixels.substr(y * 2000, 2000)) << y;
        }
        auto const end = velmo::test::getCpuTime();
        EXPECT_LT(end - middle, 20 * (middle - begin) + std::chrono::milliseconds(50)) << codec;
    }
}

} // namespace velmo::image::file
