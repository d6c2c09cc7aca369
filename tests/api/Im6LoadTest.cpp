// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6Functions.h"
#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <set>
#include <thread>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

/// An image of the caller's own kind that takes any geometry, unless it is told not to.
class OwnImage : public HookedImage {
  public:
    explicit OwnImage(BaseImageGeometry const& geometry) : HookedImage(geometry) {}

    BoolResult init(BaseImageGeometry const& geometry) override {
        if (!initFailure.empty()) {
            return failure(initFailure);
        }
        setGeometry(geometry);
        return success();
    }

    std::string initFailure;
};

boost::shared_ptr<OwnImage> makeOwnImage(fs::path const& path) {
    return boost::make_shared<OwnImage>(loadIm6ImageFile(path)->getGeometry());
}

} // namespace

// The target

TEST_F(Im6Functions, ATargetIsShapedAnewWhateverItWas) {
    for (ImagePtr const& pImage :
         {makeMemoryImage(*makeHeterogeneous(), makePixels(*makeHeterogeneous())), ImagePtr(_pReference)}) {
        pImage->setGeometricCalibration(createGeometricCalibration2d(7, 7, "m", 0, 0, 0, 0, 0));
        for (int round = 0; round < 2; ++round) {
            loadIm6ImageFile(_path, pImage);
            EXPECT_EQ(describeGeometry(pImage->getGeometry()), "x=2 y=1 z=2 c=3 t=2 eIBT_UInt16");
            EXPECT_EQ(readPixels(*pImage), _sample.pixels);
            EXPECT_EQ(pImage->getGeometricCalibrationConstPtr()->getUnit(), "um");
        }
    }
}

TEST_F(Im6Functions, AnEmptyTargetIsRefusedByTheProcessorAsByTheRawLoad) {
    expectPassedThrough<processor::VELMOBaseProcessingException>(
        [&] { loadIm6ImageFile(_path, ImagePtr()); });
    EXPECT_EQ(countOpen(_path), 0);
    fs::path const missing = _folder / "missing.im6";
    expectRaisedText([&] { loadIm6ImageFile(missing, ImagePtr()); }, loadError(missing, openFailed(missing)));
}

TEST_F(Im6Functions, ATargetThatRefusesItsGeometryIsTheLoadErrorWithItsText) {
    auto const pOwn = makeOwnImage(_path);
    pOwn->initFailure = "no room for it";
    expectRaisedText([&] { loadIm6ImageFile(_path, pOwn); }, loadError(_path, "no room for it"));
    auto const pHooked = boost::make_shared<HookedImage>(*makeSequence(eIBT_UInt8));
    expectRaisedText([&] { loadIm6ImageFile(_path, pHooked); },
                     loadError(_path, "This kind of image takes its geometry at construction"));
    EXPECT_EQ(describeGeometry(pHooked->getGeometry()), describeGeometry(*makeSequence(eIBT_UInt8)));
    EXPECT_FALSE(pHooked->hasGeometricCalibration());
    EXPECT_EQ(countOpen(_path), 0);
}

TEST_F(Im6Functions, TheCallingThreadAloneWritesAndAFailedCopyLeavesShapeAndPixelsSoFar) {
    auto const pTarget = makeOwnImage(_path);
    std::set<std::thread::id> writers;
    pTarget->setWriteHook([&](int access) {
        writers.insert(std::this_thread::get_id());
        return access == 2 ? failure("the third plane is refused") : success();
    });
    CapturedLog const log(log4cplus::Logger::getRoot());
    expectRaisedText([&] { loadIm6ImageFile(_path, pTarget); },
                     loadError(_path, "the third plane is refused"));
    EXPECT_EQ(log.getRecords().size(), 1U);
    EXPECT_EQ(readPixels(*pTarget), _sample.pixels.substr(0, 8) + std::string(40, '\0'));
    EXPECT_FALSE(pTarget->hasGeometricCalibration());
    EXPECT_EQ(countOpen(_path), 0);
    loadIm6ImageFile(_path, pTarget);
    EXPECT_EQ(writers, std::set<std::thread::id>{std::this_thread::get_id()});
    EXPECT_EQ(readPixels(*pTarget), _sample.pixels);
    EXPECT_TRUE(pTarget->hasGeometricCalibration());
}

