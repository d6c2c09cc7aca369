// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "picture/ZProjection.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmo::tool {

namespace {

double combine(eZProjection kind, double left, double right) {
    switch (kind) {
    case eZProjection::Max:
        return std::max(left, right);
    case eZProjection::Min:
        return std::min(left, right);
    case eZProjection::Mean:
        break;
    }
    return left + right;
}

} // namespace

ZProjection::ZProjection(eZProjection kind, Picture first)
    : _kind(kind), _result(std::move(first)),
      _counts(kind == eZProjection::Mean ? _result.values.size() : 0) {
    std::transform(_result.values.begin(),
                   _result.values.begin() + static_cast<std::ptrdiff_t>(_counts.size()), _counts.begin(),
                   [](double value) { return std::isnan(value) ? 0.0 : 1.0; });
}

void ZProjection::add(Picture const& picture) {
    for (std::size_t index = 0; index < picture.values.size(); ++index) {
        double const value = picture.values[index];
        double& result = _result.values[index];
        if (!std::isnan(value)) {
            result = std::isnan(result) ? value : combine(_kind, result, value);
            if (_kind == eZProjection::Mean) {
                _counts[index] += 1;
            }
        }
    }
}

Picture ZProjection::take() {
    for (std::size_t index = 0; index < _counts.size(); ++index) {
        if (_counts[index] != 0) {
            _result.values[index] /= _counts[index];
        }
    }
    return std::move(_result);
}

} // namespace velmo::tool
