// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Processes.h"
#include "RawFunctions.h"
#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <VELMOImage/ImageAccessor.h>
#include <VELMOImage/MemoryImage.h>
#include <VELMOImage/VELMOImageLog.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

std::string readFailed(fs::path const& path, int z, int t) {
    return "Failed to read raw image file " + path.string() + " for z=" + std::to_string(z) +
           ", c=0, t=" + std::to_string(t) + ", pixelStartOffset=0 and nbPixels=12";
}

ImagePtr makeTarget(BaseImageGeometry const& geometry) {
    return makeMemoryImage(geometry, std::string(geometry.getFullMemorySize(), '\0'));
}

} // namespace

TEST_F(RawFunctions, EveryLoadAndTheOpenGiveThePixelsOfTheFileAndLogNothing) {
    CapturedLog const log(log4cplus::Logger::getRoot());
    for (std::string const head : {"", "head\nof 16 bytes"}) {
        writeFile(_path, head + _pixels + (head.empty() ? "" : "tail"));
        for (Load const& load : getLoads()) {
            SCOPED_TRACE(load.name);
            ImagePtr const pImage = load.call(_path, head.size());
            EXPECT_EQ(countOpen(_path), load.name == std::string("open") ? 1 : 0);
            EXPECT_TRUE(haveSamePixels(pImage->getGeometry(), *_pGeometry));
            EXPECT_EQ(readPixels(*pImage), _pixels);
        }
    }
    saveRawImageFile(_folder / "saved.raw", makeMemoryImage(*_pGeometry, _pixels), "header");
    EXPECT_TRUE(log.getRecords().empty());
}

TEST_F(RawFunctions, AnOpenedImageReadsTheFileWhichStaysOpenAsLongAsTheImageLives) {
    DiskImagePtr pImage = openRawImageFile(_path, *_pGeometry, 0);
    std::string const later = makePixels(*_pGeometry, 2);
    writeFile(_path, later);
    EXPECT_EQ(countOpen(_path), 1);
    inOtherThread([&] { EXPECT_EQ(readPixels(*pImage), later); });
    EXPECT_EQ(countOpen(_path), 2);
    DiskImagePtr pOther = pImage;
    pImage.reset();
    EXPECT_EQ(countOpen(_path), 2);
    EXPECT_EQ(readPixels(*pOther), later);
    pOther.reset();
    EXPECT_EQ(countOpen(_path), 0);
}

TEST_F(RawFunctions, AnOpenedImageIsReadOnly) {
    DiskImagePtr const pImage = openRawImageFile(_path, *_pGeometry, 0);
    EXPECT_EQ(pImage->getAccessor()->getAccessMode(), eIAM_ReadOnly);
    BoolResult const result = pImage->getAccessor()->writeRawData(1, 0, 1, 2, 3, "secret");
    EXPECT_FALSE(result);
    EXPECT_EQ(result.getMessage(), "Failed to write raw image file " + _path.string() +
                                       " for z=1, c=0, t=1, pixelStartOffset=2 and nbPixels=3");
    EXPECT_EQ(readFile(_path), _pixels);
}

TEST_F(RawFunctions, AMissingFileOrAFolderIsTheLoadErrorWithTheAccessorsText) {
    for (fs::path const& path : {_folder / "missing.raw", _folder.getPath()}) {
        for (Load const& load : getLoads()) {
            SCOPED_TRACE(load.name);
            expectRaisedText([&] { load.call(path, 0); },
                             loadError(path, "Failed to open raw image file " + path.string()));
        }
    }
}

TEST_F(RawFunctions, AnOffsetBehindWhichThePixelsDoNotFitIsTheLoadErrorWithBothSizes) {
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        for (vlUInt64 const offset : {vlUInt64{1}, NumericLimits<vlUInt64>::s_max}) {
            expectRaisedText([&] { load.call(_path, offset); },
                             loadError(_path, "Input geometry with total size 96 and starting offset " +
                                                  std::to_string(offset) +
                                                  " is greater than global file size 96 for raw image file " +
                                                  _path.string()));
        }
        EXPECT_EQ(countOpen(_path), 0);
    }
}

