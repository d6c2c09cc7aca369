// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOBaseProcessing/ProcessorDispatchPolicy.h>

namespace velmo::image::file {

/// All processors of the machine, as far as they make the work faster.
inline processor::ProcessorDispatchPolicy useAllProcessors() {
    processor::ProcessorDispatchPolicy policy;
    policy.initDefault();
    return policy;
}

/// `nbThreads` threads, including the calling one; 0 counts as 1.
inline processor::ProcessorDispatchPolicy useThreads(vlUInt64 nbThreads) {
    processor::ProcessorDispatchPolicy policy;
    policy.initLocal(nbThreads);
    return policy;
}

} // namespace velmo::image::file
