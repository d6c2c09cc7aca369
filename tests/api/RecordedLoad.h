// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <vector>

namespace velmo::test {

/// One thing that the library did while it was loaded. A mutex has no name, only an address.
struct LoadStep {
    std::string text;
    void const* pMutex;
};

/// What the library did up to now, in this order: "manager" for a look-up of its message manager, "message
/// <domain key> <id>", "class <name>", "mutex", and "text <value>" for a short text that is built once. The
/// record ends with the first call.
std::vector<LoadStep> const& endLoadRecord();

void beginLockRecord();
std::vector<void const*> endLockRecord();

/// The mutexes that the library locks while `work` runs, in their order.
template <class Work>
std::vector<void const*> recordLocks(Work const& work) {
    beginLockRecord();
    work();
    return endLockRecord();
}

} // namespace velmo::test
