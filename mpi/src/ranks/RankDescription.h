// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/Header.h"

#include <VELMOUtil/BoolResult.h>
#include <string>
#include <string_view>
#include <vector>

namespace velmo::image::mpi {

/// What a rank tells the driver about itself.
struct RankDescription {
    std::uint64_t protocol = g_protocolVersion;
    std::string libraryVersion;
    std::uint64_t byteOrder = 0; ///< a number as it lies in memory
    std::string host;
    std::string machine; ///< equal for ranks that share memory
    std::string folder;  ///< working folder at the start
    std::uint64_t pid = 0;
};

/// The description of this process.
RankDescription describeThisRank();

std::string encodeDescription(RankDescription const& rank);
/// False for bytes that are not a description.
bool decodeDescription(std::string_view bytes, RankDescription& rank);

/// Fails if a rank has another version or byte order than rank 0.
BoolResult requireSameKind(std::vector<RankDescription> const& ranks);

/// "rank 1 on HOST"
std::string nameRank(int rank, RankDescription const& description);
/// " (rank 1 on HOST in FOLDER)", for the end of a message.
std::string namePlace(int rank, RankDescription const& description);

} // namespace velmo::image::mpi
