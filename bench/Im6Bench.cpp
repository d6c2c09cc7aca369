// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CountedMemory.h"
#include "LowerBound.h"
#include "Suite.h"

#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/Im6ImageFileUtils.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <array>
#include <boost/filesystem/operations.hpp>
#include <cstdint>
#include <cstring>

namespace velmo::bench {

namespace {

namespace fs = boost::filesystem;

constexpr vlUInt64 g_headerSize = 116;

using Header = std::array<char, g_headerSize>;

/// A grey volume of 16 bits.
Header makeHeader(std::uint32_t sizeX, std::uint32_t sizeY, std::uint32_t sizeZ) {
    Header header{};
    auto const put = [&](std::size_t offset, std::uint32_t value) {
        std::memcpy(header.data() + offset, &value, sizeof(value));
    };
    put(0, 0x6934);
    put(4, sizeX);
    put(8, sizeY);
    put(12, sizeZ);
    put(16, 1);
    put(20, 1);
    put(52, 18);
    return header;
}

/// Creates an Im6 file: a header followed by the planes of a raw file, 1024 x 1024 pixels each.
fs::path makeFile(BenchData& data, RawFile const& planes, std::uint32_t sizeZ) {
    Header const header = makeHeader(1024, 1024, sizeZ);
    return data.getOrMake("planes.im6", [&](std::string const& path) {
        std::vector<char> pixels(planes.nbBytes);
        Descriptor::openForReading(planes.path.string()).read(pixels.data(), planes.nbBytes, 0);
        Descriptor const file = Descriptor::create(path);
        file.write(header.data(), g_headerSize, 0);
        file.write(pixels.data(), planes.nbBytes, g_headerSize);
    });
}

double timeLoad(fs::path const& path) {
    Stopwatch const stopwatch;
    image::ImagePtr const pImage = image::file::loadIm6ImageFile(path);
    return stopwatch.getSeconds();
}

double timeRawLoad(fs::path const& path, RawFile const& planes) {
    Stopwatch const stopwatch;
    image::ImagePtr const pImage = image::file::loadRawImageFile(path, *planes.pGeometry, g_headerSize);
    return stopwatch.getSeconds();
}

/// Creates a file whose header announces planes that the file does not contain.
fs::path makeClaim(BenchData& data, std::uint32_t sizeZ) {
    fs::path const path = data.getFolder() / ("claim" + std::to_string(sizeZ) + ".im6");
    Header const header = makeHeader(4, 4, sizeZ);
    Descriptor::create(path.string()).write(header.data(), g_headerSize, 0);
    return path;
}

void openClaim(fs::path const& path) {
    image::file::Im6ImageFile accessor;
    require(!accessor.openFile(path, image::eIAM_ReadOnly), "A file without planes opens");
}

double timeClaim(fs::path const& path) {
    return measureMedian(500, [&path] {
        Stopwatch const stopwatch;
        openClaim(path);
        return stopwatch.getSeconds();
    });
}

double measureClaim(fs::path const& path) {
    return static_cast<double>(countPeakBytes([&path] { openClaim(path); }));
}

void addClaim(Suite& suite, std::string const& name, Quantity const& quantity,
              double (*measure)(fs::path const&)) {
    suite.add(name + ", 4,000,000,000 planes / 1 plane", quantity, atMost(2), [&suite, measure] {
        fs::path const many = makeClaim(suite.getData(), 4000000000U);
        fs::path const one = makeClaim(suite.getData(), 1);
        return Contenders{[=] { return measure(many); }, [=] { return measure(one); }};
    });
}

} // namespace

void addIm6Benchmarks(Suite& suite) {
    suite.add("Im6 load 200 MB / raw load", Quantity::time(), atMost(1.05), [&suite] {
        vlUInt64 const sizeZ = suite.cut(100);
        RawFile const planes = suite.getData().getVolume(1024, 1024, sizeZ);
        fs::path const path = makeFile(suite.getData(), planes, static_cast<std::uint32_t>(sizeZ));
        return Contenders{[=] { return timeLoad(path); }, [=] { return timeRawLoad(path, planes); }};
    });
    addClaim(suite, "Im6 header without its planes, open", Quantity::time(), timeClaim);
    addClaim(suite, "Im6 header without its planes, memory", Quantity::memory(), measureClaim);
}

} // namespace velmo::bench
