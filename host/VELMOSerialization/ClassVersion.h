// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/GuardedRaise.h"

#include <string>

namespace velmo {

class BaseIArchive;
class BaseOArchive;

/// Stores the version of a class once in each archive, as the item "version" in a section of the class's
/// name.
VELMO_HOST_EXPORT void writeClassVersion(BaseOArchive& archive, std::string const& className,
                                         unsigned int version);

/// The version of a class in an archive, read where writeClassVersion stored it. A version above
/// `currentVersion` is raised at `site` as VELMOSerializationException.
VELMO_HOST_EXPORT unsigned int readClassVersion(BaseIArchive& archive, std::string const& className,
                                                unsigned int currentVersion, RaiseSite const& site);

} // namespace velmo
