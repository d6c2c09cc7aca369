// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/BaseDynamicObject.h"
#include "VELMOUtil/BoolResult.h"

namespace velmo {

class BaseIArchive;
class BaseOArchive;

/// A dynamic object that an archive can hold.
class VELMO_HOST_EXPORT BaseSerializationObject : public BaseDynamicObject {
  public:
    /// Stores the object's fields, not its class name, which `writeObject` stores.
    virtual BoolResult write(BaseOArchive& archive) const = 0;
    /// Replaces what the object holds. What the archive itself refuses (an end too early, a damaged item) is
    /// thrown as VELMOSerializationException.
    virtual BoolResult read(BaseIArchive& archive) = 0;
};

} // namespace velmo