TEST_F(RawFunctions, QuotesAndAmpersandsAreMarkedInTheQuotedPathAndBareInTheNestedText) {
    struct {
        std::string name;
        std::string inQuotes;
    } const names[] = {{"a\"b.raw", "a&\"b.raw"}, {"a&b.raw", "a&&b.raw"}, {"&\"\"&.raw", "&&&\"&\"&&.raw"}};
    for (auto const& name : names) {
        std::string const folder = _folder.getPath().string() + '/';
        for (Load const& load : getLoads()) {
            SCOPED_TRACE(load.name);
            expectRaisedText([&] { load.call(folder + name.name, 0); },
                             "Error while loading raw image file \"" + folder + name.inQuotes +
                                 "\"\nFailed to open raw image file " + folder + name.name);
        }
    }
}

TEST_F(RawFunctions, ALoadOfAnImageTakesTheMemoryBeforeItOpensTheFile) {
    fs::path const missing = _folder / "missing.raw";
    auto const pHuge = geometry3d(eIBT_UInt8, 1UL << 20U, 1UL << 20U, 1UL << 10U);
    auto const raised = expectRaised([&] { loadRawImageFile(missing, *pHuge, 0); });
    ASSERT_TRUE(raised);
    EXPECT_EQ(raised->text.find(loadError(missing, "The image needs 1125899906842624 bytes of memory, and ")),
              0U)
        << raised->text;
#if !defined(__clang__)
    EXPECT_EQ(raised->function,
              "velmo::image::ImagePtr velmo::image::file::loadRawImageFile(const boost::filesystem::path&, "
              "const velmo::image::BaseImageGeometry&, velmo::vlUInt64)");
#endif
}

#if !defined(__clang__)
TEST_F(RawFunctions, ARaiseNamesThePublicFunctionInFull) {
    struct {
        Action action;
        std::string function;
    } const cases[] = {
        {[&] { openRawImageFile("/missing", *_pGeometry, 0); },
         "velmo::image::DiskImagePtr velmo::image::file::openRawImageFile(const boost::filesystem::path&, "
         "const velmo::image::BaseImageGeometry&, velmo::vlUInt64)"},
        {[&] { loadRawImageFile("/missing", *_pGeometry, makeTarget(*_pGeometry), 0); },
         "void velmo::image::file::loadRawImageFile(const boost::filesystem::path&, const "
         "velmo::image::BaseImageGeometry&, const velmo::image::ImagePtr&, velmo::vlUInt64)"},
        {[&] { loadDistributedRawImageFile("/missing", *_pGeometry, 0, false); },
         "velmo::image::DistributedImagePtr velmo::image::file::loadDistributedRawImageFile(const "
         "boost::filesystem::path&, const velmo::image::BaseImageGeometry&, velmo::vlUInt64, bool)"},
        {[&] { loadDistributedRawImageFile("/missing", *_pModel, eIBT_UInt16, 0, false); },
         "velmo::image::DistributedImagePtr velmo::image::file::loadDistributedRawImageFile(const "
         "boost::filesystem::path&, const velmo::image::DistributedImage&, const "
         "velmo::image::eImageBufferType&, velmo::vlUInt64, bool)"},
        {[&] { saveRawImageFile("/missing/folder", makeTarget(*_pGeometry), ""); },
         "void velmo::image::file::saveRawImageFile(const boost::filesystem::path&, const "
         "velmo::image::ImageConstPtr&, const std::string&)"},
    };
    for (auto const& entry : cases) {
        auto const raised = expectRaised(entry.action);
        EXPECT_EQ(raised ? raised->function : std::string(), entry.function);
    }
}
#endif

