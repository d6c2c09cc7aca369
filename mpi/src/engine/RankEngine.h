// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "blocks/BlockFile.h"
#include "blocks/PlaneRun.h"
#include "ranks/Driver.h"

#include <VELMOImage/DistributionEngine.h>
#include <atomic>
#include <boost/weak_ptr.hpp>

namespace velmo::image::mpi {

/// The blocks of another rank.
class RemoteOwner : public BaseBlockOwner {
  public:
    RemoteOwner(std::shared_ptr<Driver> pDriver, int rank) : _pDriver(std::move(pDriver)), _rank(rank) {}

    BoolResult addBlock(BaseImageGeometry const& geometry, PlanBlock const& block) override;
    /// Ignores all errors: the block went with its rank or with the session.
    void dropBlock(vlUInt64 id) override;
    BoolResult readBlock(vlUInt64 id, vlUInt64 offset, vlUInt64 nbBytes, void* buffer) const override;
    BoolResult writeBlock(vlUInt64 id, vlUInt64 offset, vlUInt64 nbBytes, void const* buffer) override;
    BoolResult fillBlock(vlUInt64 id, std::string const& accessorRecord) override;
    /// Sends the record, once for all blocks.
    boost::shared_ptr<void> beginFilling(std::string const& accessorRecord) override;

    /// `runOnPlanes` and `writeBlockToFile` at the rank.
    BoolResult runPlanes(PlanBlock const& block, PlaneWork const& work, std::vector<std::string>& results);
    BoolResult writeToFile(PlanBlock const& block, FilePart const& part);
    /// @{
    /// If the job ends before its time, the rank removes this temporary file, and those of dead processes in
    /// the folder.
    BoolResult guardFile(std::string const& path);
    BoolResult guardFolder(std::string const& path);
    /// @}

  private:
    class Filling;

    boost::shared_ptr<Filling> findFilling(std::string const& accessorRecord);

    std::shared_ptr<Driver> _pDriver;
    int _rank;
    std::mutex _mutex;
    boost::weak_ptr<Filling> _pFilling; ///< the last one
};

/// The ranks of a session as workers: rank 0 holds its blocks in this process, the others answer requests.
class RankEngine : public BaseDistributionEngine {
  public:
    explicit RankEngine(std::shared_ptr<Driver> pDriver);

    vlUInt64 getNbOwners() const override { return _remoteOwners.size() + 1; }
    /// Each machine must have room for the blocks of its ranks.
    BoolResult requireRoom(vlUInt64 nbBytes) const override;
    vlUInt64 createBlockId() override { return _nextId++; }
    BaseBlockOwner& getOwner(vlUInt64 index) override;

  private:
    BoolResult getRoom(int rank, vlUInt64& nbBytes) const;

    std::shared_ptr<Driver> _pDriver;
    DistributionEnginePtr _pLocalEngine;
    std::vector<std::unique_ptr<RemoteOwner>> _remoteOwners;
    std::atomic<vlUInt64> _nextId{1};
};

} // namespace velmo::image::mpi
