// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/ImageJDescription.h"

#include "TemporaryFolder.h"

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <gmock/gmock.h>
#include <limits>

namespace velmo::tool {

using testing::HasSubstr;
using testing::Not;

namespace {

/// A volume of `nbMebibytes` planes of a mebibyte, which take no room on the disk.
class ImageJDescription : public testing::Test {
  protected:
    image::DiskImagePtr open(vlUInt64 nbMebibytes) const {
        boost::filesystem::path const path = _folder / "in.raw";
        test::writeFile(path, "");
        boost::filesystem::resize_file(path, nbMebibytes << 20);
        return image::file::openRawImageFile(path,
                                             *image::geometry3d(image::eIBT_UInt8, 1024, 1024, nbMebibytes));
    }

    ImageJTags describe(float sizeX, float sizeZ, std::string const& unit) const {
        image::DiskImagePtr const pImage = open(2);
        auto const pCalibration = boost::make_shared<image::GeometricCalibration>();
        pCalibration->init3d(sizeX, 1, sizeZ, unit, 0, 0, 0, 0, 0, 0, 0);
        pImage->setGeometricCalibration(pCalibration);
        return describeForImageJ(*pImage, "out.tif");
    }

    test::TemporaryFolder _folder;
};

} // namespace

TEST_F(ImageJDescription, OfABigTiffWarns) {
    EXPECT_EQ("", describeForImageJ(*open(2048), "out.tif").warning);
    EXPECT_THAT(describeForImageJ(*open(2049), "out.tif").warning, HasSubstr("BigTIFF"));
}

TEST_F(ImageJDescription, UnitsAreAscii) {
    for (auto const& [unit, name] :
         std::vector<std::pair<std::string, std::string>>{{"um", "um"},
                                                          {"\xc2\xb5m", "\\u00B5m"},
                                                          {"\xb5m", "\\u00B5m"},
                                                          {"\xce\xbcm", "\\u00B5m"},
                                                          {"\xe2\x84\xab", "\\u00C5"},
                                                          {" a\nb\r", "ab"}}) {
        EXPECT_THAT(describe(0.5F, 2, unit).edits.description, HasSubstr("\nunit=" + name + "\nspacing=2\n"));
    }
    EXPECT_THAT(describe(0.5F, 2, "").edits.description, Not(HasSubstr("unit=")));
}

TEST_F(ImageJDescription, HasNoCalibrationThatTheTagsCannotHold) {
    for (float const size : {0.0F, -1.0F, std::numeric_limits<float>::infinity()}) {
        ImageJTags const tags = describe(size, 2, "um");
        EXPECT_THAT(tags.warning, HasSubstr("no resolution tags"));
        EXPECT_FALSE(tags.edits.resolution);
        EXPECT_THAT(tags.edits.description, Not(HasSubstr("spacing")));
    }
    EXPECT_THAT(describe(1, 0, "um").edits.description, Not(HasSubstr("spacing")));
    EXPECT_THAT(describeForImageJ(*open(2), "out.tif").edits.description,
                testing::AllOf(HasSubstr("slices=2\n"), Not(HasSubstr("unit="))));
}

} // namespace velmo::tool