TEST_F(Im6Functions, ATargetStaysAsItWasWhereTheFileDoesNotOpen) {
    auto const pGeometry = makeSequence(eIBT_UInt8);
    ImagePtr const pImage = makeMemoryImage(*pGeometry, makePixels(*pGeometry));
    expectRaised([&] { loadIm6ImageFile(_folder / "missing.im6", pImage); });
    EXPECT_TRUE(haveSamePixels(pImage->getGeometry(), *pGeometry));
    EXPECT_EQ(readPixels(*pImage), makePixels(*pGeometry));
}

// Files that do not load

TEST_F(Im6Functions, AMissingFileOrAFolderIsTheLoadErrorWithTheAccessorsText) {
    for (fs::path const& path : {_folder / "missing.im6", _folder.getPath()}) {
        for (Load const& load : getLoads()) {
            SCOPED_TRACE(load.name);
            expectRaisedText([&] { load.call(path); }, loadError(path, openFailed(path)));
        }
    }
}

TEST_F(Im6Functions, AFileThatIsTooShortIsTheLoadErrorWithItsSizes) {
    std::string const bytes = _sample.toBytes();
    for (vlUInt64 const size : {vlUInt64(176), vlUInt64(177), vlUInt64(4599)}) {
        ASSERT_LT(size, bytes.size());
        writeFile(_path, bytes.substr(0, size));
        for (Load const& load : getLoads()) {
            SCOPED_TRACE(load.name);
            expectRaisedText([&] { load.call(_path); }, loadError(_path, tooShort(_path, 4600, size)));
            EXPECT_EQ(countOpen(_path), 0);
        }
    }
}

TEST_F(Im6Functions, AFileThatEndsInsideOfHeaderPlanesOrTextIsTheLoadErrorOfItsFirstPixels) {
    std::string const bytes = _sample.toBytes();
    for (std::size_t const size : {53U, 115U, 116U, 120U, 163U, 164U, 175U}) {
        writeFile(_path, bytes.substr(0, size));
        for (Load const& load : getLoads()) {
            SCOPED_TRACE(load.name);
            expectRaisedText([&] { load.call(_path); }, loadError(_path, firstSeekFailed(_path)));
            EXPECT_EQ(countOpen(_path), 0);
        }
    }
}

TEST_F(Im6Functions, AFileOfAnotherFormatIsTheImageLibrarysException) {
    for (std::string const& bytes : {std::string(), std::string("4"), std::string(200, 'x'),
                                     std::string("\x35") + _sample.toBytes().substr(1)}) {
        writeFile(_path, bytes);
        for (Load const& load : getLoads()) {
            SCOPED_TRACE(load.name);
            CapturedLog const log(getVELMOImageLogger());
            expectPassedThrough<VELMOImageException>([&] { load.call(_path); });
            ASSERT_EQ(log.getRecords().size(), 1U);
            EXPECT_EQ(log.getRecords()[0].message, "The image file is not of the expected format");
            EXPECT_EQ(countOpen(_path), 0);
        }
    }
}

TEST_F(Im6Functions, AnImageLargerThanTheMemoryIsTheLoadError) {
    Im6Sample sample;
    sample.sizeX = sample.sizeY = 1U << 20U;
    sample.write(_path);
    fs::resize_file(_path, 116 + (vlUInt64(1) << 40U));
    for (Load const& load : getMemoryLoads()) {
        SCOPED_TRACE(load.name);
        std::string const start = loadError(_path, "The image needs 1099511627776 bytes of memory, and ");
        auto const raised = expectRaised([&] { load.call(_path); });
        ASSERT_TRUE(raised);
        EXPECT_EQ(raised->text.substr(0, start.size()), start);
    }
}

TEST_F(Im6Functions, QuotesAndAmpersandsAreMarkedInTheQuotedPathAndBareInTheNestedText) {
    std::string const folder = _folder.getPath().string() + '/';
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        expectRaisedText([&] { load.call(folder + "&\"a b\".im6"); },
                         "Error while loading im6 image file \"" + folder +
                             "&&&\"a b&\".im6\"\nFailed to open im6 image file " + folder + "&\"a b\".im6");
    }
}

