// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "ForeignFile.h"
#include "TemporaryFolder.h"
#include "ThrownText.h"

#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <boost/filesystem/operations.hpp>
#include <functional>
#include <gmock/gmock.h>
#include <set>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

eTiffDirectoryMode const g_directoryModes[] = {eTDM_Volume, eTDM_Temporal};

/// Reads `nbPixels` pixels of a plane from pixel `start` on.
using Read = std::function<BoolResult(PlanIndexes const&, vlUInt64 start, vlUInt64 nbPixels, void* buffer)>;

Read readOf(BaseImage const& image) {
    return [&image](PlanIndexes const& plane, vlUInt64 start, vlUInt64 nbPixels, void* buffer) {
        return image.readPixels(plane.z, plane.c, plane.t, start, nbPixels, buffer);
    };
}

Read readOf(BaseImageAccessor const& accessor) {
    return [&accessor](PlanIndexes const& plane, vlUInt64 start, vlUInt64 nbPixels, void* buffer) {
        return accessor.readRawData(plane.z, plane.c, plane.t, start, nbPixels, buffer);
    };
}

/// A plane of a file, in one of the directory modes.
class ForeignPlane {
  public:
    ForeignPlane(ForeignFile const& file, eTiffDirectoryMode directoryMode, vlUInt64 page, vlUInt64 channel)
        : _file(file), _page(page), _channel(channel),
          _pixelSize(getImageBufferBaseSize(file.getBufferType(page))) {
        bool const bTemporal = directoryMode == eTDM_Temporal;
        _indexes = {bTemporal ? 0 : page, channel, bTemporal ? page : 0};
    }

    vlUInt64 getNbPixels() const { return _file.sizeX * _file.sizeY; }
    std::uint32_t getExpectedCrc() const { return _file.planes[_channel * _file.nbPages + _page]; }

    std::string read(Read const& readPixels, vlUInt64 start, vlUInt64 nbPixels) const {
        std::string bytes(nbPixels * _pixelSize, '\x55');
        BoolResult const result = readPixels(_indexes, start, nbPixels, bytes.data());
        EXPECT_TRUE(result) << result.getMessage();
        return bytes;
    }

  private:
    ForeignFile const& _file;
    vlUInt64 _page;
    vlUInt64 _channel;
    vlUInt64 _pixelSize;
    PlanIndexes _indexes;
};

template <class Visit>
void forEachPlane(ForeignFile const& file, eTiffDirectoryMode directoryMode, Visit const& visit) {
    for (vlUInt64 channel = 0; channel < file.sizeC; ++channel) {
        for (vlUInt64 page = 0; page < file.nbPages; ++page) {
            SCOPED_TRACE("channel " + std::to_string(channel) + " page " + std::to_string(page));
            visit(ForeignPlane(file, directoryMode, page, channel));
        }
    }
}

/// Of a volume whose planes differ in type only the first type is read; time steps have a type each.
bool hasPixels(ForeignFile const& file, eTiffDirectoryMode directoryMode) {
    return file.bLoads && (!file.isHeterogeneous() || directoryMode == eTDM_Temporal);
}

void expectPlanes(Read const& readPixels, ForeignFile const& file, eTiffDirectoryMode directoryMode) {
    forEachPlane(file, directoryMode, [&](ForeignPlane const& plane) {
        EXPECT_EQ(getCrc(plane.read(readPixels, 0, plane.getNbPixels())), plane.getExpectedCrc());
    });
}

BoolResult open(TiffImageFile& accessor, ForeignFile const& file, eTiffDirectoryMode directoryMode) {
    std::string userProperties;
    return accessor.openFile(file.path, eIAM_ReadOnly, directoryMode, eTBM_Default, userProperties);
}

/// Calls `visit` with each file in each directory mode.
template <class Visit>
void forEachFile(Visit const& visit) {
    for (ForeignFile const& file : readForeignFiles()) {
        for (eTiffDirectoryMode const directoryMode : g_directoryModes) {
            SCOPED_TRACE(file.shows + (directoryMode == eTDM_Volume ? " (volume)" : " (sequence)"));
            visit(file, directoryMode);
        }
    }
}

/// What a failure of loading has to begin with; the path follows.
std::string getLoadFailure(ForeignFile const& file) {
    return "Error while loading tiff image file \"" + file.path.string() + "\"\n" + file.message +
           file.path.string();
}

} // namespace

TEST(ForeignFiles, EveryFileOfTheFolderIsToldOf) {
    std::set<fs::path> inFolder;
    for (fs::directory_entry const& entry : fs::directory_iterator(getForeignFolder())) {
        if (entry.path().extension() == ".tif") {
            inFolder.insert(entry.path());
        }
    }
    std::set<fs::path> told;
    for (ForeignFile const& file : readForeignFiles()) {
        told.insert(file.path);
    }
    EXPECT_EQ(inFolder, told);
    EXPECT_FALSE(told.empty());
}

