// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOSerialization/BaseDynamicObject.h"

namespace velmo {

BaseDynamicObject::~BaseDynamicObject() = default;

void BaseDynamicObject::initCtorCopy(BaseDynamicObject const& /*other*/) {}

} // namespace velmo