TEST_F(RawFunctions, ALoadRunsOnTheCallingThreadAndAFailedOneKeepsWhatWasCopied) {
    auto const pTarget = boost::make_shared<HookedImage>(*_pGeometry);
    std::set<std::thread::id> writers;
    pTarget->setWriteHook([&](int access) {
        writers.insert(std::this_thread::get_id());
        return access == 2 ? failure("the third plane is refused") : success();
    });
    expectRaisedText([&] { loadRawImageFile(_path, *_pGeometry, pTarget, 0); },
                     loadError(_path, "the third plane is refused"));
    EXPECT_EQ(writers, std::set<std::thread::id>{std::this_thread::get_id()});
    EXPECT_EQ(readPixels(*pTarget), _pixels.substr(0, 48) + std::string(48, '\0'));
    EXPECT_EQ(countOpen(_path), 0);
}

TEST_F(RawFunctions, AFileThatLosesItsEndDuringALoadIsTheLoadErrorWithThePlaneThatIsMissing) {
    auto const pTarget = boost::make_shared<HookedImage>(*_pGeometry);
    pTarget->setWriteHook([&](int access) {
        if (access == 0) {
            fs::resize_file(_path, 40);
        }
        return success();
    });
    expectRaisedText([&] { loadRawImageFile(_path, *_pGeometry, pTarget, 0); },
                     loadError(_path, readFailed(_path, 1, 0)));
    EXPECT_EQ(readPixels(*pTarget), _pixels.substr(0, 24) + std::string(72, '\0'));
}

TEST_F(RawFunctions, ATargetThatDoesNotFitIsRefusedByTheProcessor) {
    ImagePtr const targets[] = {makeTarget(*makeSequence(eIBT_Int16)), // the same size, another type
                                makeTarget(*geometry3d(eIBT_UInt16, 4, 3, 4)), ImagePtr()};
    for (ImagePtr const& pTarget : targets) {
        expectPassedThrough<processor::VELMOBaseProcessingException>(
            [&] { loadRawImageFile(_path, *_pGeometry, pTarget, 0); });
        EXPECT_EQ(countOpen(_path), 0);
    }
}

TEST_F(RawFunctions, WhatATargetThrowsPassesThrough) {
    auto const pTarget = boost::make_shared<HookedImage>(*_pGeometry);
    pTarget->setWriteHook(
        [](int access) -> BoolResult { throw std::out_of_range("access " + std::to_string(access)); });
    expectPassedThrough<std::out_of_range>([&] { loadRawImageFile(_path, *_pGeometry, pTarget, 0); });
    EXPECT_EQ(countOpen(_path), 0);
    expectPassedThrough<VELMOImageException>( // without a geometry
        [&] { loadRawImageFile(_path, *_pGeometry, boost::make_shared<MemoryImage>(), 0); });
}

TEST_F(RawFunctions, AnImageWithoutPixelsLoadsFromAnEmptyFile) {
    writeFile(_path, "");
    auto const pEmpty = geometry3d(eIBT_UInt8, 0, 3, 2);
    EXPECT_EQ(loadRawImageFile(_path, *pEmpty, 0)->getGeometry().getSizeX(), 0U);
    EXPECT_EQ(openRawImageFile(_path, *pEmpty, 0)->getGeometry().getSizeZ(), 2U);
    EXPECT_EQ(loadDistributedRawImageFile(_path, *pEmpty, 0, true)->getGeometry().getSizeY(), 3U);
    EXPECT_EQ(loadDistributedRawImageFile(_path, *pEmpty, 0, false)->getGeometry().getSizeY(), 3U);
}

namespace fs = boost::filesystem;

