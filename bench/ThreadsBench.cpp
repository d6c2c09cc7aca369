// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LowerBound.h"
#include "Suite.h"

#include <VELMOImageFile/RawImageFile.h>
#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace velmo::bench {

namespace {

/// Runs of pixels at random places of a file, the same for ours and for the lower bound.
struct Reads {
    struct Place {
        vlUInt64 z;
        vlUInt64 firstPixel;
    };

    RawFile file;
    vlUInt64 nbPixels;
    std::vector<std::vector<Place>> places; ///< of each thread

    vlUInt64 getNbThreads() const { return places.size(); }
    vlUInt64 getNbBytes() const { return nbPixels * sizeof(std::uint16_t); }
    vlUInt64 getOffset(Place const& place) const {
        return (place.z * file.pGeometry->getPlanNbPixels() + place.firstPixel) * sizeof(std::uint16_t);
    }
};

using ReadsPtr = std::shared_ptr<Reads const>;

ReadsPtr drawReads(RawFile const& file, vlUInt64 nbPixels, vlUInt64 nbThreads, vlUInt64 nbReads) {
    Reads reads{file, nbPixels, {}};
    std::mt19937_64 random(nbThreads);
    vlUInt64 const nbParts = file.pGeometry->getPlanNbPixels() / nbPixels;
    for (vlUInt64 thread = 0; thread < nbThreads; ++thread) {
        std::vector<Reads::Place> places(nbReads / nbThreads);
        for (Reads::Place& place : places) {
            place = {random() % file.pGeometry->getSizeZ(), random() % nbParts * nbPixels};
        }
        reads.places.push_back(std::move(places));
    }
    return std::make_shared<Reads const>(std::move(reads));
}

std::unique_ptr<image::file::RawImageFile> openAccessor(RawFile const& file) {
    auto pAccessor = std::make_unique<image::file::RawImageFile>();
    BoolResult const result = pAccessor->openFile(file.path, image::eIAM_ReadOnly, 0, *file.pGeometry);
    require(static_cast<bool>(result), result.getMessage());
    return pAccessor;
}

/// Before the clock starts, each thread has read once and has therefore opened its stream.
double timeAccessor(Reads const& reads) {
    auto const pAccessor = openAccessor(reads.file);
    std::vector<std::vector<std::byte>> buffers(reads.getNbThreads());
    auto const read = [&](vlUInt64 thread, Reads::Place const& place) {
        BoolResult const result =
            pAccessor->readRawData(place.z, 0, 0, place.firstPixel, reads.nbPixels, buffers[thread].data());
        require(static_cast<bool>(result), result.getMessage());
    };
    return timeThreads(
        reads.getNbThreads(),
        [&](vlUInt64 thread) {
            buffers[thread].resize(reads.getNbBytes());
            read(thread, {0, 0});
        },
        [&](vlUInt64 thread) {
            for (Reads::Place const& place : reads.places[thread]) {
                read(thread, place);
            }
        });
}

double timePread(Reads const& reads) {
    std::vector<std::vector<std::byte>> buffers(reads.getNbThreads());
    std::vector<std::unique_ptr<Descriptor>> descriptors(reads.getNbThreads());
    return timeThreads(
        reads.getNbThreads(),
        [&](vlUInt64 thread) {
            buffers[thread].resize(reads.getNbBytes());
            descriptors[thread].reset(new Descriptor(Descriptor::openForReading(reads.file.path.string())));
            descriptors[thread]->read(buffers[thread].data(), reads.getNbBytes(), 0);
        },
        [&](vlUInt64 thread) {
            for (Reads::Place const& place : reads.places[thread]) {
                descriptors[thread]->read(buffers[thread].data(), reads.getNbBytes(), reads.getOffset(place));
            }
        });
}

void requireSameBytes(Reads const& reads) {
    auto const pAccessor = openAccessor(reads.file);
    Descriptor const descriptor = Descriptor::openForReading(reads.file.path.string());
    std::vector<std::byte> ours(reads.getNbBytes());
    std::vector<std::byte> expected(reads.getNbBytes());
    std::vector<Reads::Place> const& places = reads.places.front();
    for (vlUInt64 read = 0; read < std::min<vlUInt64>(16, places.size()); ++read) {
        Reads::Place const& place = places[read];
        BoolResult const result =
            pAccessor->readRawData(place.z, 0, 0, place.firstPixel, reads.nbPixels, ours.data());
        require(static_cast<bool>(result), result.getMessage());
        descriptor.read(expected.data(), reads.getNbBytes(), reads.getOffset(place));
        require(ours == expected, "The accessor reads other bytes than the file has");
    }
}

void add(Suite& suite, std::string const& what, Limit const& limit, vlUInt64 nbPixels, vlUInt64 nbThreads,
         vlUInt64 nbReadsAtAll) {
    vlUInt64 const nbReads = suite.cut(nbReadsAtAll);
    std::string const name =
        "raw read " + what + ", " + std::to_string(nbThreads) + (nbThreads == 1 ? " thread" : " threads");
    Quantity const quantity = Quantity::rate(nbReads * nbPixels * sizeof(std::uint16_t));
    suite.add(name + " / pread", quantity, limit, [=, &suite] {
        RawFile const file = suite.getData().getVolume(512, 512, suite.cut(512));
        ReadsPtr const pReads = drawReads(file, nbPixels, nbThreads, nbReads);
        requireSameBytes(*pReads);
        return Contenders{[pReads] { return timeAccessor(*pReads); },
                          [pReads] { return timePread(*pReads); }};
    });
}

} // namespace

void addThreadsBenchmarks(Suite& suite) {
    for (vlUInt64 const nbThreads : {1U, 2U, 4U, 8U}) {
        add(suite, "planes of 512 KB", atLeast(0.9), vlUInt64{512} * 512, nbThreads, 2048);
    }
    for (vlUInt64 const nbThreads : {1U, 2U, 4U, 8U}) {
        add(suite, "parts of 4 KB", noLimit(), 2048, nbThreads, 131072);
    }
    for (vlUInt64 const nbThreads : {1U, 8U}) {
        add(suite, "single pixels", noLimit(), 1, nbThreads, 131072);
    }
}

} // namespace velmo::bench
