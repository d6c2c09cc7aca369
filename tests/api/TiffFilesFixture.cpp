// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFilesFixture.h"

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>
#include <sys/resource.h>
#include <unistd.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;
namespace attr = velmo::imaproc::attr;

namespace {

ColorGeometry makeChannels(vlUInt64 sizeC) {
    ColorGeometry color;
    if (sizeC != 1) {
        color.initUser(sizeC);
    }
    return color;
}

vlUInt64 getPlaneSize(Part const& part) {
    return part.pGeometry->getPlanMemorySize(0);
}

/// Opens handles until their numbers, of which the limit speaks, have no hole; how many are open then.
int fillHoles() {
    int highest = 0;
    for (fs::directory_entry const& entry : fs::directory_iterator("/proc/self/fd")) {
        highest = std::max(highest, std::stoi(entry.path().filename().string()));
    }
    int next = 0;
    do {
        next = dup(STDERR_FILENO);
    } while (next < highest);
    return next + 1;
}

} // namespace

std::string withHandles(std::size_t nbMore, std::function<std::string()> const& work) {
    return inChild([&]() -> std::string {
        work();
        rlim_t const nbHandles = static_cast<rlim_t>(fillHoles()) + nbMore;
        rlimit const handles{nbHandles, nbHandles};
        return setrlimit(RLIMIT_NOFILE, &handles) == 0 ? work() : "no limit";
    });
}

ImageGeometryPtr makeVolume(vlUInt64 sizeZ, vlUInt64 sizeC, eImageBufferType bufferType) {
    VolumeGeometry volume;
    volume.init3d(sizeZ);
    return geometry(bufferType, 5, 3, volume, makeChannels(sizeC), TemporalGeometry());
}

ImageGeometryPtr makeVolumes(vlUInt64 sizeZ, vlUInt64 sizeT, vlUInt64 sizeC, eImageBufferType bufferType) {
    ImageGeometryPtr pGeometry = makeVolume(sizeZ, sizeC, bufferType);
    pGeometry->getTemporalGeometry().initSequence(sizeT);
    return pGeometry;
}

Part makePart(ImageGeometryPtr const& pGeometry, unsigned int seed) {
    return {pGeometry, makePixels(*pGeometry, seed)};
}

std::string joinAlongZ(std::vector<Part> const& parts) {
    std::string pixels;
    for (vlUInt64 c = 0; c < parts.front().pGeometry->getSizeC(); ++c) {
        for (Part const& part : parts) {
            vlUInt64 const channelSize = part.pGeometry->getSizeZ() * getPlaneSize(part);
            pixels += part.pixels.substr(c * channelSize, channelSize);
        }
    }
    return pixels;
}

std::string joinAlongT(std::vector<Part> const& parts) {
    std::string pixels;
    for (Part const& part : parts) {
        pixels += part.pixels;
    }
    return pixels;
}

TiffFiles::TiffFiles() : _folder(fs::canonical(_temporary.getPath())), _steps(_other / "steps.txt") {
    textThrownBy(
        [&] { loadTiffImageFile(_other / "missing", eTBM_Default); }); // libtiff's words are kept now
}

fs::path TiffFiles::numbered(std::size_t index) const {
    return at("a" + std::to_string(index) + ".tif");
}

void TiffFiles::save(fs::path const& path, Part const& part, eTiffCompression compression) const {
    ImagePtr const pImage = makeMemoryImage(*part.pGeometry, part.pixels);
    pImage->setUserPropertiesStr(part.userProperties);
    pImage->setGeometricCalibration(part.pCalibration);
    saveTiffImageFile(path, pImage, compression);
}

void TiffFiles::save(std::vector<Part> const& parts) const {
    for (std::size_t index = 0; index < parts.size(); ++index) {
        save(numbered(index), parts[index]);
    }
}

ImagePtr TiffFiles::load(eTiffDirectoryMode directoryMode, std::string const& pattern,
                         eTiffBufferMode bufferMode) const {
    return loadTiffImageFiles(_folder, pattern, directoryMode, bufferMode);
}

ImagePtr TiffFiles::open(eTiffDirectoryMode directoryMode, std::string const& pattern,
                         eTiffBufferMode bufferMode) const {
    return openTiffImageFiles(_folder, pattern, directoryMode, bufferMode);
}

ImagePtr TiffFiles::loadStack(unsigned long outputSizeZ, attr::eInterpolationPolicy policy,
                              std::string const& pattern) const {
    return loadCustomZStackImageFiles(_folder, _steps, outputSizeZ, policy, pattern, eTBM_Default);
}

std::vector<TiffFiles::Route> TiffFiles::getJoins() const {
    std::string const source = "src/Tiff/TiffImageFiles.cpp";
    std::vector<Route> routes;
    for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
        bool const bAlongZ = mode == eTDM_Volume;
        std::string const function =
            bAlongZ ? "loadTiffImageFilesInVolumeMode" : "loadTiffImageFilesInTemporalMode";
        routes.push_back({bAlongZ ? "load along Z" : "load along T", bAlongZ, false, source, function,
                          [this, mode](auto bufferMode) { return load(mode, g_numbered, bufferMode); }});
        routes.push_back({bAlongZ ? "open along Z" : "open along T", bAlongZ, true, source, function,
                          [this, mode](auto bufferMode) { return open(mode, g_numbered, bufferMode); }});
    }
    return routes;
}

std::vector<TiffFiles::Route> TiffFiles::getRoutes() const {
    std::vector<Route> routes = getJoins();
    routes.push_back({"custom stack", true, false, "src/Tiff/TiffCustomZStack.cpp",
                      "loadCustomZStackImageFiles", [this](auto bufferMode) {
                          return loadCustomZStackImageFiles(_folder, _steps, 2, attr::eIP_Linear, g_numbered,
                                                            bufferMode);
                      }});
    return routes;
}

void TiffFiles::writeEvenSteps(vlUInt64 nbPlanes) const {
    std::string text;
    for (vlUInt64 step = 1; step < nbPlanes; ++step) {
        text += "1\n";
    }
    writeSteps(text);
}

void TiffFiles::expectFails(Route const& route, std::string const& text, eTiffBufferMode bufferMode) const {
    SCOPED_TRACE(route.name);
    auto const raised = expectRaisedFrom(route.source, [&] { route.call(bufferMode); });
    EXPECT_EQ(raised ? raised->text : std::string(), text);
    EXPECT_NE((raised ? raised->function : std::string()).find(route.function + "("), std::string::npos);
    EXPECT_EQ(countOpenFiles(), 0U);
}

std::size_t TiffFiles::countOpenFiles() const {
    std::size_t nbOpen = 0;
    for (fs::directory_entry const& entry : fs::directory_iterator("/proc/self/fd")) {
        boost::system::error_code ignored; // the iterator's own descriptor is gone by now
        std::string const target = fs::read_symlink(entry.path(), ignored).string();
        nbOpen += boost::algorithm::starts_with(target, _folder.string() + '/') ? 1 : 0;
    }
    return nbOpen;
}

} // namespace velmo::test
