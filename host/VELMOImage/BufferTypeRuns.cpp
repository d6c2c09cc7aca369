// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/BufferTypeRuns.h"

#include "VELMOBase/CheckedArithmetic.h"

#include <algorithm>

namespace velmo::image {

BufferTypeRuns::BufferTypeRuns(std::vector<eImageBufferType> const& types) {
    for (eImageBufferType const type : types) {
        add(type, 1);
    }
}

void BufferTypeRuns::add(eImageBufferType type, vlUInt64 nbSteps) {
    if (nbSteps != 0 && (_runs.empty() || _runs.back().type != type)) {
        _runs.push_back({_nbSteps, type, getPixelSizesBefore(_nbSteps)});
    }
    _nbSteps += nbSteps;
}

void BufferTypeRuns::add(BufferTypeRuns const& others) {
    for (std::size_t run = 0; run < others._runs.size(); ++run) {
        vlUInt64 const end = run + 1 < others._runs.size() ? others._runs[run + 1].start : others._nbSteps;
        add(others._runs[run].type, end - others._runs[run].start);
    }
}

BufferTypeRuns::Run const& BufferTypeRuns::find(vlUInt64 step) const {
    auto const next = std::upper_bound(_runs.begin(), _runs.end(), step,
                                       [](vlUInt64 value, Run const& run) { return value < run.start; });
    return *std::prev(next);
}

std::vector<eImageBufferType> BufferTypeRuns::getTypesOfRuns() const {
    std::vector<eImageBufferType> types;
    types.reserve(_runs.size());
    for (Run const& run : _runs) {
        types.push_back(run.type);
    }
    return types;
}

eImageBufferType BufferTypeRuns::getType(vlUInt64 step) const {
    return step < _nbSteps ? find(step).type : eIBT_None;
}

std::optional<vlUInt64> BufferTypeRuns::getPixelSizesBefore(vlUInt64 step) const {
    if (step == 0) {
        return 0;
    }
    Run const& run = find(step);
    auto const inRun = checkedMultiply(step - run.start, getImageBufferBaseSize(run.type));
    return run.pixelSizesBefore && inRun ? checkedAdd(*run.pixelSizesBefore, *inRun) : std::nullopt;
}

std::vector<eImageBufferType> BufferTypeRuns::expand() const {
    std::vector<eImageBufferType> types;
    types.reserve(_nbSteps);
    for (std::size_t run = 0; run < _runs.size(); ++run) {
        types.resize(run + 1 < _runs.size() ? _runs[run + 1].start : _nbSteps, _runs[run].type);
    }
    return types;
}

} // namespace velmo::image
