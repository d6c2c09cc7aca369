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

void fillFile(RawFile const& file) {
    std::vector<vlUInt64> chunk(g_chunkSize / sizeof(vlUInt64));
    std::mt19937_64 random(file.nbBytes);
    std::generate(chunk.begin(), chunk.end(), random);
    Descriptor const descriptor = Descriptor::create(file.path.string());
    for (vlUInt64 offset = 0; offset < file.nbBytes; offset += g_chunkSize) {
        for (vlUInt64 stamped = 0; stamped < g_chunkSize; stamped += g_stampedSize) {
            chunk[stamped / sizeof(vlUInt64)] = offset + stamped;
        }
        descriptor.write(chunk.data(), std::min(g_chunkSize, file.nbBytes - offset), offset);
    }
    descriptor.sync();
}

void readFile(RawFile const& file) {
    std::vector<std::byte> chunk(g_chunkSize);
    Descriptor const descriptor = Descriptor::openForReading(file.path.string());
    for (vlUInt64 offset = 0; offset < file.nbBytes; offset += g_chunkSize) {
        descriptor.read(chunk.data(), std::min(g_chunkSize, file.nbBytes - offset), offset);
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

RawFile BenchData::getVolume(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeZ) {
    auto const pGeometry = image::geometry3d(image::eIBT_UInt16, sizeX, sizeY, sizeZ);
    vlUInt64 const nbBytes = pGeometry->getFullMemorySize();
    RawFile const file = {_folder / ("volume" + std::to_string(nbBytes)), pGeometry, nbBytes};
    if (_made.insert(file.path).second) {
        fillFile(file);
        readFile(file);
    }
    return file;
}

RawFile BenchData::getSparseVolume(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeZ) {
    auto const pGeometry = image::geometry3d(image::eIBT_UInt8, sizeX, sizeY, sizeZ);
    vlUInt64 const nbBytes = pGeometry->getFullMemorySize();
    RawFile const file = {_folder / ("sparse" + std::to_string(nbBytes)), pGeometry, nbBytes};
    if (_made.insert(file.path).second) {
        Descriptor::create(file.path.string()).setSize(nbBytes);
        readFile(file);
    }
    return file;
}

} // namespace velmo::bench
