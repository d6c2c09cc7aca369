// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/Header.h"

#include <VELMOImage/DistributionEngine.h>
#include <VELMOImage/ImageGeometry.h>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace velmo::image::mpi {

/// The blocks of a rank, and the work of all requests on them. Every argument of a request is checked.
class BlockStore {
  public:
    BlockStore();
    BlockStore(BlockStore const&) = delete;
    BlockStore& operator=(BlockStore const&) = delete;

    /// Does the work of a request other than ReadBlock and WriteBlock. For one thread. Throws what the work
    /// throws.
    BoolResult execute(Header const& header, std::string const& payload,
                       std::array<std::uint64_t, g_nbArguments>& arguments, std::string& answer);

    /// Whether the bytes of a request (block, offset) are inside of a block. Thread-safe.
    BoolResult requireRange(Header const& header, std::uint64_t nbBytes) const;
    /// These bytes; null if they are not inside of a block. Thread-safe.
    BlockMemory access(Header const& header, std::uint64_t nbBytes) const;

  private:
    struct Block {
        ImageGeometryPtr pGeometry;
        PlanBlock plans;
    };
    struct Filling {
        std::string record;
        boost::shared_ptr<void> pStarted;
    };

    BoolResult addBlock(Header const& header, std::string const& payload);
    BoolResult fillBlock(Header const& header);
    BoolResult runPlanes(Header const& header, std::string const& payload, std::string& answer);
    BoolResult writeFile(Header const& header, std::string const& path);
    BoolResult requireBlock(std::uint64_t id) const;

    DistributionEnginePtr _pEngine;
    BaseBlockOwner& _owner;
    std::map<std::uint64_t, Block> _blocks;
    std::map<std::uint64_t, Filling> _fillings;
};

} // namespace velmo::image::mpi
