// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <array>
#include <cstddef>

namespace velmo::tool {

/// Results for values that are worked on side by side, so that the compiler can use vector instructions.
constexpr std::size_t g_nbLanes = 16;
template <class Value>
using Lanes = std::array<Value, g_nbLanes>;

template <class Value>
Value sumLanes(Lanes<Value> const& lanes) {
    Value sum = 0;
    for (Value const value : lanes) {
        sum += value;
    }
    return sum;
}

/// Calls `take(index, lane)` for each index below `nb`.
template <class Take>
void spreadOverLanes(vlUInt64 nb, Take const& take) {
    vlUInt64 const nbFull = nb / g_nbLanes * g_nbLanes;
    for (vlUInt64 first = 0; first < nbFull; first += g_nbLanes) {
        for (std::size_t lane = 0; lane < g_nbLanes; ++lane) {
            take(first + lane, lane);
        }
    }
    for (vlUInt64 index = nbFull; index < nb; ++index) {
        take(index, std::size_t{0}); // a constant lane, so that lanes can be registers
    }
}

} // namespace velmo::tool
