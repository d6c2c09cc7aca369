// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ArchiveKind.h"
#include "Processes.h"
#include "Results.h"
#include "TemporaryFolder.h"
#include "ThrownText.h"

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImage/ImageGeometry.h>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace velmo::image::file {

using boost::filesystem::path;
using velmo::test::asOrdinaryUser;
using velmo::test::countDescriptors;
using velmo::test::countingBytes;
using velmo::test::FailsWith;
using velmo::test::g_noSuchUser;
using velmo::test::inChild;
using velmo::test::inOtherThread;
using velmo::test::onThreads;
using velmo::test::readFile;
using velmo::test::Succeeds;
using velmo::test::thrownText;
using velmo::test::writeFile;

constexpr eImageAccessMode g_accessModeOne = static_cast<eImageAccessMode>(1);
constexpr eImageAccessMode g_accessModes[] = {eIAM_ReadOnly, g_accessModeOne, eIAM_ReadWrite};
constexpr vlUInt64 g_largest = NumericLimits<vlUInt64>::s_max;

struct Sizes {
    vlUInt64 x = 1;
    vlUInt64 y = 1;
    vlUInt64 z = 1;
    vlUInt64 c = 1;
    vlUInt64 t = 1;
};

ImageGeometryPtr makeGeometry(eImageBufferType bufferType, Sizes const& sizes);
/// 4 x 3 pixels of 16 bits, two planes, two time steps: four planes of 24 bytes.
ImageGeometryPtr makeExampleGeometry();

/// A run of pixels of one plane.
struct PixelRun {
    vlUInt64 z = 0;
    vlUInt64 c = 0;
    vlUInt64 t = 0;
    vlUInt64 start = 0;
    vlUInt64 count = 1;
};

/// The pixels of a run, whose reading must succeed.
std::string readPixels(BaseDiskImageAccessor const& file, PixelRun const& run);
void writePixels(BaseDiskImageAccessor& file, PixelRun const& run, std::string const& bytes);
/// Reading into and writing from a buffer of 4 KB.
BoolResult tryRead(BaseDiskImageAccessor const& file, PixelRun const& run);
BoolResult tryWrite(BaseDiskImageAccessor& file, PixelRun const& run);

/// The texts of the failures of a format whose planes lie in the file as in memory.
class PlainTexts {
  public:
    /// `format` as the texts say it: "raw" or "im6".
    explicit PlainTexts(std::string format) : _format(std::move(format)) {}
    std::string createFailed(path const& path) const { return onFile("create", path); }
    std::string openFailed(path const& path) const { return onFile("open", path); }
    std::string reserveFailed(vlUInt64 end, path const& path) const;
    std::string geometryExceeds(vlUInt64 size, vlUInt64 offset, vlUInt64 fileSize, path const& path) const;
    std::string seekFailed(path const& path, PixelRun const& run) const;
    std::string readFailed(path const& path, PixelRun const& run) const;
    std::string writeFailed(path const& path, PixelRun const& run) const;
    static std::string invalidPlane(PixelRun const& run);

  private:
    std::string onFile(std::string const& verb, path const& path) const;
    std::string _format;
};

} // namespace velmo::image::file
