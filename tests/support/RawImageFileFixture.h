// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Processes.h"
#include "Results.h"
#include "TemporaryFolder.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/RawImageFile.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

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
using velmo::test::Succeeds;

constexpr eImageAccessMode g_accessModeOne = static_cast<eImageAccessMode>(1);
constexpr vlUInt64 g_largest = NumericLimits<vlUInt64>::s_max;

struct Sizes {
    vlUInt64 x = 1;
    vlUInt64 y = 1;
    vlUInt64 z = 1;
    vlUInt64 c = 1;
    vlUInt64 t = 1;
};

ImageGeometryPtr makeGeometry(eImageBufferType bufferType, Sizes const& sizes);
ImageGeometryPtr makeHeterogeneousGeometry(std::vector<eImageBufferType> const& bufferTypes,
                                           Sizes const& sizes);

/// Four planes of 24 bytes: behind an offset of 16 they begin at 16, 40, 64 and 88 and end at 112.
ImageGeometryPtr makeExampleGeometry();
constexpr vlUInt64 g_exampleOffset = 16;
constexpr vlUInt64 g_exampleEnd = 112;

/// A run of pixels of one plane.
struct PixelRun {
    vlUInt64 z = 0;
    vlUInt64 c = 0;
    vlUInt64 t = 0;
    vlUInt64 start = 0;
    vlUInt64 count = 1;
};

// The texts of the failures.
std::string createFailed(path const& path);
std::string openFailed(path const& path);
std::string headerFailed(path const& path, std::string const& reason);
std::string reserveFailed(vlUInt64 end, path const& path);
std::string geometryExceeds(vlUInt64 size, vlUInt64 offset, vlUInt64 fileSize, path const& path);
std::string seekFailed(path const& path, PixelRun const& run);
std::string readFailed(path const& path, PixelRun const& run);
std::string writeFailed(path const& path, PixelRun const& run);
std::string invalidPlane(PixelRun const& run);

/// Bytes of a run in memory.
vlUInt64 countBytes(RawImageFile const& file, PixelRun const& run);
/// The pixels of a run, whose reading must succeed.
std::string readPixels(RawImageFile const& file, PixelRun const& run);
void writePixels(RawImageFile& file, PixelRun const& run, std::string const& bytes);
/// Reading into and writing from a buffer of 4 KB.
BoolResult tryRead(RawImageFile const& file, PixelRun const& run);
BoolResult tryWrite(RawImageFile& file, PixelRun const& run);

/// What an exception says that `work` must throw.
template <class Exception, class Work>
std::string textThrownBy(Work const& work) {
    try {
        work();
    } catch (Exception const& exception) {
        return exception.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

/// A folder of its own and a path in it where no file is yet.
class RawImageFileTest : public testing::Test {
  protected:
    /// Opens what the example describes, in a file of counting bytes.
    void openExample(RawImageFile& file, eImageAccessMode accessMode) const;
    /// Makes the file with these sizes and no content.
    void makeSparseFile(vlUInt64 nbBytes) const;

    velmo::test::TemporaryFolder const _folder;
    path const _path = _folder / "planes.raw";
};

} // namespace velmo::image::file
