// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FileExercise.h"

#include "Results.h"
#include "TemporaryFolder.h"

#include <VELMOImageFile/RawImageFile.h>
#include <boost/filesystem/operations.hpp>
#include <cstring>

namespace velmo::test {

using namespace image;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using tool::describeDamage;
using tool::exerciseFile;

namespace {

/// A raw file whose accessor tells a lie of the reads that are shorter than a plane.
class LyingFile : public file::RawImageFile {
  public:
    enum class eLie { Pixels, Failure };
    explicit LyingFile(eLie lie) : _lie(lie) {}

    BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           void* buffer) const override {
        if (nbPixels == getGeometry().getPlanNbPixels()) {
            return RawImageFile::readRawData(z, c, t, pixelStartOffset, nbPixels, buffer);
        }
        std::memset(buffer, 0, nbPixels);
        return _lie == eLie::Pixels ? success() : failure("no run");
    }

  private:
    eLie _lie;
};

class FileExercise : public testing::Test {
  protected:
    /// 5 x 4 pixels of 8 bits in each plane.
    void open(file::RawImageFile& accessor, vlUInt64 nbPlanes, std::string const& bytes) const {
        writeFile(_folder / "in.raw", bytes);
        ASSERT_THAT(
            accessor.openFile(_folder / "in.raw", eIAM_ReadOnly, 0, *geometry3d(eIBT_UInt8, 5, 4, nbPlanes)),
            Succeeds());
    }

    TemporaryFolder _folder;
};

std::vector<vlUInt64> getPlanes(tool::Exercise const& exercise) {
    std::vector<vlUInt64> numbers;
    for (tool::ExercisedPlane const& plane : exercise.planes) {
        numbers.push_back(plane.plane.z);
    }
    return numbers;
}

} // namespace

TEST_F(FileExercise, EachPlaneOfAGoodFileHasItsChecksum) {
    file::RawImageFile accessor;
    open(accessor, 2, std::string(20, 'a') + std::string(20, 'b'));
    tool::Exercise const exercise = exerciseFile(accessor);
    ASSERT_THAT(getPlanes(exercise), ElementsAre(0, 1));
    EXPECT_EQ(exercise.planes[0].checksum, 0x266F8BCEU); // CRC-32 of twenty a
    EXPECT_NE(exercise.planes[1].checksum, exercise.planes[0].checksum);
    EXPECT_THAT(describeDamage(exercise), IsEmpty());
}

TEST_F(FileExercise, OfManyPlanesTheFirstAndTheLastOnesAreRead) {
    file::RawImageFile accessor;
    open(accessor, 9, countingBytes(180));
    tool::ExerciseLimits limits;
    limits.nbPlanes = 4;
    EXPECT_THAT(getPlanes(exerciseFile(accessor, limits)), ElementsAre(0, 1, 7, 8));
}

TEST_F(FileExercise, AnAnnouncementOfMorePlanesThanAnyoneReadsIsNotWalked) {
    writeFile(_folder / "in.raw", "");
    file::RawImageFile accessor; // pixels without a type take no bytes
    ASSERT_THAT(accessor.openFile(_folder / "in.raw", eIAM_ReadOnly, 0,
                                  *geometry3d(eIBT_None, 1, 1, vlUInt64{1} << 60U)),
                Succeeds());
    EXPECT_EQ(exerciseFile(accessor).planes.size(), tool::ExerciseLimits().nbPlanes);
}

TEST_F(FileExercise, NoPlaneIsBegunOnceEnoughWasRead) {
    file::RawImageFile accessor;
    open(accessor, 9, countingBytes(180));
    tool::ExerciseLimits limits;
    limits.fileBytes = 50;
    EXPECT_THAT(getPlanes(exerciseFile(accessor, limits)), ElementsAre(0, 1, 2));
}

TEST_F(FileExercise, WhatIsThrownBeforeAPlaneEndsIt) {
    file::RawImageFile accessor;
    open(accessor, 3, countingBytes(60));
    tool::ExerciseLimits limits;
    unsigned int nbCalls = 0;
    limits.beforePlane = [&] { ++nbCalls; };
    exerciseFile(accessor, limits);
    EXPECT_EQ(nbCalls, 6U); // each plane is read anew through a second accessor
    limits.beforePlane = [&] {
        if (--nbCalls == 4) {
            throw std::runtime_error("enough");
        }
    };
    EXPECT_THROW(exerciseFile(accessor, limits), std::runtime_error);
}

TEST_F(FileExercise, OfALargePlaneOnlyRunsAreRead) {
    file::RawImageFile accessor;
    open(accessor, 1, countingBytes(20));
    tool::ExerciseLimits limits;
    limits.planeBytes = 19;
    tool::Exercise const exercise = exerciseFile(accessor, limits);
    ASSERT_EQ(exercise.planes.size(), 1U);
    EXPECT_EQ(exercise.planes[0].checksum, 0U);
    EXPECT_THAT(describeDamage(exercise), IsEmpty());
}

TEST_F(FileExercise, PlanesThatCannotBeReadAreCountedAndListed) {
    file::RawImageFile accessor;
    open(accessor, 3, countingBytes(60));
    boost::filesystem::resize_file(_folder / "in.raw", 30);
    EXPECT_THAT(
        describeDamage(exerciseFile(accessor)),
        ElementsAre(
            HasSubstr(
                "of 3 planes tried 2 cannot be read: plane z=1 c=0 t=0, plane z=2 c=0 t=0; the first one: "),
            HasSubstr("the file cannot be opened again from an archive: ")));
}

TEST_F(FileExercise, RunsThatAreNotThePixelsOfThePlaneAreContradictions) {
    LyingFile accessor(LyingFile::eLie::Pixels);
    open(accessor, 1, countingBytes(20));
    EXPECT_THAT(exerciseFile(accessor).contradictions,
                ElementsAre("pixels 0 to 0 of plane z=0 c=0 t=0 are others than those of the whole plane",
                            "pixels 19 to 19 of plane z=0 c=0 t=0 are others than those of the whole plane",
                            "pixels 7 to 12 of plane z=0 c=0 t=0 are others than those of the whole plane"));
    tool::ExerciseLimits limits;
    limits.bComparesRuns = false;
    EXPECT_THAT(exerciseFile(accessor, limits).contradictions, IsEmpty());
}

TEST_F(FileExercise, RunsThatFailInAPlaneThatCanBeReadAreContradictions) {
    LyingFile accessor(LyingFile::eLie::Failure);
    open(accessor, 1, countingBytes(20));
    std::vector<std::string> const contradictions = exerciseFile(accessor).contradictions;
    ASSERT_EQ(contradictions.size(), 3U);
    EXPECT_EQ(contradictions[0],
              "pixels 0 to 0 of plane z=0 c=0 t=0 cannot be read, and the plane can: no run");
}

} // namespace velmo::test
