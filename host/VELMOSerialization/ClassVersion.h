// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/GuardedRaise.h"

#include <string>

namespace velmo {

class BaseIArchive;
class BaseOArchive;

/// Writes the version of a class once in each archive: as item "version" in a section with the name of the
/// class.
VELMO_HOST_EXPORT void writeClassVersion(BaseOArchive& archive, std::string const& className,
                                         unsigned int version);

/// Reads the version of a class that writeClassVersion wrote. If it is above `currentVersion`, raises
/// VELMOSerializationException at `site`.
VELMO_HOST_EXPORT unsigned int readClassVersion(BaseIArchive& archive, std::string const& className,
                                                unsigned int currentVersion, RaiseSite const& site);

} // namespace velmo
