// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFilesFixture.h"

#include <VELMOImage/ImageAccessor.h>
#include <boost/filesystem/operations.hpp>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;
namespace attr = velmo::imaproc::attr;

namespace {

/// A directory in which one file matches.
class TiffFilesSingle : public TiffFiles {
  protected:
    fs::path const _path = numbered(3);
};

} // namespace

TEST_F(TiffFilesSingle, TheDirectoryModeIsTheCallers) {
    std::vector<Directory> const pages = makePages(3);
    writeTiff(_path, pages);
    for (ImagePtr const& pImage : {load(eTDM_Volume), open(eTDM_Volume)}) {
        EXPECT_EQ(pImage->getGeometry().getSizeZ(), 3U);
        EXPECT_EQ(pImage->getGeometry().getSizeT(), 1U);
        EXPECT_EQ(readPixels(*pImage), pixelsOf(pages));
    }
    for (ImagePtr const& pImage : {load(eTDM_Temporal), open(eTDM_Temporal)}) {
        EXPECT_EQ(pImage->getGeometry().getSizeZ(), 1U);
        EXPECT_EQ(pImage->getGeometry().getSizeT(), 3U);
        EXPECT_EQ(pImage->getTemporalGeometryType(), eTGT_Sequence);
        EXPECT_EQ(readPixels(*pImage), pixelsOf(pages));
    }
}

TEST_F(TiffFilesSingle, TheBufferModeIsTheCallers) {
    writeTiff(_path, makePages(1));
    EXPECT_EQ(load(eTDM_Volume, g_numbered, eTBM_Label)->getBufferType(), eIBT_Label8);
    EXPECT_EQ(open(eTDM_Temporal, g_numbered, eTBM_Binary)->getBufferType(), eIBT_Binary);
    EXPECT_EQ(loadCustomZStackImageFiles(_folder, getStepsPath(), 9, attr::eIP_Linear, g_numbered, eTBM_Label)
                  ->getBufferType(),
              eIBT_Label8);
}

TEST_F(TiffFilesSingle, NothingIsComparedAndSeveralTimeStepsOfDifferentTypesAreKept) {
    Part const part = makePart(makeHeterogeneous());
    save(_path, part);
    writeSteps("no number");
    for (ImagePtr const& pImage : {load(eTDM_Volume), open(eTDM_Volume), load(eTDM_Temporal),
                                   open(eTDM_Temporal), loadStack(1, attr::eIP_Linear)}) {
        EXPECT_TRUE(haveSamePixels(pImage->getGeometry(), *part.pGeometry));
        EXPECT_EQ(readPixels(*pImage), part.pixels);
    }
}

TEST_F(TiffFilesSingle, CalibrationAndUserPropertiesAreKept) {
    Part part = makePart(makeVolume(2));
    part.userProperties = "a text of the user";
    part.pCalibration = createGeometricCalibration2d(0.5F, 0.25F, "um", 1, 2, 3, 4, 5);
    save(_path, part);
    for (ImagePtr const& pImage : {load(eTDM_Volume), open(eTDM_Volume), load(eTDM_Temporal),
                                   open(eTDM_Temporal), loadStack(7, attr::eIP_Linear)}) {
        EXPECT_EQ(pImage->getUserPropertiesStr(), "a text of the user");
        ASSERT_TRUE(pImage->hasGeometricCalibration());
        EXPECT_EQ(pImage->getGeometricCalibrationConstPtr()->getPixelSizeY(), 0.25F);
    }
}

TEST_F(TiffFilesSingle, AnOpenedFileCanBeWritten) {
    Part const part = makePart(makeVolume(2));
    save(_path, part);
    ImagePtr const pImage = open(eTDM_Volume);
    auto const pDisk = boost::dynamic_pointer_cast<DiskImage>(pImage);
    ASSERT_TRUE(pDisk);
    EXPECT_NE(pDisk->getAccessor()->getAccessMode(), eIAM_ReadOnly);
    std::string const later = makePixels(*part.pGeometry, 99);
    writePixels(*pImage, later);
    EXPECT_EQ(readPixels(*load(eTDM_Volume)), later);
}

TEST_F(TiffFilesSingle, AFailureIsThatOfTheFunctionsOfOneFile) {
    writeFile(_path, "");
    for (auto const& action : std::vector<Action>{[&] { load(eTDM_Volume); }, [&] { open(eTDM_Volume); },
                                                  [&] { load(eTDM_Temporal); }, [&] { open(eTDM_Temporal); },
                                                  [&] { loadStack(2, attr::eIP_Linear); }}) {
        expectRaisedBeginning(action, loadError(_path, "Failed to open tiff image file " + _path.string()));
        EXPECT_EQ(countOpenFiles(), 0U);
    }
}

TEST_F(TiffFilesSingle, TheCustomStackTakesNoLookAtStepsSizeOrPolicy) {
    Part const part = makePart(makeVolume(4, 2));
    save(_path, part);
    auto const policy = static_cast<attr::eInterpolationPolicy>(77);
    for (char const* steps : {"missing", "missing.xml", "folder", "broken.xml", "few"}) {
        SCOPED_TRACE(steps);
        fs::path const path = _other / steps;
        if (steps == std::string("folder")) {
            fs::create_directory(path);
        } else if (path.string().find("missing") == std::string::npos) {
            writeFile(path, "1\n");
        }
        for (unsigned long const sizeZ : {0UL, 2UL, ~0UL}) {
            ImagePtr const pImage =
                loadCustomZStackImageFiles(_folder, path, sizeZ, policy, g_numbered, eTBM_Default);
            EXPECT_TRUE(haveSamePixels(pImage->getGeometry(), *part.pGeometry));
            EXPECT_EQ(readPixels(*pImage), part.pixels);
        }
    }
}

TEST_F(TiffFilesSingle, ALoadClosesTheFileAndAnOpenedImageKeepsItUntilItGoes) {
    save(_path, makePart(makeVolume(2)));
    ImagePtr pLoaded = load(eTDM_Volume);
    ImagePtr pStack = loadStack(2, attr::eIP_Linear);
    EXPECT_EQ(countOpenFiles(), 0U);
    ImagePtr pOpened = open(eTDM_Volume);
    EXPECT_EQ(countOpenFiles(), 1U);
    pOpened.reset();
    EXPECT_EQ(countOpenFiles(), 0U);
}

} // namespace velmo::test
