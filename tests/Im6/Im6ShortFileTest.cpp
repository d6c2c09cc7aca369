// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6ImageFileFixture.h"

#include <VELMOImage/VELMOImageLog.h>

namespace velmo::image::file {

namespace {

constexpr vlUInt64 g_endOfPlanes = 164;
constexpr PixelRun g_firstPlane = {0, 0, 0, 0, 2};

/// A sequence with a text, two more blocks and a calibration. The planes end at 164, the text at 176, the
/// blocks at 188, the record at 4612.
Im6Sample makeFullSample() {
    Im6Sample sample = makeIm6Sequence();
    sample.text = g_calibrationText;
    sample.secondBlock = countingBytes(5);
    sample.thirdBlock = countingBytes(7);
    sample.calibration.emplace();
    return sample;
}

class Im6ShortFile : public Im6ImageFileTest {
  protected:
    /// Bytes whose opening succeeds with a stream that has failed: the opening thread reads nothing.
    void expectOpenAndFailed(std::string const& bytes) const {
        writeFile(_path, bytes);
        for (eImageAccessMode const accessMode : g_accessModes) {
            Im6ImageFile file;
            ASSERT_THAT(file.openFile(_path, accessMode), Succeeds());
            EXPECT_TRUE(file.isInit());
            EXPECT_FALSE(file.getGeometricCalibrationConstPtr());
            EXPECT_THAT(tryRead(file, g_firstPlane), FailsWith(seekFailed(_path, g_firstPlane)));
            EXPECT_THAT(tryRead(file, g_firstPlane), FailsWith(seekFailed(_path, g_firstPlane)));
        }
        EXPECT_EQ(readFile(_path), bytes);
    }

