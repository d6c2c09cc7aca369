// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImageFile/TiffImageFileUtils.h>

namespace velmo::image::file {

namespace {

/// User properties as a file has them, or may not have them.
class TiffUserPropertiesTest : public TiffTest {
  protected:
    std::string getFailure() const {
        return "Error while setting tiff tag TIFFTAG_USERPROPERTIES for file " + _path.string() + "\n";
    }

    /// "saved", or the text of what the save throws.
    std::string trySave(std::string const& userProperties) const {
        ImagePtr pImage;
        EXPECT_THAT(ImageFactory::getInstance().createDefaultImage(*_pGeometry, pImage), Succeeds());
        pImage->setUserPropertiesStr(userProperties);
        try {
            saveTiffImageFile(_path, pImage, eTC_None);
            return "saved";
        } catch (std::exception const& exception) {
            return exception.what();
        }
    }

    ImageGeometryPtr const _pGeometry = makeGeometry(eIBT_UInt8, {4, 3});
    std::vector<std::string> const _withZero = {std::string(1, '\0'), std::string("\0<a/>", 5),
                                                std::string("<a>\0</a>", 8), std::string("<a/>\0", 5)};
};

} // namespace

TEST_F(TiffUserPropertiesTest, ACreationRefusesAZeroByte) {
    for (std::string const& userProperties : _withZero) {
        TIFF* pTiff = nullptr;
        writeFile(_path, "an old file");
        EXPECT_THAT(
            createTiffFile(_path, *_pGeometry, nullptr, userProperties, eTC_None, pTiff),
            FailsInWords(getFailure() + "The text holds a zero byte, which would end it in the file"));
        EXPECT_EQ(pTiff, nullptr);
        EXPECT_EQ(countDescriptors(_path), 0U);
        EXPECT_EQ(readFile(_path), "an old file");
    }
}

TEST_F(TiffUserPropertiesTest, ASaveRefusesAZeroByte) {
    for (std::string const& userProperties : _withZero) {
        EXPECT_THAT(trySave(userProperties), testing::StartsWith("Error while saving tiff image file \"" +
                                                                 _path.string() + "\"\n" + getFailure()));
        EXPECT_EQ(countDescriptors(_path), 0U);
    }
}

TEST_F(TiffUserPropertiesTest, AnyOtherByteIsKept) {
    std::string userProperties;
    for (int byte = 1; byte < 256; ++byte) {
        userProperties += static_cast<char>(byte);
    }
    EXPECT_EQ(trySave(userProperties), "saved");
    EXPECT_EQ(loadTiffImageFile(_path, eTBM_Default)->getUserPropertiesStr(), userProperties);
}

} // namespace velmo::image::file
