// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "InfoEntries.h"
#include "TiffSample.h"

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <boost/make_shared.hpp>

namespace velmo::test {

/// Saves a volume of 3 x 2 pixels a plane, each of 0.65 x 0.5 x 3.5 in the unit, by the library.
inline void saveVolume(boost::filesystem::path const& path, vlUInt64 sizeZ, std::string const& userProperties,
                       std::string const& unit = "um") {
    image::ImagePtr pImage;
    ASSERT_TRUE(image::ImageFactory::getInstance().createDefaultImage(
        *image::geometry3d(image::eIBT_UInt16, 3, 2, sizeZ), pImage));
    for (vlUInt64 z = 0; z < sizeZ; ++z) {
        std::vector<std::uint16_t> const pixels(6, static_cast<std::uint16_t>(1000 * z));
        ASSERT_TRUE(pImage->writePixels(z, 0, 0, 0, 6, pixels.data()));
    }
    auto const pCalibration = boost::make_shared<image::GeometricCalibration>();
    pCalibration->init3d(0.65F, 0.5F, 3.5F, unit, 4, 5, 6, 7, 8, 9, 10);
    pImage->setGeometricCalibration(pCalibration);
    pImage->setUserPropertiesStr(userProperties);
    image::file::saveTiffImageFile(path, pImage);
}

/// The TIFF files of a folder "s" of 3 x 2 pixels a plane, and what a command makes of them.
class SeriesFixture : public CliTest {
  protected:
    void SetUp() override { boost::filesystem::create_directory(_folder / "s"); }

    static TiffPage page(std::string const& pixels) {
        TiffPage result;
        result.pixels = pixels;
        return result;
    }

    /// A file of one byte a pixel, with a plane for each six letters.
    void put(std::string const& name, std::string const& pixels) const {
        std::vector<TiffPage> pages;
        for (std::size_t begin = 0; begin < pixels.size(); begin += 6) {
            pages.push_back(page(pixels.substr(begin, 6)));
        }
        writeTiff(_folder / "s" / name, pages);
    }

    nlohmann::json describe(std::string const& name) const { return test::describe({path(name)}); }

    /// A failure with these words, once, that leaves no output, or an earlier one as it was.
    template <class... Words>
    void expectNoOutput(Arguments const& arguments, int status, Words const&... words) const {
        std::vector<std::string> const names = list();
        expectFailure(runTool(arguments), status, words...);
        EXPECT_EQ(names, list());
        create("earlier.raw", "earlier");
        Arguments again = arguments + Arguments{"--overwrite"};
        std::replace(again.begin(), again.end(), path("out.raw"), path("earlier.raw"));
        EXPECT_EQ(status, runTool(again).status);
        EXPECT_EQ("earlier", read("earlier.raw"));
        boost::filesystem::remove(_folder / "earlier.raw");
        EXPECT_EQ(names, list());
    }
};

} // namespace velmo::test
