// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "BenchData.h"

#include "Floor.h"

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <random>
#include <vector>

namespace velmo {
namespace bench {

namespace {

namespace fs = boost::filesystem;

constexpr vlUInt64 g_chunkSize = vlUInt64{4} << 20;

std::string toName(std::string const& kind, vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeZ) {
    return kind + std::to_string(sizeX) + 'x' + std::to_string(sizeY) + 'x' + std::to_string(sizeZ) + ".raw";
}

void fillFile(RawFile const& file) {
    std::vector<vlUInt64> chunk(g_chunkSize / sizeof(vlUInt64));
    std::mt19937_64 random(file.nbBytes);
    std::generate(chunk.begin(), chunk.end(), random);
    Descriptor const descriptor = Descriptor::create(file.path.string());
    for (vlUInt64 offset = 0; offset < file.nbBytes; offset += g_chunkSize) {
        chunk.front() = offset;
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
    fs::create_directories(_folder);
}

BenchData::~BenchData() {
    boost::system::error_code ignored;
    fs::remove_all(_folder, ignored);
}

RawFile const& BenchData::getVolume(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeZ) {
    std::string const name = toName("volume", sizeX, sizeY, sizeZ);
    auto const found = _files.find(name);
    if (found != _files.end()) {
        return found->second;
    }
    RawFile const& file = add(name, image::geometry3d(image::eIBT_UInt16, sizeX, sizeY, sizeZ));
    fillFile(file);
    readFile(file);
    return file;
}

RawFile const& BenchData::getSparseVolume(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeZ) {
    std::string const name = toName("sparse", sizeX, sizeY, sizeZ);
    auto const found = _files.find(name);
    if (found != _files.end()) {
        return found->second;
    }
    RawFile const& file = add(name, image::geometry3d(image::eIBT_UInt8, sizeX, sizeY, sizeZ));
    Descriptor::create(file.path.string()).setSize(file.nbBytes);
    readFile(file);
    return file;
}

RawFile& BenchData::add(std::string const& name, image::ImageGeometryPtr const& pGeometry) {
    RawFile const file = {_folder / name, pGeometry, pGeometry->getFullMemorySize()};
    return _files.emplace(name, file).first->second;
}

} // namespace bench
} // namespace velmo
