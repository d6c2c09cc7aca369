// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CpuTime.h"
#include "TiffFixture.h"

namespace velmo::image::file {

namespace {

class TiffDirectoryChain : public TiffTest {
  protected:
    std::chrono::nanoseconds measureOpening(std::vector<RawDirectory> const& directories) const {
        writeRawTiff(_path, directories);
        return test::measureCpuTime([&] {
            OpenedTiff const file(_path, {eIAM_ReadOnly, eTDM_Volume});
            ASSERT_THAT(file.result, Succeeds());
            EXPECT_EQ(file.pGeometry->getSizeZ(), directories.size());
        });
    }
};

} // namespace

// Walked on to the greatest number of directories it would give the same planes.
TEST_F(TiffDirectoryChain, ThatComesBackIsWalkedOnce) {
    std::vector<RawDirectory> directories = {greyDirectory(), greyDirectory(), greyDirectory()};
    std::chrono::nanoseconds const timeOfSoundChain = measureOpening(directories);
    for (std::uint64_t const place : findDirectories(directories)) {
        directories[2].next = place;
        EXPECT_LE(measureOpening(directories), 10 * timeOfSoundChain + std::chrono::milliseconds(5));
    }
}

} // namespace velmo::image::file
