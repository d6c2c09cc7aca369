// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultedCalls.h"
#include "Im6Sample.h"
#include "Processes.h"
#include "TemporaryFolder.h"
#include "Tiff/TiffImageFileTools.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/Im6ImageFileUtils.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOUtil/BaseException.h>
#include <gtest/gtest.h>
#include <tiffio.h>

namespace velmo::test {

using namespace image;
using namespace image::file;

namespace {

/// An Im6 file with a text of three pieces, in the second of which a calibration is announced: its opening
/// reads the header, the first piece, the second one, the last byte of the text and the record.
class RefusedIm6Read : public testing::Test {
  protected:
    RefusedIm6Read() : _path(_folder / "image.im6") {
        Im6Sample sample = makeIm6Sequence();
        sample.text = std::string(70000, 't') + g_calibrationText + std::string(80000, 't');
        sample.calibration.emplace();
        sample.write(_path);
    }

    /// What the opening says where calls fail, and what it leaves.
    std::string refuseOpening(eImageAccessMode accessMode, Faults const& faults) const {
        return inChild([&] {
            Im6ImageFile file;
            velmoArmFaults(faults.calls, faults.at, faults.mode);
            BoolResult const result = file.openFile(_path, accessMode);
            velmoDisarmFaults();
            std::string const text = result ? "opened" : result.getMessage();
            return text + (file.isInit() ? ", with a file" : "") +
                   (file.getGeometricCalibrationConstPtr() ? ", calibrated" : "") +
                   (countDescriptors(_path) == 0 ? "" : ", with a handle");
        });
    }

    TemporaryFolder _folder;
    boost::filesystem::path _path;
};

constexpr long g_nbReads = 5;

} // namespace

TEST_F(RefusedIm6Read, OfHeaderTextOrRecordIsAFailedOpening) {
    std::string const refused = "Failed to open im6 image file " + _path.string();
    std::string const opened = "opened, with a file, calibrated, with a handle";
    for (eImageAccessMode const accessMode : {eIAM_ReadOnly, eIAM_ReadWrite}) {
        for (eFaultMode const mode : {eFM_FailOnce, eFM_FailFromThere}) {
            for (long read = 1; read <= g_nbReads; ++read) {
                EXPECT_EQ(refuseOpening(accessMode, {eFC_Read, mode, read}), refused) << "read " << read;
            }
            EXPECT_EQ(refuseOpening(accessMode, {eFC_Read, mode, g_nbReads + 1}), opened);
        }
    }
}

TEST_F(RefusedIm6Read, OrASeekToTheRecordOrToTheEndIsAFailedOpening) {
    std::string const refused = "Failed to open im6 image file " + _path.string();
    for (long const seek : {5, 6}) { // behind four to the text, in it and back
        EXPECT_EQ(refuseOpening(eIAM_ReadOnly, {eFC_Look, eFM_FailOnce, seek}), refused) << "seek " << seek;
    }
}

TEST_F(RefusedIm6Read, IsTheLoadError) {
    for (long read = 1; read <= g_nbReads; ++read) {
        std::string const text = inChild([&]() -> std::string {
            velmoArmFaults(eFC_Read, read, eFM_FailOnce);
            try {
                loadIm6ImageFile(_path);
            } catch (BaseException const& failure) {
                velmoDisarmFaults();
                return failure.what();
            }
            return "loaded";
        });
        EXPECT_EQ(text, "Error while loading im6 image file \"" + _path.string() +
                            "\"\nFailed to open im6 image file " + _path.string())
            << "read " << read;
    }
}

namespace {

/// A file of another program with three directories that do not fit into one read.
void writeForeignFile(boost::filesystem::path const& path) {
    TIFF* const pTiff = TIFFOpen(path.c_str(), "w");
    for (unsigned int page = 0; page < 3; ++page) {
        std::vector<unsigned char> pixels(64 * 300, static_cast<unsigned char>(page));
        TIFFSetField(pTiff, TIFFTAG_IMAGEWIDTH, 64);
        TIFFSetField(pTiff, TIFFTAG_IMAGELENGTH, 300);
        TIFFSetField(pTiff, TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(pTiff, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(pTiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(pTiff, TIFFTAG_ROWSPERSTRIP, 300);
        TIFFWriteEncodedStrip(pTiff, 0, pixels.data(), 64 * 300);
        TIFFWriteDirectory(pTiff);
    }
    TIFFClose(pTiff);
}

} // namespace

TEST(RefusedTiffRead, AFailureAtTheEndOfAnOpeningLeavesNoGeometry) {
    TemporaryFolder const folder;
    boost::filesystem::path const path = folder / "image.tif";
    writeForeignFile(path);
    std::string const outcome = inChild([&]() -> std::string {
        unsigned int nbFailures = 0;
        bool bEnded = false;
        for (long read = 1; !bEnded && read < 100; ++read) {
            TIFF* pTiff = nullptr;
            ImageGeometryPtr pGeometry = geometry3d(eIBT_UInt8, 1, 1, 1);
            GeometricCalibrationPtr pCalibration;
            velmoArmFaults(eFC_Read, read, eFM_FailOnce);
            BoolResult const result = openTiffFile(path, eIAM_ReadOnly, eTDM_Volume, eTBM_Default, pTiff,
                                                   pGeometry, pCalibration, nullptr);
            bEnded = velmoDisarmFaults() < read;
            if (!result && (pTiff != nullptr || pGeometry || pCalibration)) {
                return "read " + std::to_string(read) + " leaves something: " + result.getMessage();
            }
            if (result && (!pGeometry || pGeometry->getSizeZ() != 3)) {
                return "read " + std::to_string(read) + " gives another geometry";
            }
            nbFailures += result ? 0 : 1;
            if (pTiff != nullptr) {
                TIFFClose(pTiff);
            }
        }
        return nbFailures >= 2 ? "sound" : "only " + std::to_string(nbFailures) + " failures";
    });
    EXPECT_EQ(outcome, "sound");
}

} // namespace velmo::test
