// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ThrownText.h"
#include "TiffFilesFixture.h"

#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOUtil/Logging.h>
#include <boost/filesystem/operations.hpp>
#include <boost/format.hpp>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;
using testing::StartsWith;

namespace {

/// Three files, of which one or more do not open.
class TiffFilesFailure : public TiffFiles {
  protected:
    TiffFilesFailure() { restore(); }

    void restore() const {
        for (unsigned int index = 0; index < 3; ++index) {
            boost::system::error_code ignored;
            fs::remove(numbered(index), ignored);
            save(numbered(index), makePart(makeVolume(1), index));
        }
        writeEvenSteps(3);
    }

    std::string getText(Route const& route, eTiffBufferMode bufferMode = eTBM_Default) const {
        auto const raised = expectRaisedFrom(route.source, [&] { route.call(bufferMode); });
        EXPECT_EQ(countOpenFiles(), 0U);
        return raised ? raised->text : std::string();
    }

    /// All routes raise the load error of the file with this nested text, wherever the file stands.
    void expectUnopened(std::function<void(fs::path const&)> const& spoil,
                        std::function<std::string(fs::path const&)> const& getNested) const {
        for (std::size_t index = 0; index < 3; ++index) {
            SCOPED_TRACE(index);
            restore();
            fs::remove(numbered(index));
            spoil(numbered(index));
            for (Route const& route : getRoutes()) {
                expectFails(route, loadError(numbered(index), getNested(numbered(index))));
            }
        }
    }
};

} // namespace

TEST_F(TiffFilesFailure, AFileThatIsNoTiffIsTheLoadErrorOfThatFileWhereverItStands) {
    for (std::size_t index = 0; index < 3; ++index) {
        for (std::string const& bytes : {std::string(), std::string("II*"), makeBytes(1000)}) {
            restore();
            writeFile(numbered(index), bytes);
            for (Route const& route : getRoutes()) {
                SCOPED_TRACE(route.name);
                fs::path const path = numbered(index);
                EXPECT_THAT(getText(route),
                            StartsWith(loadError(path, "Failed to open tiff image file " + path.string() +
                                                           "\nTiff Error : ")));
                EXPECT_EQ(readFile(path), bytes);
            }
        }
    }
}

TEST_F(TiffFilesFailure, ALinkThatLeadsNowhereIsTheLoadErrorWithTheSystemsWords) {
    expectUnopened([&](fs::path const& path) { fs::create_symlink("nowhere", path); },
                   [&](fs::path const& path) { return openFailed(path, "No such file or directory"); });
}

TEST_F(TiffFilesFailure, APipeIsTheLoadErrorAndNotWaitedFor) {
    expectUnopened([&](fs::path const& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); },
                   [&](fs::path const& path) { return openFailed(path, "Illegal seek"); });
}

TEST_F(TiffFilesFailure, AFileOfThisModuleWhoseGeometryIsBrokenIsTheLoadError) {
    Directory directory;
    directory.tags[TIFFTAG_SOFTWARE] = std::string("VELMO_Library");
    directory.tags[TIFFTAG_PHOTOSHOP] = std::string("no archive");
    for (std::size_t index = 0; index < 3; ++index) {
        restore();
        writeTiff(numbered(index), {directory});
        for (Route const& route : getRoutes()) {
            CapturedLog const log(getVELMOImageFileLogger()); // the archive has words of its own
            EXPECT_THAT(thrownText<VELMOImageFileException>([&] { route(); }),
                        StartsWith(loadError(numbered(index), "")))
                << route.name;
            EXPECT_EQ(log.getRecords().size(), 1U);
        }
    }
}

TEST_F(TiffFilesFailure, AFileWithoutPermissionIsTheLoadErrorWithTheSystemsWords) {
    fs::permissions(_folder, fs::perms(0755));
    fs::permissions(_other.getPath(), fs::perms(0755));
    fs::permissions(numbered(1), fs::perms(0600));
    for (Route const& route : getRoutes()) {
        std::string const text = asOrdinaryUser([&] { return textThrownBy([&] { route(); }); });
        if (text == g_noSuchUser) {
            GTEST_SKIP() << "this process cannot become another user";
        }
        EXPECT_EQ(text, loadError(numbered(1), openFailed(numbered(1), "Permission denied"))) << route.name;
    }
}

