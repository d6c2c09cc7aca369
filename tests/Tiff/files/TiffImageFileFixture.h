// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ArchiveKind.h"
#include "planes/TiffPlaneFixture.h"

#include <VELMOImageFile/TiffImageFile.h>

namespace velmo::image::file {

PixelRun wholePlane(TiffImageFile const& file, vlUInt64 z = 0, vlUInt64 c = 0, vlUInt64 t = 0);

BoolResult tryRead(TiffImageFile const& file, PixelRun const& run);
BoolResult tryWrite(TiffImageFile& file, PixelRun const& run);
/// The pixels of a run, whose reading must succeed.
std::string readPixels(TiffImageFile const& file, PixelRun const& run);
void writePixels(TiffImageFile& file, PixelRun const& run, std::string const& pixels);

BoolResult openFile(TiffImageFile& file, path const& path, OpenRequest const& request = {});

/// What every access says once a failure closed the file.
std::string closedEarlier(path const& path);
/// To the line feed before libtiff's words.
std::string openFailed(path const& path);

/// A file of this module: 4 x 3 pixels of 16 bits, two planes, two channels, two time steps.
class TiffImageFileTest : public TiffTest {
  protected:
    TiffImageFileTest() : _pGeometry(makeGeometry(eIBT_UInt16, {4, 3, 2, 2, 2})) {}

    static std::string examplePlane(vlUInt64 z, vlUInt64 c, vlUInt64 t);
    void writeExample(path const& path) const;
    void openExample(TiffImageFile& file, eImageAccessMode access = eIAM_ReadOnly) const;
    static void expectExample(TiffImageFile const& file);

    ImageGeometryPtr const _pGeometry;
    std::string _userProperties = "untouched";
};

} // namespace velmo::image::file
