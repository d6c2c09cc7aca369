// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultSample.h"
#include "ImageBytes.h"
#include "Processes.h"
#include "Results.h"
#include "TemporaryFolder.h"

#include <VELMOImage/DiskImage.h>
#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

constexpr vlUInt64 g_nbPixels = 70 * 64;
constexpr vlUInt64 g_planeSize = 2 * g_nbPixels;

ImagePtr openTiff(fs::path const& path) {
    return openTiffImageFile(path, eTDM_Volume, eTBM_Default);
}

ImagePtr openIm6(fs::path const& path) {
    auto const pAccessor = boost::make_shared<Im6ImageFile>();
    EXPECT_THAT(pAccessor->openFile(path, eIAM_ReadOnly), Succeeds());
    DiskImagePtr pImage;
    EXPECT_THAT(ImageFactory::getInstance().createDiskImage(pAccessor, pImage), Succeeds());
    return pImage;
}

/// A sample and how an image is opened whose pixels stay in the file.
struct OpenedFormat {
    char const* name;
    FaultSample (*makeSample)();
    ImagePtr (*open)(fs::path const& path);
    bool bStreamOfEachThread;
};

std::ostream& operator<<(std::ostream& stream, OpenedFormat const& format) {
    return stream << format.name;
}

class ChangedFileTest : public testing::TestWithParam<OpenedFormat> {
  protected:
    ChangedFileTest() : _sample(GetParam().makeSample()), _path(_folder / ("image" + _sample.extension)) {
        _sample.save(_path);
        _pImage = GetParam().open(_path);
    }

    BoolResult readPlane(vlUInt64 z, vlUInt64 t, std::string& pixels) const {
        pixels.assign(g_planeSize, '#');
        return _pImage->readPixels(z, 0, t, 0, g_nbPixels, pixels.data());
    }

    TemporaryFolder _folder;
    FaultSample _sample;
    fs::path _path;
    ImagePtr _pImage;
};

std::string getFormatName(testing::TestParamInfo<OpenedFormat> const& info) {
    return info.param.name;
}

} // namespace

TEST_P(ChangedFileTest, AFileThatIsRemovedIsReadAsItWasByTheThreadThatOpenedIt) {
    fs::remove(_path);
    EXPECT_EQ(findDifference(_sample, *_pImage), "");
}

TEST_P(ChangedFileTest, AFileThatIsReplacedIsReadAsItWasByTheThreadThatOpenedIt) {
    fs::path const other = _folder / "other";
    writeFile(other, std::string(fs::file_size(_path), 'o'));
    fs::rename(other, _path);
    EXPECT_EQ(findDifference(_sample, *_pImage), "");
}

TEST_P(ChangedFileTest, AnotherThreadReadsARemovedFileOrFailsWithItsName) {
    fs::remove(_path);
    BoolResult result = success();
    std::string pixels;
    inOtherThread([&] { result = readPlane(1, 1, pixels); });
    if (GetParam().bStreamOfEachThread) {
        EXPECT_THAT(result, FailsLike(_path.string()));
    } else {
        EXPECT_THAT(result, Succeeds());
        EXPECT_EQ(pixels, readPixels(*_sample.pImage).substr(3 * g_planeSize));
    }
}

TEST_P(ChangedFileTest, OfAFileThatIsCutShortThePlanesThatAreThereAreRightAndTheOthersFailWithItsName) {
    constexpr vlUInt64 nbBytesCut = 6000; // the last directory, a calibration record and more
    fs::resize_file(_path, fs::file_size(_path) - nbBytesCut);
    std::string pixels;
    EXPECT_THAT(readPlane(0, 0, pixels), Succeeds());
    EXPECT_EQ(pixels, readPixels(*_sample.pImage).substr(0, g_planeSize));
    EXPECT_THAT(readPlane(1, 1, pixels), FailsLike(_path.string()));
}

TEST_P(ChangedFileTest, AFileThatIsEmptiedFailsWithItsNameAndHasNoOtherPixels) {
    fs::resize_file(_path, 0);
    std::string pixels;
    for (vlUInt64 const z : {0U, 1U, 0U}) {
        EXPECT_THAT(readPlane(z, 1, pixels), FailsLike(_path.string()));
    }
    EXPECT_EQ(describeLoad(_sample, _path).substr(0, 4),
              GetParam().makeSample == makeIm6Sample ? "thro" : "rais");
}

TEST_P(ChangedFileTest, AFileThatGrowsIsReadAsItWas) {
    writeFile(_path, readFile(_path) + std::string(5000, 'm'));
    EXPECT_EQ(findDifference(_sample, *_pImage), "");
    EXPECT_EQ(describeLoad(_sample, _path), "done");
}

INSTANTIATE_TEST_SUITE_P(Formats, ChangedFileTest,
                         testing::Values(OpenedFormat{"raw", makeRawSample,
                                                      [](fs::path const& path) -> ImagePtr {
                                                          return openRawImageFile(
                                                              path, makeRawSample().pImage->getGeometry(), 6);
                                                      },
                                                      true},
                                         OpenedFormat{"im6", makeIm6Sample, openIm6, true},
                                         OpenedFormat{"tiff", makeTiffSample, openTiff, false},
                                         OpenedFormat{"lzw", makeLzwSample, openTiff, false},
                                         OpenedFormat{"deflate", makeDeflateSample, openTiff, false}),
                         getFormatName);

} // namespace velmo::test