TEST_F(TiffFilesFailure, TheFirstFileThatDoesNotOpenIsNamedBeforeLaterOnesThatDoNotOrDiffer) {
    writeFile(numbered(1), "");
    auto const expectFirstNamed = [&] {
        for (Route const& route : getRoutes()) {
            EXPECT_THAT(getText(route), StartsWith(loadError(numbered(1), ""))) << route.name;
        }
    };
    writeFile(numbered(2), "");
    expectFirstNamed();
    save(numbered(2), makePart(makeVolume(1, 2)));
    expectFirstNamed();
}

// Parts that cannot be made one image

TEST_F(TiffFilesFailure, AnImageBeyondTheMemoryIsTheOutputImageErrorAndOpens) {
    for (std::size_t index = 0; index < 3; ++index) {
        writeClaim(numbered(index), *geometry3d(eIBT_UInt8, 1 << 20, 1 << 20, 30000));
    }
    for (Route const& route : getJoins()) {
        SCOPED_TRACE(route.name);
        if (route.bDisk) {
            EXPECT_TRUE(route());
        } else {
            EXPECT_THAT(getText(route), StartsWith("Failed to create output image\nThe image needs "));
        }
    }
}

TEST_F(TiffFilesFailure, WhatIsTooMuchFor64BitsIsTheOutputImageError) {
    vlUInt64 const half = vlUInt64{1} << 63U;
    for (Route const& route : getJoins()) {
        ImageGeometryPtr const pLong = geometry3d(eIBT_UInt8, 1, 1, route.bAlongZ ? half : 1);
        if (!route.bAlongZ) {
            pLong->getTemporalGeometry().initSequence(half);
        }
        ImageGeometryPtr const pWide = geometry3d(eIBT_UInt8, half / 2, 1, 2);
        for (ImageGeometryPtr const& pPart : {pLong, pWide}) {
            for (std::size_t index = 0; index < 3; ++index) {
                writeClaim(numbered(index), *pPart);
            }
            EXPECT_EQ(getText(route), (boost::format("Failed to create output image\nImage 1 (%1%) cannot be "
                                                     "joined to the first one (%1%)") %
                                       describeGeometry(*pPart))
                                          .str());
        }
    }
}

TEST_F(TiffFilesFailure, ManyTimeStepsOfTwoTypesAreJoinedInNoTime) {
    for (std::size_t index = 0; index < 3; ++index) {
        ImageGeometryPtr const pPart = geometry3d(index == 1 ? eIBT_UInt16 : eIBT_UInt8, 1, 1, 1);
        pPart->getTemporalGeometry().initSequence(vlUInt64{1} << 60U);
        writeClaim(numbered(index), *pPart);
    }
    ImagePtr const pImage = open(eTDM_Temporal);
    BaseImageGeometry const& geometry = pImage->getGeometry();
    EXPECT_EQ(geometry.getSizeT(), vlUInt64{3} << 60U);
    EXPECT_EQ(geometry.getPlanGeometry((vlUInt64{1} << 60U) - 1).getBufferType(), eIBT_UInt8);
    EXPECT_EQ(geometry.getPlanGeometry(vlUInt64{1} << 60U).getBufferType(), eIBT_UInt16);
    EXPECT_EQ(geometry.getPlanGeometry(vlUInt64{1} << 61U).getBufferType(), eIBT_UInt8);
    EXPECT_EQ(geometry.getFullMemorySize(), vlUInt64{4} << 60U);
}

using processor::VELMOBaseProcessingException;

namespace {

/// Three files of two planes, whose directories are whole and whose second one ends in its last plane.
class TiffFilesDamage : public TiffFiles {
  protected:
    TiffFilesDamage() {
        for (unsigned int index = 0; index < 3; ++index) {
            RawDirectory first = greyDirectory(4, 3, 8);
            RawDirectory second = first;
            first.pixels = countingBytes(12, 1 + 24 * index);
            second.pixels = countingBytes(12, 13 + 24 * index);
            writeRawTiff(numbered(index), {first, second});
            _planes.push_back(first.pixels);
            _planes.push_back(second.pixels);
        }
        fs::resize_file(numbered(1), fs::file_size(numbered(1)) - 5);
        writeEvenSteps(6);
    }

    static std::string tryRead(BaseImage const& image, bool bAlongZ, vlUInt64 plane, std::string& pixels) {
        pixels.assign(12, '\0');
        return image.readPixels(bAlongZ ? plane : plane % 2, 0, bAlongZ ? 0 : plane / 2, 0, 12, pixels.data())
            .getMessage();
    }

    std::string getReadError() const {
        return "Failed to read data of strip 0 for directory z=1, c=0, t=0 of file " + numbered(1).string() +
               "\nTiff Error : ";
    }

    std::vector<std::string> _planes;
};

} // namespace