    /// What the planes give on threads whose streams are fresh, where the file ends at `size`.
    void expectPlanesThatAreThere(vlUInt64 size) const {
        Im6ImageFile file;
        ASSERT_THAT(file.openFile(_path, eIAM_ReadOnly), Succeeds());
        for (vlUInt64 plane = 0; plane < 12; ++plane) {
            PixelRun const run = {plane % 2, plane / 2 % 3, plane / 6, 0, 2};
            inOtherThread([&] {
                if (116 + 4 * (plane + 1) <= size) {
                    EXPECT_EQ(readPixels(file, run),
                              countingBytes(4, static_cast<unsigned int>(1 + 4 * plane)));
                } else {
                    EXPECT_THAT(tryRead(file, run), FailsWith(readFailed(_path, run)));
                }
            });
            file.clearDerived(); // a later thread may have the id of this one
        }
    }
};

// In the header

TEST_F(Im6ShortFile, AFileThatEndsInsideOfTheMagicNumbersTwoBytesIsNoIm6File) {
    std::string const bytes = makeFullSample().toBytes();
    for (std::size_t size = 0; size < 2; ++size) {
        writeFile(_path, bytes.substr(0, size));
        for (eImageAccessMode const accessMode : g_accessModes) {
            Im6ImageFile file;
            EXPECT_EQ(thrownText<VELMOImageException>([&] { file.openFile(_path, accessMode); }),
                      g_invalidFormat);
            EXPECT_FALSE(file.isInit());
            EXPECT_EQ(countDescriptors(_path), 0U);
        }
    }
}

TEST_F(Im6ShortFile, AFileThatEndsInsideOfTheHeaderOpensWithTheSizesThatAreThere) {
    std::string const bytes = makeFullSample().toBytes();
    struct {
        std::size_t size;
        char const* geometry;
    } const cases[] = {{2, "x=0 y=0 z=0 c=3 t=0 eIBT_Real32"},  {4, "x=0 y=0 z=0 c=3 t=0 eIBT_Real32"},
                       {5, "x=2 y=0 z=0 c=3 t=0 eIBT_Real32"},  {8, "x=2 y=0 z=0 c=3 t=0 eIBT_Real32"},
                       {12, "x=2 y=1 z=0 c=3 t=0 eIBT_Real32"}, {16, "x=2 y=1 z=2 c=3 t=0 eIBT_Real32"},
                       {24, "x=2 y=1 z=2 c=3 t=2 eIBT_Real32"}, {52, "x=2 y=1 z=2 c=3 t=2 eIBT_Real32"},
                       {53, "x=2 y=1 z=2 c=3 t=2 eIBT_UInt16"}, {115, "x=2 y=1 z=2 c=3 t=2 eIBT_UInt16"}};
    for (auto const& entry : cases) {
        writeFile(_path, bytes.substr(0, entry.size));
        Im6ImageFile file;
        ASSERT_THAT(file.openFile(_path, eIAM_ReadOnly), Succeeds()) << entry.size;
        EXPECT_EQ(describeGeometry(file.getGeometry()), entry.geometry) << entry.size;
    }
}

TEST_F(Im6ShortFile, AFileThatEndsInsideOfTheHeaderBehindItsSizesFailsAtTheFirstRead) {
    for (Im6Sample const& sample : {makeFullSample(), makeIm6Sequence()}) { // with a text and without
        std::string const bytes = sample.toBytes();
        for (std::size_t size = 21; size < g_im6HeaderBytes; size += 3) {
            SCOPED_TRACE(size);
            expectOpenAndFailed(bytes.substr(0, size));
        }
        expectOpenAndFailed(bytes.substr(0, g_im6HeaderBytes - 1));
    }
}

TEST_F(Im6ShortFile, AFileThatEndsBeforeTheNumberOfTimePointsHasNoneToRead) {
    std::string const bytes = makeFullSample().toBytes();
    for (std::size_t size = 2; size <= 20; ++size) {
        writeFile(_path, bytes.substr(0, size));
        for (eImageAccessMode const accessMode : g_accessModes) {
            Im6ImageFile file;
            ASSERT_THAT(file.openFile(_path, accessMode), Succeeds()) << size;
            EXPECT_EQ(thrownText<VELMOImageException>([&] { tryRead(file, g_firstPlane); }),
                      "Time step 0 lies outside of an image of 0 time steps");
        }
    }
}

// In the planes

TEST_F(Im6ShortFile, WithoutATextAFileThatEndsInsideOfThePlanesIsRefused) {
    std::string const bytes = makeIm6Sequence().toBytes();
    for (std::size_t size = g_im6HeaderBytes; size < g_endOfPlanes; ++size) {
        SCOPED_TRACE(size);
        expectTooShort(bytes.substr(0, size), g_endOfPlanes);
    }
}

TEST_F(Im6ShortFile, WithATextAFileThatEndsInsideOfThePlanesOpensAndOtherThreadsReadWhatIsThere) {
    std::string const bytes = makeFullSample().toBytes();
    for (std::size_t size = g_im6HeaderBytes; size <= g_endOfPlanes; size += 6) {
        SCOPED_TRACE(size);
        expectOpenAndFailed(bytes.substr(0, size));
        expectPlanesThatAreThere(size);
    }
}

// In the text

TEST_F(Im6ShortFile, AFileThatEndsInsideOfTheTextOpensAndOtherThreadsReadAllPlanes) {
    std::string const bytes = makeFullSample().toBytes();
    for (std::size_t size = g_endOfPlanes; size < g_endOfPlanes + 12; ++size) {
        SCOPED_TRACE(size);
        expectOpenAndFailed(bytes.substr(0, size));
    }
    expectPlanesThatAreThere(g_endOfPlanes);
}

// The word stands before the cut, and what is left of the text is not searched any more.
TEST_F(Im6ShortFile, ATextThatIsCutBehindItsWordHasNoCalibration) {
    Im6Sample sample = makeIm6Sequence();
    sample.text = g_calibrationText + std::string(200000, 'x');
    std::string const bytes = sample.toBytes();
    for (std::size_t const missing : {1U, 2U, 70000U, 200000U}) {
        SCOPED_TRACE(missing);
        expectOpenAndFailed(bytes.substr(0, bytes.size() - missing));
    }
}

// Behind the text

TEST_F(Im6ShortFile, AFileThatEndsInsideOfTheOtherBlocksIsRefused) {
    Im6Sample sample = makeFullSample();
    sample.text = "no word\0";
    sample.calibration.reset();
    std::string const bytes = sample.toBytes();
    for (std::size_t size = g_endOfPlanes + sample.text.size(); size < bytes.size(); ++size) {
        SCOPED_TRACE(size);
        expectTooShort(bytes.substr(0, size), bytes.size());
    }
}

TEST_F(Im6ShortFile, AFileThatAnnouncesACalibrationAndEndsBeforeItsRecordIsRefused) {
    std::string const bytes = makeFullSample().toBytes();
    ASSERT_EQ(bytes.size(), 4612U);
    for (std::size_t const size : {176U, 177U, 187U, 188U, 189U, 4500U, 4611U}) {
        SCOPED_TRACE(size);
        expectTooShort(bytes.substr(0, size), 4612);
    }
    Im6Sample sample = makeFullSample();
    sample.text.clear(); // other blocks alone
    for (vlUInt64 const size : {g_im6HeaderBytes, vlUInt64(140), g_endOfPlanes - 1, g_endOfPlanes}) {
        expectTooShort(sample.toBytes().substr(0, size), g_endOfPlanes + 12);
    }
}

// Long enough

TEST_F(Im6ShortFile, AFileOfExactlyItsSizeAndALongerOneOpenInAnyMode) {
    Im6Sample sample = makeFullSample();
    for (std::string const& trailer : {std::string(), std::string("x"), std::string(10000, 'x')}) {
        sample.trailer = trailer;
        for (eImageAccessMode const accessMode : g_accessModes) {
            Im6ImageFile file;
            open(sample, file, accessMode);
            EXPECT_TRUE(file.getGeometricCalibrationConstPtr());
            EXPECT_EQ(readPixels(file, {1, 2, 1, 0, 2}), countingBytes(4, 45));
        }
    }
}

} // namespace

} // namespace velmo::image::file
