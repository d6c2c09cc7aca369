// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ranks/RankDescription.h"

#include "wire/Bytes.h"

#include <array>
#include <boost/filesystem/operations.hpp>
#include <cstring>
#include <fstream>
#include <unistd.h>

namespace velmo::image::mpi {

namespace {

std::string getHostName() {
    std::array<char, 256> name = {};
    return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "unknown host";
}

/// Processes on one machine read the same number, whatever container they are in.
std::string getMachine(std::string const& host) {
    std::string id;
    std::ifstream("/proc/sys/kernel/random/boot_id") >> id;
    return id.empty() ? host : id;
}

std::uint64_t getByteOrder() {
    constexpr std::array<unsigned char, 8> bytes = {1, 2, 3, 4, 5, 6, 7, 8};
    std::uint64_t order = 0;
    std::memcpy(&order, bytes.data(), sizeof(order));
    return order;
}

BoolResult failDifference(int rank, RankDescription const& other, char const* what, std::string const& theirs,
                          std::string const& ours) {
    return failure(nameRank(rank, other) + " has " + what + " " + theirs + ", but rank 0 has " + ours +
                   ". All ranks must run the same program.");
}

} // namespace

RankDescription describeThisRank() {
    RankDescription rank;
    rank.libraryVersion = VELMO_MPI_VERSION;
    rank.byteOrder = getByteOrder();
    rank.host = getHostName();
    rank.machine = getMachine(rank.host);
    boost::system::error_code error;
    rank.folder = boost::filesystem::current_path(error).string();
    rank.pid = static_cast<std::uint64_t>(getpid());
    return rank;
}

std::string encodeDescription(RankDescription const& rank) {
    ByteWriter writer;
    writer << rank.protocol << rank.libraryVersion << rank.byteOrder << rank.host << rank.machine
           << rank.folder << rank.pid;
    return writer.take();
}

bool decodeDescription(std::string_view bytes, RankDescription& rank) {
    ByteReader reader(bytes);
    reader >> rank.protocol >> rank.libraryVersion >> rank.byteOrder >> rank.host >> rank.machine >>
        rank.folder >> rank.pid;
    return reader.isWhole();
}

BoolResult requireSameKind(std::vector<RankDescription> const& ranks) {
    for (std::size_t index = 1; index < ranks.size(); ++index) {
        int const rank = static_cast<int>(index);
        RankDescription const& theirs = ranks[index];
        RankDescription const& ours = ranks[0];
        if (theirs.protocol != ours.protocol) {
            return failDifference(rank, theirs, "protocol version", std::to_string(theirs.protocol),
                                  std::to_string(ours.protocol));
        }
        if (theirs.libraryVersion != ours.libraryVersion) {
            return failDifference(rank, theirs, "library version", theirs.libraryVersion,
                                  ours.libraryVersion);
        }
        if (theirs.byteOrder != ours.byteOrder) {
            return failDifference(rank, theirs, "byte order", std::to_string(theirs.byteOrder),
                                  std::to_string(ours.byteOrder));
        }
    }
    return success();
}

std::string nameRank(int rank, RankDescription const& description) {
    return "rank " + std::to_string(rank) + (description.host.empty() ? "" : " on " + description.host);
}

std::string namePlace(int rank, RankDescription const& description) {
    return " (" + nameRank(rank, description) +
           (description.folder.empty() ? "" : " in " + description.folder) + ")";
}

} // namespace velmo::image::mpi
