// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultedCalls.h"
#include "Im6Sample.h"
#include "Processes.h"
#include "TemporaryFolder.h"

#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/Im6ImageFileUtils.h>
#include <VELMOUtil/BaseException.h>
#include <gtest/gtest.h>

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

} // namespace velmo::test