TEST(ForeignFiles, LoadAsTheirMakersWroteThemAndOnlyWhatIsNotKeptIsWarnedOf) {
    forEachFile([](ForeignFile const& file, eTiffDirectoryMode directoryMode) {
        if (hasPixels(file, directoryMode)) {
            CapturedLog const log(getVELMOImageFileLogger());
            ImagePtr const pImage = loadTiffImageFile(file.path, directoryMode, eTBM_Default);
            expectGeometry(pImage->getGeometry(), file, directoryMode);
            expectCalibration(pImage->getGeometricCalibrationConstPtr(), file);
            expectPlanes(readOf(*pImage), file, directoryMode);
            EXPECT_EQ(pImage->getUserPropertiesStr(), "");
            ASSERT_EQ(log.getRecords().size(), file.warning.empty() ? 0 : 1);
            for (CapturedLog::Record const& record : log.getRecords()) {
                EXPECT_EQ(record.level, log4cplus::WARN_LOG_LEVEL);
                EXPECT_THAT(record.message, testing::HasSubstr(file.warning + file.path.string()));
            }
        }
    });
}

TEST(ForeignFiles, OpenForReadingAsTheirMakersWroteThem) {
    forEachFile([](ForeignFile const& file, eTiffDirectoryMode directoryMode) {
        TiffImageFile accessor;
        if (file.bOpens) {
            BoolResult const result = open(accessor, file, directoryMode);
            ASSERT_TRUE(result) << result.getMessage();
            expectGeometry(accessor.getGeometry(), file, directoryMode);
            expectCalibration(accessor.getGeometricCalibrationConstPtr(), file);
        }
        if (hasPixels(file, directoryMode)) {
            expectPlanes(readOf(accessor), file, directoryMode);
        }
    });
}

namespace {

/// The planes of an image, the page running faster than the channel.
std::vector<std::uint32_t> getCrcs(BaseImage const& image) {
    BaseImageGeometry const& geometry = image.getGeometry();
    std::vector<std::uint32_t> crcs;
    for (vlUInt64 c = 0; c < geometry.getSizeC(); ++c) {
        for (vlUInt64 page = 0; page < geometry.getSizeZ() * geometry.getSizeT(); ++page) {
            bool const bTemporal = geometry.getSizeT() != 1;
            vlUInt64 const t = bTemporal ? page : 0;
            std::string plane(geometry.getPlanMemorySize(t), '\x55');
            BoolResult const result =
                image.readPixels(bTemporal ? 0 : page, c, t, 0, geometry.getPlanNbPixels(), plane.data());
            EXPECT_TRUE(result) << result.getMessage();
            crcs.push_back(getCrc(plane));
        }
    }
    return crcs;
}

} // namespace

TEST(ForeignFiles, CallsWithOptionsGiveWhatOtherReadersSeeAndWarnOfNoPixels) {
    forEachFile([](ForeignFile const& file, eTiffDirectoryMode directoryMode) {
        std::vector<std::uint32_t> const& expected =
            file.checkedPlanes.empty() ? file.planes : file.checkedPlanes;
        bool const bLoads = hasPixels(file, directoryMode) || !file.checkedPlanes.empty();
        if (bLoads) {
            CapturedLog const log(getVELMOImageFileLogger());
            TiffReadOptions const options = {directoryMode};
            EXPECT_EQ(getCrcs(*loadTiffImageFile(file.path, options)), expected);
            EXPECT_EQ(getCrcs(*openTiffImageFile(file.path, options)), expected);
            for (CapturedLog::Record const& record : log.getRecords()) {
                EXPECT_THAT(record.message, testing::AnyOf(testing::HasSubstr("orientation"),
                                                           testing::StartsWith("Resolution values")));
            }
        }
    });
}

TEST(ForeignFiles, WhatCannotBeOpenedOrLoadedSaysWhy) {
    forEachFile([](ForeignFile const& file, eTiffDirectoryMode directoryMode) {
        if (!file.bOpens) {
            TiffImageFile accessor;
            BoolResult const result = open(accessor, file, directoryMode);
            EXPECT_FALSE(result);
            EXPECT_THAT(result.getMessage(), testing::HasSubstr(file.message + file.path.string()));
            EXPECT_FALSE(accessor.isInit());
        }
        if (!file.bLoads) {
            std::string const text = thrownText<VELMOImageFileException>(
                [&] { loadTiffImageFile(file.path, directoryMode, eTBM_Default); });
            EXPECT_THAT(text, testing::StartsWith(getLoadFailure(file)));
        }
    });
}

TEST(ForeignFiles, OpenForWritingLeavesAFileAsItWas) {
    TemporaryFolder const folder;
    forEachFile([&folder](ForeignFile const& file, eTiffDirectoryMode directoryMode) {
        if (hasPixels(file, directoryMode) && file.bufferTypes.front() != eIBT_Binary) {
            fs::path const copy = folder / file.path.filename().string();
            std::string const bytes = readFile(file.path);
            writeFile(copy, bytes);
            {
                DiskImagePtr const pImage = openTiffImageFile(copy, directoryMode, eTBM_Default);
                expectGeometry(pImage->getGeometry(), file, directoryMode);
                expectCalibration(pImage->getGeometricCalibrationConstPtr(), file);
                expectPlanes(readOf(*pImage), file, directoryMode);
            }
            EXPECT_TRUE(readFile(copy) == bytes);
        }
    });
}

} // namespace velmo::test