#if !defined(__clang__)
TEST_F(Im6Functions, ARaiseNamesThePublicFunctionInFull) {
    std::string const into =
        "void velmo::image::file::loadIm6ImageFile(const boost::filesystem::path&, const "
        "velmo::image::ImagePtr&)";
    std::string const distributed = "velmo::image::DistributedImagePtr "
                                    "velmo::image::file::loadDistributedIm6ImageFile(const "
                                    "boost::filesystem::path&, bool)";
    for (Load const& load : getMemoryLoads()) {
        auto const raised = expectRaised([&] { load.call("/missing"); });
        EXPECT_EQ(raised ? raised->function : std::string(), into);
    }
    for (Load const& load : getDistributedLoads()) {
        auto const raised = expectRaised([&] { load.call("/missing"); });
        EXPECT_EQ(raised ? raised->function : std::string(), distributed);
    }
}
#endif

namespace {

/// 4 x 3 pixels; the bits of `sizes` choose two planes, three channels, two time steps and a calibration.
Im6Sample makeSample(std::uint32_t dataType, vlUInt64 pixelSize, unsigned int sizes) {
    Im6Sample sample;
    sample.dataType = dataType;
    sample.sizeZ = (sizes & 1U) != 0 ? 2 : 1;
    sample.sizeC = (sizes & 2U) != 0 ? 3 : 1;
    sample.sizeT = (sizes & 4U) != 0 ? 2 : 1;
    sample.pixels = makeBytes(12 * pixelSize * sample.sizeZ * sample.sizeC * sample.sizeT);
    if ((sizes & 8U) != 0) {
        sample.text = g_calibrationText;
        sample.calibration.emplace();
    }
    return sample;
}

} // namespace

// What is loaded

TEST_F(Im6Functions, EveryLoadGivesThePixelsOfTheFileAndLeavesItClosedAndAsItWas) {
    _sample.trailer = "tail"; // is ignored
    _sample.write(_path);
    CapturedLog const log(log4cplus::Logger::getRoot());
    std::string const bytes = readFile(_path);
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        ImagePtr const pImage = load.call(_path);
        EXPECT_EQ(countOpen(_path), 0);
        EXPECT_EQ(describeGeometry(pImage->getGeometry()), "x=2 y=1 z=2 c=3 t=2 eIBT_UInt16");
        EXPECT_EQ(pImage->getGeometry().getColorGeometryType(), eCGT_Rgb);
        EXPECT_EQ(pImage->getTemporalGeometryType(), eTGT_Sequence);
        EXPECT_EQ(readPixels(*pImage), _sample.pixels);
        std::string plane(4, '\0');
        EXPECT_TRUE(pImage->readPixels(1, 2, 1, 0, 2, plane.data()));
        EXPECT_EQ(plane, bytes.substr(116 + ((1 * 3 + 2) * 2 + 1) * 4, 4));
    }
    EXPECT_TRUE(log.getRecords().empty());
    EXPECT_EQ(readFile(_path), bytes);
}

TEST_F(Im6Functions, EverySizeAndEveryDataTypeLoadsWithACalibrationAndWithout) {
    struct {
        std::uint32_t dataType;
        eImageBufferType bufferType;
    } const types[] = {{0, eIBT_Real32},  {1, eIBT_Int32},    {2, eIBT_Int16},
                       {4, eIBT_Int8},    {18, eIBT_UInt16},  {20, eIBT_UInt8},
                       {34, eIBT_Binary}, {65, eIBT_Label32}, {66, eIBT_Label16}};
    for (auto const& type : types) {
        for (unsigned int sizes = 0; sizes < 16; ++sizes) {
            Im6Sample sample = makeSample(type.dataType, getImageBufferBaseSize(type.bufferType), sizes);
            sample.write(_path);
            for (Load const& load : getLoads()) {
                SCOPED_TRACE(load.name + (' ' + std::to_string(type.dataType)));
                ImagePtr const pImage = load.call(_path);
                EXPECT_EQ(pImage->getBufferType(), type.bufferType);
                EXPECT_EQ(readPixels(*pImage), sample.pixels);
            }
            EXPECT_EQ(loadIm6ImageFile(_path)->hasGeometricCalibration(), sample.calibration.has_value());
        }
    }
}

