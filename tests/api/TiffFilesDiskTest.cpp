// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFilesFixture.h"

#include <VELMOImage/ImageAccessor.h>
#include <boost/filesystem/operations.hpp>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

constexpr unsigned int g_nbThreads = 8;

/// Joined disk images over three files.
class TiffFilesDisk : public TiffFiles {
  protected:
    void saveVolumes(eTiffCompression compression = eTC_None) {
        for (unsigned int index = 0; index < 3; ++index) {
            _parts.push_back(makePart(makeVolume(4, 2), index));
            save(numbered(index), _parts.back(), compression);
        }
    }

    static std::string readPlane(BaseImage const& image, PlanIndexes const& at) {
        std::string plane(image.getGeometry().getPlanMemorySize(at.t), '\0');
        BoolResult const result =
            image.readPixels(at.z, at.c, at.t, 0, image.getGeometry().getPlanNbPixels(), plane.data());
        return result ? plane : result.getMessage();
    }

    std::vector<Part> _parts;
};

} // namespace

TEST_F(TiffFilesDisk, IsADiskImageThatReadsOnly) {
    saveVolumes();
    for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
        auto const pDisk = boost::dynamic_pointer_cast<DiskImage>(open(mode));
        ASSERT_TRUE(pDisk);
        EXPECT_EQ(pDisk->getAccessor()->getAccessMode(), eIAM_ReadOnly);
        EXPECT_EQ(pDisk->accessPlan(0, 0, 0), nullptr);
        EXPECT_EQ(boost::dynamic_pointer_cast<DiskImage>(load(mode)), nullptr);
    }
}

TEST_F(TiffFilesDisk, EveryRunOfPixelsIsThatOfItsFile) {
    saveVolumes(eTC_Lzw);
    ImagePtr const pImage = open(eTDM_Volume);
    std::string const pixels = joinAlongZ(_parts);
    BaseImageGeometry const& geometry = pImage->getGeometry();
    for (vlUInt64 plane = 0; plane < geometry.getNbPlans(); ++plane) {
        PlanIndexes const at = geometry.getPlanIndexes(plane);
        for (vlUInt64 start = 0; start < 15; ++start) {
            for (vlUInt64 const nbPixels : {vlUInt64{1}, 15 - start}) {
                std::string run(2 * nbPixels, '\0');
                EXPECT_TRUE(pImage->readPixels(at.z, at.c, at.t, start, nbPixels, run.data()));
                EXPECT_EQ(run, pixels.substr(30 * plane + 2 * start, run.size()));
            }
        }
    }
}

TEST_F(TiffFilesDisk, AWriteIsRefusedAndTheFilesStayAsTheyAre) {
    saveVolumes();
    std::string const before = readFile(numbered(1));
    for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
        ImagePtr const pImage = open(mode);
        std::string const plane(30, 'x');
        bool const bAlongZ = mode == eTDM_Volume;
        BoolResult const result =
            pImage->writePixels(bAlongZ ? 5 : 1, 0, bAlongZ ? 0 : 1, 0, 15, plane.data());
        EXPECT_THAT(result, FailsLike("Failed to write data of strip 0 for directory z=1, c=0, t=0 of file " +
                                      numbered(1).string()));
        EXPECT_EQ(readPixels(*pImage), bAlongZ ? joinAlongZ(_parts) : joinAlongT(_parts));
    }
    EXPECT_EQ(readFile(numbered(1)), before);
}

TEST_F(TiffFilesDisk, ManyThreadsReadAllFilesAtOnce) {
    saveVolumes(eTC_Deflate);
    for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
        ImagePtr const pImage = open(mode);
        std::string const pixels = mode == eTDM_Volume ? joinAlongZ(_parts) : joinAlongT(_parts);
        BaseImageGeometry const& geometry = pImage->getGeometry();
        vlUInt64 const nbPlanes = geometry.getNbPlans();
        onThreads(g_nbThreads, [&](unsigned int thread) {
            for (vlUInt64 step = 0; step < 4 * nbPlanes; ++step) {
                vlUInt64 const plane = (step * (2 * thread + 1) + thread) % nbPlanes;
                EXPECT_EQ(readPlane(*pImage, geometry.getPlanIndexes(plane)), pixels.substr(30 * plane, 30));
            }
        });
        EXPECT_EQ(countOpenFiles(), 3U);
    }
}

TEST_F(TiffFilesDisk, SurvivesTheRemovalOfItsFiles) {
    saveVolumes();
    ImagePtr const pImage = open(eTDM_Volume);
    fs::remove(numbered(0));
    fs::remove(numbered(2));
    EXPECT_EQ(readPixels(*pImage), joinAlongZ(_parts));
}

// Saving

TEST_F(TiffFilesDisk, CanBeSavedIntoAnotherFile) {
    saveVolumes();
    fs::path const path = _other / "joined.tif";
    saveTiffImageFile(path, open(eTDM_Volume), eTC_Lzw);
    ImagePtr const pVolume = loadTiffImageFile(path, eTBM_Default);
    EXPECT_EQ(pVolume->getGeometry().getSizeZ(), 12U);
    EXPECT_EQ(readPixels(*pVolume), joinAlongZ(_parts));
    saveTiffImageFile(path, open(eTDM_Temporal), eTC_None);
    ImagePtr const pSequence = loadTiffImageFile(path, eTBM_Default);
    EXPECT_EQ(pSequence->getGeometry().getSizeT(), 3U);
    EXPECT_EQ(readPixels(*pSequence), joinAlongT(_parts));
}

TEST_F(TiffFilesDisk, CannotBeSavedOntoOneOfItsFilesWhichStayUnharmed) {
    saveVolumes();
    fs::path const link = _other / "link.tif";
    for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
        ImagePtr const pImage = open(mode);
        for (std::size_t index = 0; index < 3; ++index) {
            std::string const before = readFile(numbered(index));
            fs::remove(link);
            fs::create_symlink(numbered(index), link);
            for (fs::path const& target :
                 {numbered(index), link, _folder / "." / numbered(index).filename()}) {
                expectRaisedText([&] { saveTiffImageFile(target, pImage, eTC_None); },
                                 saveError(target, "The pixels of the image to save lie in " +
                                                       target.string() + " itself"));
                EXPECT_EQ(readFile(numbered(index)), before);
            }
        }
        EXPECT_EQ(readPixels(*pImage), mode == eTDM_Volume ? joinAlongZ(_parts) : joinAlongT(_parts));
    }
}

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