TEST_F(TiffFilesDamage, OfASequencePlanesThatAreCutShortAndThoseBehindThemStayZeroInMemoryWithOneWarning) {
    CapturedLog const log(log4cplus::Logger::getRoot());
    std::string const pixels = readPixels(*load(eTDM_Temporal));
    EXPECT_EQ(pixels.substr(0, 36), _planes[0] + _planes[1] + _planes[2]);
    EXPECT_EQ(pixels.substr(48), std::string(24, '\0'));
    EXPECT_EQ(countOpenFiles(), 0U);
    ASSERT_EQ(log.getRecords().size(), 1U);
    CapturedLog::Record const record = log.getRecords()[0];
    EXPECT_EQ(record.logger, processor::getVELMOBaseProcessingLogger().getName());
    EXPECT_EQ(record.level, log4cplus::WARN_LOG_LEVEL);
    EXPECT_THAT(record.message,
                testing::StartsWith("Processor CopyImgLvl1 failed, and its result was not looked at\n" +
                                    getReadError()));
}

TEST_F(TiffFilesDamage, OfAVolumeTheyAreAnErrorThatIsLoggedOnce) {
    CapturedLog const log(log4cplus::Logger::getRoot());
    EXPECT_THAT(thrownText<VELMOBaseProcessingException>([&] { load(eTDM_Volume); }),
                testing::HasSubstr(getReadError()));
    EXPECT_EQ(countOpenFiles(), 0U);
    EXPECT_EQ(log.getRecords().size(), 1U);
}

TEST_F(TiffFilesDamage, OfAJoinedDiskImageThatPlaneFailsWithTheWordsOfTheFileAndTheOthersAreRead) {
    for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
        ImagePtr const pImage = open(mode);
        for (vlUInt64 plane = 0; plane < 6; ++plane) {
            std::string pixels;
            std::string const message = tryRead(*pImage, mode == eTDM_Volume, plane, pixels);
            if (plane == 3) {
                EXPECT_THAT(message, testing::StartsWith(getReadError()));
            } else {
                EXPECT_EQ(message, "");
                EXPECT_EQ(pixels, _planes[plane]);
            }
        }
    }
}

TEST_F(TiffFilesDamage, ACustomStackFailsWithTheWordsOfTheFileAndOneRecord) {
    CapturedLog const log(log4cplus::Logger::getRoot());
    try {
        loadStack(6, imaproc::attr::eIP_Linear);
        ADD_FAILURE() << "nothing was thrown";
    } catch (VELMOBaseProcessingException const& exception) {
        EXPECT_THAT(exception.what(), testing::HasSubstr("ResampleCustomZStack3dImgLvl1"));
        EXPECT_THAT(exception.what(), testing::HasSubstr(getReadError()));
        ASSERT_EQ(log.getRecords().size(), 1U);
        EXPECT_EQ(log.getRecords()[0].message, exception.what());
        EXPECT_EQ(log.getRecords()[0].level, log4cplus::ERROR_LOG_LEVEL);
    }
    EXPECT_EQ(log.getRecords().size(), 1U);
    EXPECT_EQ(countOpenFiles(), 0U);
}

TEST_F(TiffFilesDamage, ACustomStackThatNeedsNoneOfThePlanesThatAreCutShortLoads) {
    writeSteps("1\n1\n0.5\n0.5\n2\n");
    ImagePtr const pImage = loadStack(6, imaproc::attr::eIP_Nearest);
    EXPECT_EQ(readPixels(*pImage),
              _planes[0] + _planes[1] + _planes[2] + _planes[4] + _planes[4] + _planes[5]);
}

// A load of one file fails there.
TEST_F(TiffFilesDamage, AStripOfColoursThatCannotBeDecodedIsBlackInEveryJoinedImage) {
    Part part = makePart(makeVolume(2, 1, eIBT_UInt8));
    part.pGeometry->getColorGeometry().initRgb();
    part.pixels = makePixels(*part.pGeometry);
    for (std::size_t index = 0; index < 3; ++index) {
        save(numbered(index), part, eTC_Lzw);
        spoilStrip(numbered(index), 1);
    }
    for (std::size_t channel = 0; channel < 3; ++channel) {
        part.pixels.replace(30 * channel + 15, 15, 15, '\0');
    }
    for (Route const& route : getJoins()) {
        std::vector<Part> const parts(3, part);
        EXPECT_EQ(readPixels(*route()), route.bAlongZ ? joinAlongZ(parts) : joinAlongT(parts)) << route.name;
    }
}

} // namespace velmo::test
