// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Processes.h"
#include "RawFunctions.h"

#include <boost/filesystem/operations.hpp>
#include <sstream>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

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
