// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6ImageFileFixture.h"

namespace velmo::image::file {

namespace {

// Where planes lie

struct LaidOut {
    std::uint32_t sizeZ;
    std::uint32_t sizeC;
    std::uint32_t sizeT;
    PixelRun plane;
    vlUInt64 offset;
};

TEST_F(Im6ImageFileTest, APlaneLiesWhereItsSizesPutIt) {
    LaidOut const cases[] = {
        {1, 1, 1, {0, 0, 0, 0, 2}, 116}, {2, 1, 1, {1, 0, 0, 0, 2}, 120}, {1, 3, 1, {0, 1, 0, 0, 2}, 120},
        {1, 1, 2, {0, 0, 1, 0, 2}, 120}, {2, 3, 2, {1, 2, 1, 0, 2}, 160}, {2, 3, 2, {0, 2, 0, 0, 2}, 132},
        {2, 4, 2, {1, 2, 1, 0, 2}, 160}, {3, 2, 1, {2, 2, 0, 0, 2}, 148}, {1, 0, 1, {0, 2, 0, 0, 2}, 124}};
    for (LaidOut const& entry : cases) {
        Im6Sample sample = makeIm6Sequence();
        sample.sizeZ = entry.sizeZ;
        sample.sizeC = entry.sizeC;
        sample.sizeT = entry.sizeT;
        Im6ImageFile file;
        open(sample, file);
        EXPECT_EQ(readPixels(file, entry.plane), readFile(_path).substr(entry.offset, 4)) << entry.offset;
    }
}

TEST_F(Im6ImageFileTest, EachPixelTypeTakesItsBytes) {
    struct {
        std::uint32_t dataType;
        vlUInt64 nbBytes;
    } const cases[] = {{0, 4}, {1, 4}, {2, 2}, {4, 1}, {18, 2}, {20, 1}, {34, 1}, {65, 4}, {66, 2}};
    for (auto const& entry : cases) {
        Im6Sample sample;
        sample.sizeZ = 2;
        sample.dataType = entry.dataType;
        sample.pixels = countingBytes(24 * entry.nbBytes);
        expectTooShort(sample.toBytes().substr(0, 115 + 24 * entry.nbBytes), 116 + 24 * entry.nbBytes);
        Im6ImageFile file;
        open(sample, file);
        EXPECT_EQ(readPixels(file, {1, 0, 0, 0, 12}), sample.pixels.substr(12 * entry.nbBytes))
            << entry.dataType;
    }
}

// Runs

TEST_F(Im6ImageFileTest, ARunPastTheLastPlaneGoesOnInTheBlocks) {
    Im6Sample sample = makeIm6Sequence();
    sample.text = "blocks!!";
    Im6ImageFile file;
    open(sample, file);
    EXPECT_EQ(readPixels(file, {1, 2, 1, 2, 4}), "blocks!!");
}

TEST_F(Im6ImageFileTest, AFileWithoutPlanesOpensAndHasNone) {
    for (std::uint32_t Im6Sample::*const pSize : {&Im6Sample::sizeZ, &Im6Sample::sizeT}) {
        Im6Sample sample;
        sample.*pSize = 0;
        Im6ImageFile file;
        open(sample, file);
        EXPECT_EQ(file.getGeometry().getNbPlans(), 0U);
        EXPECT_ANY_THROW(tryRead(file, {}));
    }
}

// Nothing is written

TEST_F(Im6ImageFileTest, WritingSucceedsAndWritesNothingInAnyMode) {
    for (eImageAccessMode const accessMode : g_accessModes) {
        Im6ImageFile file;
        open(makeIm6Sequence(), file, accessMode);
        std::string const bytes = readFile(_path);
        for (PixelRun const& run : {PixelRun{}, PixelRun{1, 2, 1, 0, 2}, PixelRun{9, 9, 9, 9, 9},
                                    PixelRun{g_largest, g_largest, g_largest, g_largest, g_largest}}) {
            EXPECT_THAT(tryWrite(file, run), Succeeds());
            EXPECT_THAT(file.writeRawData(run.z, run.c, run.t, run.start, run.count, nullptr), Succeeds());
        }
        EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 24}), countingBytes(48));
        file.clear();
        EXPECT_EQ(readFile(_path), bytes);
    }
}

TEST_F(Im6ImageFileTest, ResizingSucceedsAndChangesNeitherFileNorGeometryNorPlanes) {
    for (eImageAccessMode const accessMode : g_accessModes) {
        Im6ImageFile file;
        open(makeIm6Sequence(), file, accessMode);
        std::string const bytes = readFile(_path);
        for (vlUInt64 const sizeZ : {0U, 1U, 1000U}) {
            EXPECT_THAT(file.resizeData(*geometry3d(eIBT_Real32, 8, 9, sizeZ)), Succeeds());
        }
        EXPECT_EQ(describeGeometry(file.getGeometry()), "x=2 y=1 z=2 c=3 t=2 eIBT_UInt16");
        EXPECT_EQ(readPixels(file, {1, 2, 1, 0, 2}), countingBytes(4, 45));
        file.clear();
        EXPECT_EQ(readFile(_path), bytes);
    }
}

} // namespace

} // namespace velmo::image::file
