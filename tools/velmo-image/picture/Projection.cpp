// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "picture/Projection.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmo::tool {

namespace {

double combine(eProjection kind, double left, double right) {
    switch (kind) {
    case eProjection::Max:
        return std::max(left, right);
    case eProjection::Min:
        return std::min(left, right);
    case eProjection::Mean:
        break;
    }
    return left + right;
}

} // namespace

Projection::Projection(eProjection kind, Picture first)
    : _kind(kind), _result(std::move(first)), _counts(kind == eProjection::Mean ? _result.values.size() : 0) {
    std::transform(_result.values.begin(),
                   _result.values.begin() + static_cast<std::ptrdiff_t>(_counts.size()), _counts.begin(),
                   [](double value) { return std::isnan(value) ? 0.0 : 1.0; });
}

void Projection::add(Picture const& picture) {
    for (std::size_t index = 0; index < picture.values.size(); ++index) {
        double const value = picture.values[index];
        double& result = _result.values[index];
        if (!std::isnan(value)) {
            result = std::isnan(result) ? value : combine(_kind, result, value);
            if (_kind == eProjection::Mean) {
                _counts[index] += 1;
            }
        }
    }
}

Picture Projection::take() {
    for (std::size_t index = 0; index < _counts.size(); ++index) {
        if (_counts[index] != 0) {
            _result.values[index] /= _counts[index];
        }
    }
    return std::move(_result);
}

} // namespace velmo::tool
