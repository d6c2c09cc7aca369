// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LowerBound.h"
#include "Suite.h"
#include "TiffData.h"

#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <boost/filesystem/operations.hpp>
#include <memory>
#include <random>
#include <tiff.h>
#include <vector>

namespace velmo::bench {

namespace {

namespace fs = boost::filesystem;
using namespace image::file;

constexpr vlUInt64 g_size = 64;
constexpr vlUInt64 g_few = 1000;

/// Seconds for each plane.
using PlaneMeasure = std::function<double(TiffVolume const& volume)>;

double timeLoad(TiffVolume const& volume) {
    Stopwatch const stopwatch;
    image::ImagePtr const pImage = loadTiffImageFile(volume.path, eTBM_Default);
    return stopwatch.getSeconds() / static_cast<double>(volume.getPlanes().nbPlanes);
}

double timeSave(TiffVolume const& volume) {
    Stopwatch const stopwatch;
    saveTiffImageFile(volume.target, volume.pImage, eTC_None);
    double const seconds = stopwatch.getSeconds();
    fs::remove(volume.target);
    return seconds / static_cast<double>(volume.pImage->getGeometry().getSizeZ());
}

/// Opens the file and reads random planes, as many as the file has.
double timeRandomAccess(TiffVolume const& volume, image::eImageAccessMode mode) {
    vlUInt64 const nbPlanes = volume.getPlanes().nbPlanes;
    std::vector<std::byte> pixels(volume.getPlanes().getPlaneBytes());
    std::mt19937 random(7);
    Stopwatch const stopwatch;
    TiffImageFile accessor;
    std::string userProperties;
    BoolResult result = accessor.openFile(volume.path, mode, eTDM_Volume, eTBM_Default, userProperties);
    for (vlUInt64 i = 0; result && i < nbPlanes; ++i) {
        result = accessor.readRawData(random() % nbPlanes, 0, 0, 0, g_size * g_size, pixels.data());
    }
    require(static_cast<bool>(result), result.getMessage());
    return stopwatch.getSeconds() / static_cast<double>(nbPlanes);
}

/// The page cache needs up to three times as much time for each byte of a large file. A time that grows with
/// the square of the number of planes is far above the limit.
void addPerPlane(Suite& suite, std::string const& what, vlUInt64 nbMany,
                 std::function<TiffVolume(vlUInt64 nbPlanes)> const& make, PlaneMeasure const& measure) {
    std::string const name = "TIFF " + what + ", per plane, " + std::to_string(nbMany) + " planes / 1000";
    suite.add(name, Quantity::time(), atMost(4), [=] {
        auto const pMany = std::make_shared<TiffVolume const>(make(nbMany));
        auto const pFew = std::make_shared<TiffVolume const>(make(g_few));
        return Contenders{[=] { return measure(*pMany); }, [=] { return measure(*pFew); }};
    });
}

} // namespace

void addTiffPlanesBenchmarks(Suite& suite) {
    auto const makeGrey = [&suite](vlUInt64 nbPlanes) {
        return makeTiff(suite.getData(), g_size, nbPlanes, COMPRESSION_NONE);
    };
    auto const makeOf = [&suite](vlUInt64 sizeC) {
        return [&suite, sizeC](vlUInt64 nbPlanes) {
            return TiffVolume{makePicture(g_size, g_size, sizeC, nbPlanes),
                              {},
                              suite.getData().getFolder() / "many.tif",
                              0};
        };
    };
    for (vlUInt64 const nbMany : {10000, 60000}) {
        addPerPlane(suite, "load", nbMany, makeGrey, timeLoad);
        addPerPlane(suite, "random reads, read only", nbMany, makeGrey,
                    [](TiffVolume const& volume) { return timeRandomAccess(volume, image::eIAM_ReadOnly); });
        addPerPlane(suite, "random reads, read and write", nbMany, makeGrey,
                    [](TiffVolume const& volume) { return timeRandomAccess(volume, image::eIAM_ReadWrite); });
        addPerPlane(suite, "save of RGB", nbMany, makeOf(3), timeSave);
    }
    addPerPlane(suite, "save", 32000, makeOf(1), timeSave); // 32767 planes of one channel at most
}

} // namespace velmo::bench
