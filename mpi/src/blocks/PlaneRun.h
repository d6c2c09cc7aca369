// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DistributionEngine.h>
#include <VELMOImage/ImageGeometry.h>
#include <string>
#include <string_view>
#include <vector>

namespace velmo::image::mpi {

/// Fails unless the memory is that of the block: an engine need not give access to it.
BoolResult requireWholeBlock(BaseImageGeometry const& geometry, PlanBlock const& block,
                             BlockMemory const& memory);

/// Name and argument of a registered function.
struct PlaneWork {
    std::string function;
    std::string argument;
};

/// Calls the function for the planes of a block in this process. Fails if the function is not registered;
/// throws what it throws.
BoolResult runOnPlanes(BaseImageGeometry const& geometry, PlanBlock const& block, BlockMemory const& memory,
                       PlaneWork const& work, std::vector<std::string>& results);

/// @{
/// The results of the planes of a block as the payload of a message. False for bytes that are not `nbResults`
/// of them.
std::string encodeResults(std::vector<std::string> const& results);
bool decodeResults(std::string_view bytes, vlUInt64 nbResults, std::vector<std::string>& results);
/// @}

} // namespace velmo::image::mpi