TEST_F(Im6Functions, AGreyFileOfSeveralPlanesLoadsAsAVolumeAndAnRgbOneAsThreeChannels) {
    struct {
        unsigned int sizes;
        eVolumeGeometryType volume;
        eColorGeometryType color;
        char const* description;
    } const cases[] = {{0, eVGT_2d, eCGT_Grey, "x=4 y=3 z=1 c=1 t=1 eIBT_UInt8"},
                       {1, eVGT_3d, eCGT_Grey, "x=4 y=3 z=2 c=1 t=1 eIBT_UInt8"},
                       {2, eVGT_2d, eCGT_Rgb, "x=4 y=3 z=1 c=3 t=1 eIBT_UInt8"},
                       {3, eVGT_3d, eCGT_Rgb, "x=4 y=3 z=2 c=3 t=1 eIBT_UInt8"}};
    for (auto const& entry : cases) {
        makeSample(20, 1, entry.sizes).write(_path);
        for (Load const& load : getLoads()) {
            SCOPED_TRACE(load.name);
            ImagePtr const pImage = load.call(_path);
            BaseImageGeometry const& geometry = pImage->getGeometry();
            EXPECT_EQ(geometry.getVolumeGeometryType(), entry.volume);
            EXPECT_EQ(geometry.getColorGeometryType(), entry.color);
            EXPECT_EQ(geometry.getTemporalGeometryType(), eTGT_Single);
            EXPECT_EQ(describeGeometry(geometry), entry.description);
        }
    }
}

TEST_F(Im6Functions, ADataTypeThatIsNotKnownLoadsAsAnImageWithoutBytesAndOtherChannelsAsThree) {
    _sample.dataType = 67;
    _sample.sizeC = 4;
    _sample.write(_path);
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        ImagePtr const pImage = load.call(_path);
        EXPECT_EQ(pImage->getBufferType(), eIBT_None);
        EXPECT_EQ(pImage->getGeometry().getFullMemorySize(), 0U);
        EXPECT_EQ(pImage->getGeometry().getSizeC(), 3U);
    }
}

// Calibration

TEST_F(Im6Functions, AMemoryLoadKeepsTheCalibrationAndADistributedLoadLosesIt) {
    for (std::uint32_t const sizeZ : {1U, 2U}) {
        _sample.sizeZ = sizeZ;
        _sample.pixels = countingBytes(24UL * sizeZ);
        _sample.write(_path);
        for (Load const& load : getMemoryLoads()) {
            SCOPED_TRACE(load.name);
            GeometricCalibrationConstPtr const pCalibration =
                load.call(_path)->getGeometricCalibrationConstPtr();
            ASSERT_TRUE(pCalibration);
            EXPECT_EQ(pCalibration->is3d(), sizeZ == 2);
            EXPECT_EQ(pCalibration->getPixelSizeX(), 0.5F);
            EXPECT_EQ(pCalibration->getPixelSizeY(), 0.25F);
            EXPECT_EQ(pCalibration->getPixelSizeZ(), sizeZ == 2 ? 1.5F : 1.0F);
            EXPECT_EQ(pCalibration->getUnit(), "um");
        }
        for (Load const& load : getDistributedLoads()) {
            EXPECT_FALSE(load.call(_path)->hasGeometricCalibration()) << load.name;
        }
    }
}

TEST_F(Im6Functions, AFileWithoutACalibrationLeavesNothingOfWhatATargetWasDescribedBy) {
    makeIm6Sequence().write(_path);
    for (ImagePtr const& pTarget :
         {makeMemoryImage(*makeSequence(eIBT_UInt8), std::string(48, 'x')), ImagePtr(_pReference)}) {
        pTarget->setGeometricCalibration(createGeometricCalibration2d(7, 7, "m", 0, 0, 0, 0, 0));
        pTarget->setUserPropertiesStr("text of another image");
        loadIm6ImageFile(_path, pTarget);
        EXPECT_EQ(readPixels(*pTarget), makeIm6Sequence().pixels);
        EXPECT_FALSE(pTarget->hasGeometricCalibration());
        EXPECT_EQ(pTarget->getUserPropertiesStr(), "");
    }
}

} // namespace velmo::test