namespace {

struct GeometryCase {
    std::string name;
    ImageGeometryPtr pGeometry;
};

std::string getName(eImageBufferType bufferType, vlUInt64 sizeZ, vlUInt64 sizeC, vlUInt64 sizeT) {
    std::ostringstream name;
    name << bufferType << " z=" << sizeZ << " c=" << sizeC << " t=" << sizeT;
    return name.str();
}

/// Every pixel type in 2d and 3d, grey, RGB and of five channels, single and in a sequence.
std::vector<GeometryCase> getGeometries() {
    std::vector<GeometryCase> cases = {{"heterogeneous", makeHeterogeneous()}};
    for (unsigned int type = eIBT_None; type <= eIBT_Label8; ++type) {
        auto const bufferType = static_cast<eImageBufferType>(type);
        for (vlUInt64 const sizeZ : {1U, 3U}) {
            for (vlUInt64 const sizeC : {1U, 3U, 5U}) {
                for (vlUInt64 const sizeT : {1U, 2U}) {
                    VolumeGeometry volume;
                    sizeZ == 1 ? volume.init2d() : volume.init3d(sizeZ);
                    ColorGeometry color;
                    sizeC == 1 ? color.initGrey() : sizeC == 3 ? color.initRgb() : color.initUser(sizeC);
                    TemporalGeometry temporal;
                    sizeT == 1 ? temporal.initSingle() : temporal.initSequence(sizeT);
                    cases.push_back({getName(bufferType, sizeZ, sizeC, sizeT),
                                     geometry(bufferType, 7, 3, volume, color, temporal)});
                }
            }
        }
    }
    return cases;
}

void expectRoundTrip(fs::path const& path, BaseImageGeometry const& geometry, std::string const& header) {
    std::string const pixels = makePixels(geometry, 3);
    ImagePtr const pSaved = makeMemoryImage(geometry, pixels);
    saveRawImageFile(path, pSaved, header);
    ImagePtr const pTarget = makeMemoryImage(geometry, std::string(pixels.size(), '\0'));
    loadRawImageFile(path, geometry, pTarget, header.size());
    ImagePtr const images[] = {pTarget, loadRawImageFile(path, geometry, header.size()),
                               openRawImageFile(path, geometry, header.size()),
                               loadDistributedRawImageFile(path, geometry, header.size(), false),
                               loadDistributedRawImageFile(path, geometry, header.size(), true)};
    for (ImagePtr const& pImage : images) {
        EXPECT_TRUE(haveSamePixels(pImage->getGeometry(), geometry));
        EXPECT_EQ(pImage->getGeometry().getColorGeometryType(), geometry.getColorGeometryType());
        EXPECT_EQ(pImage->getGeometry().getTemporalGeometryType(), geometry.getTemporalGeometryType());
        EXPECT_EQ(pImage->getGeometry().getVolumeGeometryType(), geometry.getVolumeGeometryType());
        EXPECT_EQ(readPixels(*pImage), pixels);
    }
}

} // namespace

TEST(RawRoundTrip, EveryTypeAndGeometryLoadsAsItWasSaved) {
    TemporaryFolder const folder;
    for (GeometryCase const& entry : getGeometries()) {
        SCOPED_TRACE(entry.name);
        expectRoundTrip(folder / "image.raw", *entry.pGeometry, "head of 13 b.");
    }
}

TEST(RawRoundTrip, AnImageOfSeveralUnitsOfWorkLoadsAsItWasSaved) {
    TemporaryFolder const folder;
    VolumeGeometry volume;
    volume.init3d(2);
    auto const pGeometry =
        geometry(eIBT_UInt16, 1500, 1201, volume, ColorGeometry(), TemporalGeometry()); // 2 x 3.6 MB
    expectRoundTrip(folder / "image.raw", *pGeometry, "odd");
}

TEST(RawRoundTrip, FilesOfEightThreadsDoNotMeet) {
    TemporaryFolder const folder;
    onThreads(8, [&](unsigned int thread) {
        auto const pGeometry = makeSequence(thread % 2 == 0 ? eIBT_UInt16 : eIBT_Real32);
        fs::path const path = folder / (std::to_string(thread) + ".raw");
        std::string const header(thread, 'h');
        for (unsigned int round = 0; round < 25; ++round) {
            std::string const pixels = makePixels(*pGeometry, 100 * thread + round);
            saveRawImageFile(path, makeMemoryImage(*pGeometry, pixels), header);
            EXPECT_EQ(readPixels(*loadRawImageFile(path, *pGeometry, thread)), pixels);
            EXPECT_EQ(readPixels(*loadDistributedRawImageFile(path, *pGeometry, thread, true)), pixels);
            EXPECT_EQ(readPixels(*openRawImageFile(path, *pGeometry, thread)), pixels);
        }
    });
}

} // namespace velmo::test
