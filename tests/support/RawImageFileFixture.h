// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "PlainFiles.h"

#include <VELMOImageFile/RawImageFile.h>

namespace velmo::image::file {

// The planes of the example behind an offset of 16 begin at 16, 40, 64 and 88 and end at 112.
constexpr vlUInt64 g_exampleOffset = 16;
constexpr vlUInt64 g_exampleEnd = 112;

ImageGeometryPtr makeHeterogeneousGeometry(std::vector<eImageBufferType> const& bufferTypes,
                                           Sizes const& sizes);

/// A folder of its own and a path in it where no file is yet.
class RawImageFileTest : public testing::Test, public PlainTexts {
  protected:
    RawImageFileTest() : PlainTexts("raw") {}
    /// Opens what the example describes, in a file of counting bytes.
    void openExample(RawImageFile& file, eImageAccessMode accessMode) const;
    /// Makes the file with these sizes and no content.
    void makeSparseFile(vlUInt64 nbBytes) const;
    static std::string headerFailed(path const& path, std::string const& reason);

    velmo::test::TemporaryFolder const _folder;
    path const _path = _folder / "planes.raw";
};

} // namespace velmo::image::file
