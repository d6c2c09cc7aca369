// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFilesFixture.h"

namespace velmo::test {

using namespace image;
using namespace image::file;

namespace {

class TiffFilesProperties : public TiffFiles {
  protected:
    TiffFilesProperties() { writeEvenSteps(2); }

    static Part makePartWith(std::string const& userProperties) {
        Part part = makePart(makeVolume(1));
        part.userProperties = userProperties;
        return part;
    }
    static Part makePartOf(float pixelSize) {
        Part part = makePart(makeVolume(1));
        if (pixelSize != 0) {
            part.pCalibration = createGeometricCalibration2d(pixelSize, 2 * pixelSize, "um", 1, 2, 3, 4, 5);
        }
        return part;
    }
};

} // namespace

TEST_F(TiffFilesProperties, UserPropertiesOfTheFirstFileAreKeptAlongTInMemoryAndInACustomStack) {
    for (std::string const& first : {std::string(), std::string("first\n\xC3\xA9")}) {
        for (std::string const& second : {std::string(), std::string("second")}) {
            save({makePartWith(first), makePartWith(second)});
            for (Route const& route : getRoutes()) {
                SCOPED_TRACE(testing::Message() << route.name << ": " << first << ", " << second);
                bool const bKept =
                    route.name == std::string("load along T") || route.name == std::string("custom stack");
                EXPECT_EQ(route()->getUserPropertiesStr(), bKept ? first : "");
            }
        }
    }
}

// The steps are even, so that the custom stack has the pixels of the files.
TEST_F(TiffFilesProperties, TheCalibrationOfTheFirstFileIsKeptOnDiskAndInACustomStack) {
    for (float const first : {0.0F, 0.5F}) {
        for (float const second : {0.0F, 3.0F}) {
            save({makePartOf(first), makePartOf(second)});
            for (Route const& route : getRoutes()) {
                SCOPED_TRACE(route.name);
                ImagePtr const pImage = route();
                bool const bKept = route.bDisk || route.name == std::string("custom stack");
                ASSERT_EQ(pImage->hasGeometricCalibration(), bKept && first != 0);
                if (pImage->hasGeometricCalibration()) {
                    EXPECT_EQ(pImage->getGeometricCalibrationConstPtr()->getPixelSizeY(), 1.0F);
                    EXPECT_EQ(pImage->getGeometricCalibrationConstPtr()->getUnit(), "um");
                }
            }
        }
    }
}

TEST_F(TiffFilesProperties, AForeignResolutionIsACalibrationAsWell) {
    std::vector<Directory> pages = makePages(1);
    writeTiff(numbered(1), pages);
    pages[0].tags = {{TIFFTAG_XRESOLUTION, 4.0F}, {TIFFTAG_YRESOLUTION, 2.0F}};
    writeTiff(numbered(0), pages);
    for (Route const& route : getRoutes()) {
        SCOPED_TRACE(route.name);
        ImagePtr const pImage = route();
        bool const bKept = route.bDisk || route.name == std::string("custom stack");
        ASSERT_EQ(pImage->hasGeometricCalibration(), bKept);
        if (bKept) {
            EXPECT_EQ(pImage->getGeometricCalibrationConstPtr()->getPixelSizeY(), 0.5F);
        }
    }
}

} // namespace velmo::test
