// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "CapturedLog.h"
#include "Im6Sample.h"
#include "Processes.h"
#include "Results.h"
#include "TemporaryFolder.h"
#include "ThrownText.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/Im6ImageFile.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmo::image::file {

using boost::filesystem::path;
using velmo::test::asOrdinaryUser;
using velmo::test::CapturedLog;
using velmo::test::countDescriptors;
using velmo::test::countingBytes;
using velmo::test::FailsWith;
using velmo::test::g_calibrationText;
using velmo::test::g_im6CalibrationBytes;
using velmo::test::g_im6HeaderBytes;
using velmo::test::g_im6UnitBytes;
using velmo::test::g_noSuchUser;
using velmo::test::Im6Calibration;
using velmo::test::Im6Sample;
using velmo::test::inChild;
using velmo::test::inOtherThread;
using velmo::test::makeIm6Sequence;
using velmo::test::onThreads;
using velmo::test::readFile;
using velmo::test::Succeeds;
using velmo::test::thrownText;
using velmo::test::writeFile;

constexpr eImageAccessMode g_accessModeOne = static_cast<eImageAccessMode>(1);
constexpr eImageAccessMode g_accessModes[] = {eIAM_ReadOnly, g_accessModeOne, eIAM_ReadWrite};
constexpr vlUInt64 g_largest = NumericLimits<vlUInt64>::s_max;
inline std::string const g_invalidFormat = "The image file is not of the expected format";

/// A run of pixels of one plane.
struct PixelRun {
    vlUInt64 z = 0;
    vlUInt64 c = 0;
    vlUInt64 t = 0;
    vlUInt64 start = 0;
    vlUInt64 count = 1;
};

// The texts of the failures.
std::string openFailed(path const& path);
std::string reserveFailed(vlUInt64 required, path const& path);
/// `required` is the whole of the file that the header asks for.
std::string geometryExceeds(vlUInt64 required, vlUInt64 fileSize, path const& path);
std::string seekFailed(path const& path, PixelRun const& run);
std::string readFailed(path const& path, PixelRun const& run);
std::string invalidPlane(PixelRun const& run);

/// The pixels of a run, whose reading must succeed.
std::string readPixels(Im6ImageFile const& file, PixelRun const& run);
/// Reading into and writing from a buffer of 4 KB.
BoolResult tryRead(Im6ImageFile const& file, PixelRun const& run);
BoolResult tryWrite(Im6ImageFile& file, PixelRun const& run);

/// A folder of its own and a path in it where no file is yet.
class Im6ImageFileTest : public testing::Test {
  protected:
    /// Writes a file and opens it.
    void open(Im6Sample const& sample, Im6ImageFile& file, eImageAccessMode accessMode = eIAM_ReadOnly) const;
    /// Writes bytes, and expects their opening to be refused in each mode; the file is as it was.
    void expectTooShort(std::string const& bytes, vlUInt64 required) const;

    velmo::test::TemporaryFolder const _folder;
    path const _path = _folder / "image.im6";
};

} // namespace velmo::image::file
