// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultedCalls.h"
#include "Im6Sample.h"
#include "Processes.h"
#include "TemporaryFolder.h"
#include "Tiff/TiffImageFileTools.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/Im6ImageFileUtils.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOUtil/BaseException.h>
#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>
#include <tiffio.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

constexpr char const* g_earlier = "earlier";

/// Saves with options over an old file.
class FaultedRawSave : public testing::TestWithParam<bool> {
  protected:
    FaultedRawSave() : _path(_folder / "image.raw") {
        _options.fileHeader = "header";
        _options.bReplaceWhenWhole = GetParam();
    }

    void save(fs::path const& path) const { saveRawImageFile(path, _sample.pImage, _options); }

    /// The outcome of a save with a fault, and what it leaves.
    std::string saveOver(Faults const& faults) const {
        writeFile(_path, g_earlier);
        return inChild([&] {
            FaultSample sample = _sample;
            sample.save = [this](fs::path const& path) { save(path); };
            std::string const outcome = describeSave(withFaults(sample, faults), _path);
            bool const bOld = readFile(_path) == g_earlier;
            auto const nbFiles = std::distance(fs::directory_iterator(_folder.getPath()), {});
            return outcome +
                   (bOld                                     ? ", old file"
                    : describeLoad(_sample, _path) == "done" ? ", new file"
                                                             : "") +
                   (nbFiles == 1 ? "" : ", rest");
        });
    }

    Tally tally(unsigned int calls, eFaultMode mode) const {
        writeFile(_path, g_earlier);
        Tally outcomes;
        long const nbCalls = countCalls(calls, [this] { save(_path); });
        for (long at = 1; at <= nbCalls; ++at) {
            outcomes[saveOver({calls, mode, at})].push_back(at);
        }
        return outcomes;
    }

    /// What may be left where a save fails.
    std::set<std::string> getOutcomes() const {
        return GetParam() ? std::set<std::string>{"done, new file", "raised, old file"}
                          : std::set<std::string>{"done, new file", "raised, old file", "raised",
                                                  "raised, new file"};
    }

    TemporaryFolder _folder;
    fs::path _path;
    FaultSample _sample = makeRawSample();
    RawWriteOptions _options;
};

} // namespace

TEST_P(FaultedRawSave, AWriteThatFailsIsTheSaveErrorAndASavedFileIsWhole) {
    for (eFaultMode const mode : {eFM_FailOnce, eFM_FailFromThere}) {
        Tally const outcomes = tally(eFC_Write, mode);
        expectOnly(outcomes, getOutcomes());
        EXPECT_EQ(outcomes.count("done, new file"), 0U);
    }
}

TEST_P(FaultedRawSave, AnInterruptedWriteIsDoneAgain) {
    expectOnly(tally(eFC_Write, eFM_Interrupt), {"done, new file"});
}

TEST_P(FaultedRawSave, AnOpenThatFailsIsTheSaveErrorAndLeavesTheOldFile) {
    expectOnly(tally(eFC_Open, eFM_FailOnce), {"raised, old file"});
}

// The last close is behind the end of the save.
TEST_P(FaultedRawSave, ACloseThatFailsIsTheSaveError) {
    Tally outcomes = tally(eFC_Close, eFM_FailOnce);
    expectOnly(outcomes, getOutcomes());
    std::size_t const nbRaised =
        GetParam() ? outcomes["raised, old file"].size() : outcomes["raised, new file"].size();
    EXPECT_GE(nbRaised, GetParam() ? 2U : 1U);
}

TEST_P(FaultedRawSave, ALookAtTheFileThatFailsIsTheSaveErrorOrWasNotNeeded) {
    expectOnly(tally(eFC_Look, eFM_FailOnce), getOutcomes());
}

TEST_P(FaultedRawSave, AnAllocationThatFailsLeavesTheOldFile) {
    std::set<std::string> outcomes = getOutcomes();
    outcomes.insert("no memory, old file");
    if (!GetParam()) {
        outcomes.insert({"no memory", "no memory, new file"});
    }
    expectOnly(tally(eFC_Allocate, eFM_FailOnce), outcomes);
    expectOnly(tally(eFC_Allocate, eFM_FailFromThere), outcomes);
}

TEST(FaultedRawOpen, AFileWhoseSizeCannotBeReadIsNotOpened) {
    TemporaryFolder const folder;
    fs::path const path = folder / "image.raw";
    FaultSample const sample = makeRawSample();
    saveRawImageFile(path, sample.pImage, RawWriteOptions());
    for (eImageAccessMode const accessMode : {eIAM_ReadOnly, eIAM_ReadWrite}) {
        long const nbLooks = 2;
        for (long at = 1; at <= nbLooks; ++at) {
            RawImageFile file;
            velmoArmFaults(eFC_Look, at, eFM_FailOnce);
            BoolResult const result = file.openFile(path, accessMode, 0, sample.pImage->getGeometry());
            EXPECT_GE(velmoDisarmFaults(), at);
            EXPECT_EQ(result.getMessage(), "Failed to open raw image file " + path.string()) << at;
            EXPECT_FALSE(file.isInit());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Ways, FaultedRawSave, testing::Bool(),
                         [](testing::TestParamInfo<bool> const& parameter) {
                             return parameter.param ? "replaced_when_whole" : "in_place";
                         });

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
