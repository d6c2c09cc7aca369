// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "FaultSample.h"
#include "FaultShim.h"

#include <map>
#include <set>

namespace velmo::test {

/// The calls that are to fail, and how.
struct Faults {
    unsigned int calls;
    eFaultMode mode;
    long at = 1;
};

/// A sample whose save and load run with faults.
FaultSample withFaults(FaultSample const& sample, Faults const& faults);

/// How many calls there are in an action without faults.
long countCalls(unsigned int calls, std::function<void()> const& action);

/// What comes of a save or a load, each in a process of its own; "done, but" tells what is wrong with the
/// image that a save has written or a load has given.
std::string saveInChild(FaultSample const& sample, boost::filesystem::path const& path, Faults const& faults);
std::string loadInChild(FaultSample const& sample, boost::filesystem::path const& path, Faults const& faults);

/// The calls at which each outcome came.
using Tally = std::map<std::string, std::vector<long>>;

/// The outcomes with one call after the other as the one that the faults are at.
Tally tallySaves(FaultSample const& sample, boost::filesystem::path const& path, Faults const& faults);
Tally tallyLoads(FaultSample const& sample, boost::filesystem::path const& path, Faults const& faults);

/// There were calls, and no outcome is another than those allowed.
void expectOnly(Tally const& tally, std::set<std::string> const& allowed);

} // namespace velmo::test
