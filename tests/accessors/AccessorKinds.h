// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "PlainFiles.h"

#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/TiffImageFile.h>

namespace velmo::image::file {

/// What differs between the accessors. Files of any kind hold the planes of a geometry of 16 bits one after
/// the other, as bytes that count from 17.
struct RawKind {
    using File = RawImageFile;
    static constexpr char const* s_format = "raw";
    static constexpr char const* s_class = "velmo::image::file::RawImageFile";
    static constexpr unsigned int s_version = 2;
    static constexpr bool s_bPlain = true;
    static constexpr bool s_bWrites = true;
    static void write(path const& path, BaseImageGeometry const& geometry);
    static BoolResult open(File& file, path const& path, eImageAccessMode access,
                           BaseImageGeometry const& geometry);
    static BoolResult openShared(File& file, path const& path, BaseImageGeometry const& geometry);
    static BoolResult create(File& file, path const& path, BaseImageGeometry const& geometry);
    /// Behind the version in a binary record, of an accessor without a file and of the example.
    static std::string getEnd(bool bFile);
};

struct Im6Kind {
    using File = Im6ImageFile;
    static constexpr char const* s_format = "im6";
    static constexpr char const* s_class = "velmo::image::file::Im6ImageFile";
    static constexpr unsigned int s_version = 1;
    static constexpr bool s_bPlain = true;
    static constexpr bool s_bWrites = false;
    static void write(path const& path, BaseImageGeometry const& geometry);
    static BoolResult open(File& file, path const& path, eImageAccessMode access,
                           BaseImageGeometry const& geometry);
    static BoolResult openShared(File& file, path const& path, BaseImageGeometry const& geometry);
    static std::string getEnd(bool bFile);
};

struct TiffKind {
    using File = TiffImageFile;
    static constexpr char const* s_format = "tiff";
    static constexpr char const* s_class = "velmo::image::file::TiffImageFile";
    static constexpr unsigned int s_version = 1;
    static constexpr bool s_bPlain = false; ///< one handle for all threads
    static constexpr bool s_bWrites = true;
    static void write(path const& path, BaseImageGeometry const& geometry);
    static BoolResult open(File& file, path const& path, eImageAccessMode access,
                           BaseImageGeometry const& geometry);
    static BoolResult openShared(File& file, path const& path, BaseImageGeometry const& geometry);
    static BoolResult create(File& file, path const& path, BaseImageGeometry const& geometry);
    static std::string getEnd(bool bFile);
};

using AllKinds = testing::Types<RawKind, Im6Kind, TiffKind>;
using PlainKinds = testing::Types<RawKind, Im6Kind>;

struct KindNames {
    template <class Kind>
    static std::string GetName(int /*index*/) {
        return Kind::s_format;
    }
};

/// The bytes of the `plane`-th plane of any file.
std::string planeBytes(vlUInt64 plane, vlUInt64 planeSize = 24);
/// The first pixels of the example are those that were written, by any thread's stream.
void expectExample(BaseDiskImageAccessor const& file);
constexpr char const* g_exampleText = "x=4 y=3 z=2 c=1 t=2 eIBT_UInt16";

/// A folder of its own, a path in it where no file is yet, and the texts of the failures.
template <class Kind>
class AccessorTest : public testing::Test, public PlainTexts {
  protected:
    using File = typename Kind::File;
    AccessorTest() : PlainTexts(Kind::s_format) {}

    /// Writes the example and opens it.
    void openExample(File& file, eImageAccessMode access = eIAM_ReadOnly) const {
        Kind::write(_path, *makeExampleGeometry());
        ASSERT_THAT(open(file, _path, access), Succeeds());
    }
    static BoolResult open(File& file, path const& path, eImageAccessMode access = eIAM_ReadOnly) {
        return Kind::open(file, path, access, *makeExampleGeometry());
    }
    static BoolResult openShared(File& file, path const& path) {
        return Kind::openShared(file, path, *makeExampleGeometry());
    }
    /// Descriptors on the file where so many threads have read it beside the one that opened it.
    static std::size_t countStreams(unsigned int nbThreads) { return Kind::s_bPlain ? 1 + nbThreads : 1; }
    /// An accessor that no longer has a file.
    void expectClosed(File const& file) const {
        EXPECT_FALSE(file.isInit());
        EXPECT_TRUE(file.getFilePath().empty());
        EXPECT_EQ(countDescriptors(_path), 0U);
    }

    velmo::test::TemporaryFolder const _folder;
    path const _path = _folder / "image";
};

} // namespace velmo::image::file
