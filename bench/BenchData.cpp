// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "BenchData.h"

#include "LowerBound.h"

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <random>
#include <vector>

namespace velmo::bench {

namespace {

namespace fs = boost::filesystem;

constexpr vlUInt64 g_chunkSize = vlUInt64{4} << 20;
constexpr vlUInt64 g_stampedSize = 4096; ///< bytes that begin with their own offset

void fillFile(std::string const& path, vlUInt64 nbBytes) {
    std::vector<vlUInt64> chunk(g_chunkSize / sizeof(vlUInt64));
    std::mt19937_64 random(nbBytes);
    std::generate(chunk.begin(), chunk.end(), random);
    Descriptor const descriptor = Descriptor::create(path);
    for (vlUInt64 offset = 0; offset < nbBytes; offset += g_chunkSize) {
        for (vlUInt64 stamped = 0; stamped < g_chunkSize; stamped += g_stampedSize) {
            chunk[stamped / sizeof(vlUInt64)] = offset + stamped;
        }
        descriptor.write(chunk.data(), std::min(g_chunkSize, nbBytes - offset), offset);
    }
}

void readFile(std::string const& path, vlUInt64 nbBytes) {
    std::vector<std::byte> chunk(g_chunkSize);
    Descriptor const descriptor = Descriptor::openForReading(path);
    for (vlUInt64 offset = 0; offset < nbBytes; offset += g_chunkSize) {
        descriptor.read(chunk.data(), std::min(g_chunkSize, nbBytes - offset), offset);
    }
}

} // namespace

BenchData::BenchData(fs::path const& parent) : _folder(parent / fs::unique_path("velmo-bench-%%%%%%%%")) {
    fs::create_directory(_folder);
}

BenchData::~BenchData() {
    boost::system::error_code ignored;
    fs::remove_all(_folder, ignored);
}

fs::path BenchData::getOrMake(std::string const& name,
                              std::function<void(std::string const& path)> const& make) {
    fs::path const path = _folder / name;
    if (_made.insert(path).second) {
        make(path.string());
        Descriptor::openForReading(_folder.string()).syncFileSystem();
    }
    return path;
}

RawFile BenchData::getVolume(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeZ) {
    auto const pGeometry = image::geometry3d(image::eIBT_UInt16, sizeX, sizeY, sizeZ);
    vlUInt64 const nbBytes = pGeometry->getFullMemorySize();
    return {getOrMake("volume" + std::to_string(nbBytes),
                      [&](std::string const& path) { fillFile(path, nbBytes); }),
            pGeometry, nbBytes};
}

RawFile BenchData::getSparseVolume(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeZ) {
    auto const pGeometry = image::geometry3d(image::eIBT_UInt8, sizeX, sizeY, sizeZ);
    vlUInt64 const nbBytes = pGeometry->getFullMemorySize();
    return {getOrMake("sparse" + std::to_string(nbBytes),
                      [&](std::string const& path) {
                          Descriptor::create(path).setSize(nbBytes);
                          readFile(path, nbBytes);
                      }),
            pGeometry, nbBytes};
}

} // namespace velmo::bench
