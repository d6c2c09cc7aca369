// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFileMpi/PlaneFunctions.h>

#include "engine/RankEngine.h"

#include <VELMOUtil/BaseException.h>
#include <VELMOUtil/GuardedRaise.h>
#include <algorithm>
#include <iterator>

namespace velmo::image::mpi {

namespace {

BoolResult runOnOwner(DistributedImage const& image, BaseBlockOwner& owner, PlanBlock const& block,
                      PlaneWork const& work, std::vector<std::string>& results) {
    if (auto* const pRemote = dynamic_cast<RemoteOwner*>(&owner)) {
        return pRemote->runPlanes(block, work, results);
    }
    return runOnPlanes(image.getGeometry(), block, owner.accessBlock(block.id), work, results);
}

} // namespace

std::vector<std::string> forEachPlane(DistributedImage& image, std::string const& name,
                                      std::string const& argument) {
    PlaneWork const work = {name, argument};
    std::vector<std::string> results(image.getGeometry().getNbPlans());
    BoolResult const result = image.forEachBlock([&](BaseBlockOwner& owner, PlanBlock const& block) {
        std::vector<std::string> ofBlock;
        BoolResult done = runOnOwner(image, owner, block, work, ofBlock);
        if (done) {
            std::move(ofBlock.begin(), ofBlock.end(),
                      std::next(results.begin(), static_cast<std::ptrdiff_t>(block.firstPlan)));
        }
        return done;
    });
    if (!result) {
        auto const site = VELMO_HERE;
        BaseException exception(result.getMessage(), site.function, site.file, site.line);
        exception.setMessageIds(result.getMessageIds());
        throw exception; // NOLINT(misc-throw-by-value-catch-by-reference): the ids are set before
    }
    return results;
}

} // namespace velmo::image::mpi
