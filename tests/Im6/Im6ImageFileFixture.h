// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "CapturedLog.h"
#include "Im6Sample.h"
#include "PlainFiles.h"

#include <VELMOImageFile/Im6ImageFile.h>

namespace velmo::image::file {

using velmo::test::CapturedLog;
using velmo::test::g_calibrationText;
using velmo::test::g_im6CalibrationBytes;
using velmo::test::g_im6HeaderBytes;
using velmo::test::g_im6UnitBytes;
using velmo::test::Im6Calibration;
using velmo::test::Im6Sample;
using velmo::test::makeIm6Sequence;

inline std::string const g_invalidFormat = "The image file is not of the expected format";

/// A folder of its own and a path in it where no file is yet.
class Im6ImageFileTest : public testing::Test, public PlainTexts {
  protected:
    Im6ImageFileTest() : PlainTexts("im6") {}
    /// Writes a file and opens it.
    void open(Im6Sample const& sample, Im6ImageFile& file, eImageAccessMode accessMode = eIAM_ReadOnly) const;
    /// Writes bytes, and expects their opening to be refused in each mode; the file is as it was.
    void expectTooShort(std::string const& bytes, vlUInt64 required) const;
    /// `required` is the whole of the file that the header asks for.
    std::string geometryExceeds(vlUInt64 required, vlUInt64 fileSize, path const& path) const;

    velmo::test::TemporaryFolder const _folder;
    path const _path = _folder / "image.im6";
};

} // namespace velmo::image::file
