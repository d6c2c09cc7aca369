// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "RawImageFileFixture.h"

#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>

namespace velmo::image::file {

ImageGeometryPtr makeHeterogeneousGeometry(std::vector<eImageBufferType> const& bufferTypes,
                                           Sizes const& sizes) {
    ImageGeometryPtr const pModel = makeGeometry(bufferTypes.front(), sizes);
    auto pGeometry = boost::make_shared<HeterogeneousImageGeometry>();
    pGeometry->init(pModel->getVolumeGeometry(), pModel->getColorGeometry(), pModel->getTemporalGeometry(),
                    sizes.x, sizes.y, bufferTypes);
    return pGeometry;
}

void RawImageFileTest::openExample(RawImageFile& file, eImageAccessMode accessMode) const {
    writeFile(_path, countingBytes(g_exampleEnd));
    ASSERT_THAT(file.openFile(_path, accessMode, g_exampleOffset, *makeExampleGeometry()), Succeeds());
}

void RawImageFileTest::makeSparseFile(vlUInt64 nbBytes) const {
    writeFile(_path, "");
    boost::filesystem::resize_file(_path, nbBytes);
}

std::string RawImageFileTest::headerFailed(path const& path, std::string const& reason) {
    return "Failed to write file header for file " + path.string() + "\n" + reason;
}

} // namespace velmo::image::file
