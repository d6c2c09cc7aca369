// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOBaseProcessing/ProcessorDispatchPolicy.h"

#include <algorithm>
#include <thread>

namespace velmo::processor {

void ProcessorDispatchPolicy::initDefault() {
    _bDefault = true;
    _nbThreads = std::max(1U, std::thread::hardware_concurrency());
}

void ProcessorDispatchPolicy::initLocal(vlUInt64 nbThreads) {
    _bDefault = false;
    _nbThreads = std::max<vlUInt64>(1, nbThreads);
}

} // namespace velmo::processor
