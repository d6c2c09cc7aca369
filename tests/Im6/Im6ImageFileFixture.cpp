// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6ImageFileFixture.h"

namespace velmo::image::file {

void Im6ImageFileTest::open(Im6Sample const& sample, Im6ImageFile& file, eImageAccessMode accessMode) const {
    sample.write(_path);
    ASSERT_THAT(file.openFile(_path, accessMode), Succeeds());
}

void Im6ImageFileTest::expectTooShort(std::string const& bytes, vlUInt64 required) const {
    writeFile(_path, bytes);
    for (eImageAccessMode const accessMode : g_accessModes) {
        Im6ImageFile file;
        std::string const text = accessMode == eIAM_ReadOnly ? geometryExceeds(required, bytes.size(), _path)
                                                             : reserveFailed(required, _path);
        EXPECT_THAT(file.openFile(_path, accessMode), FailsWith(text));
        EXPECT_FALSE(file.isInit());
        EXPECT_EQ(countDescriptors(_path), 0U);
    }
    EXPECT_EQ(readFile(_path), bytes);
}

std::string Im6ImageFileTest::geometryExceeds(vlUInt64 required, vlUInt64 fileSize, path const& path) const {
    return PlainTexts::geometryExceeds(required - g_im6HeaderBytes, g_im6HeaderBytes, fileSize, path);
}

} // namespace velmo::image::file
