// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/BaseDynamicObject.h"
#include "VELMOUtil/BoolResult.h"

namespace velmo {

class BaseIArchive;
class BaseOArchive;

/// A dynamic object that archives can store.
class VELMO_HOST_EXPORT BaseSerializationObject : public BaseDynamicObject {
  public:
    /// Writes the fields of the object. Its class name is written by `BaseOArchive::writeObject`.
    virtual BoolResult write(BaseOArchive& archive) const = 0;
    /// Replaces the fields of the object. Errors of the archive itself (early end, damaged item) are thrown
    /// as VELMOSerializationException.
    virtual BoolResult read(BaseIArchive& archive) = 0;
};

} // namespace velmo
