// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LowerBound.h"
#include "Suite.h"

#include <VELMOBaseProcessing/ProcessorDispatchPolicy.h>
#include <VELMOImage/MemoryImage.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageProcessing/CopyImgLvl1.h>
#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstring>

namespace velmo::bench {

namespace {

using processor::ProcessorDispatchPolicy;

/// A measurement of small copies repeats the copy, up to this number of bytes in total.
constexpr vlUInt64 g_nbBytesAtOnce = vlUInt64{256} << 20;

ProcessorDispatchPolicy defaultPolicy() {
    ProcessorDispatchPolicy policy;
    policy.initDefault();
    return policy;
}

ProcessorDispatchPolicy localPolicy() {
    ProcessorDispatchPolicy policy;
    policy.initLocal(1);
    return policy;
}

boost::shared_ptr<image::MemoryImage> createTarget(RawFile const& file) {
    auto const pTarget = boost::make_shared<image::MemoryImage>();
    BoolResult const result = pTarget->init(*file.pGeometry);
    require(static_cast<bool>(result), result.getMessage());
    return pTarget;
}

double timeOneCopy(image::ImageConstPtr const& pSource, image::ImagePtr const& pTarget,
                   ProcessorDispatchPolicy const& policy) {
    Stopwatch const stopwatch;
    auto const pCopy = boost::make_shared<imaproc::util::CopyImgLvl1>();
    require(static_cast<bool>(pCopy->init(processor::ePRP_Strict)), "The processor cannot be used");
    pCopy->set<imaproc::attr::InImg>(pSource);
    pCopy->set<imaproc::attr::OutImg>(pTarget);
    pCopy->restrictDispatchPolicy(policy);
    processor::ActionResult const result = pCopy->run(processor::eST_Synchronous);
    double const seconds = stopwatch.getSeconds();
    require(result.getStatus() == 0, result.getMessage());
    return seconds;
}

/// The median time of a copy from an open disk image into newly allocated memory. Allocating and releasing
/// the memory is not counted.
double timeCopy(RawFile const& file, ProcessorDispatchPolicy const& policy) {
    image::ImageConstPtr const pSource = image::file::openRawImageFile(file.path, *file.pGeometry);
    return measureMedian(std::max<vlUInt64>(1, g_nbBytesAtOnce / file.nbBytes),
                         [&] { return timeOneCopy(pSource, createTarget(file), policy); });
}

void requireSameBytes(RawFile const& file) {
    auto const pTarget = createTarget(file);
    timeOneCopy(image::file::openRawImageFile(file.path, *file.pGeometry), pTarget, defaultPolicy());
    FreshMemory const expected(file.nbBytes);
    Descriptor::openForReading(file.path.string()).read(expected.getData(), file.nbBytes, 0);
    require(std::memcmp(pTarget->getDataPtr(), expected.getData(), file.nbBytes) == 0,
            "The copy differs from the file");
}

void addAgainstPread(Suite& suite, std::string const& what, vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeZ) {
    suite.add(
        "raw copy " + what + ", default / pread of all threads", Quantity::time(), atMost(1.2), [=, &suite] {
            RawFile const file = suite.getData().getVolume(sizeX, sizeY, suite.cut(sizeZ));
            requireSameBytes(file);
            return Contenders{[file] { return timeCopy(file, defaultPolicy()); },
                              [file] { return timePreadOfAllThreads(file.path.string(), file.nbBytes); }};
        });
}

void addAgainstOneThread(Suite& suite, std::string const& size, vlUInt64 sizeX, vlUInt64 sizeY,
                         vlUInt64 sizeZ) {
    suite.add("raw copy " + size + ", default / 1 thread", Quantity::time(), atMost(1.05), [=, &suite] {
        RawFile const file = suite.getData().getVolume(sizeX, sizeY, suite.cut(sizeZ));
        requireSameBytes(file);
        return Contenders{[file] { return timeCopy(file, defaultPolicy()); },
                          [file] { return timeCopy(file, localPolicy()); }};
    });
}

} // namespace

void addCopyBenchmarks(Suite& suite) {
    addAgainstPread(suite, "800 MB in planes of 2 MB", 1024, 1024, 400);
    addAgainstPread(suite, "800 MB in planes of 512 KB", 512, 512, 1600);
    addAgainstPread(suite, "800 MB in planes of 128 KB", 256, 256, 6400);
    addAgainstOneThread(suite, "64 KB", 128, 128, 2);
    addAgainstOneThread(suite, "1 MB", 256, 256, 8);
    addAgainstOneThread(suite, "4 MB", 512, 512, 8);
    addAgainstOneThread(suite, "4 MB in one plane", 2048, 1024, 1);
    addAgainstOneThread(suite, "16 MB", 512, 512, 32);
    addAgainstOneThread(suite, "64 MB", 1024, 1024, 32);
    addAgainstOneThread(suite, "800 MB", 1024, 1024, 400);
}

} // namespace velmo::bench
