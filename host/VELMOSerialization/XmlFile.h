// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BoolResult.h"
#include "VELMOUtil/Export.h"

#include <boost/filesystem/path.hpp>

namespace velmo {

class BaseSerializationObject;

/// Reads an object from an XML file of any kind: a regular file, a pipe or a device. A pipe without a writer
/// fails after two seconds, a file that is not regular after 16 MiB. Throws VELMOSerializationException if
/// the file cannot be read, is not an archive or holds an object of another class, or if the `read` of the
/// object fails; the object may then be partly changed.
VELMO_HOST_EXPORT void readFromXmlFile(boost::filesystem::path const& path, BaseSerializationObject& object);

/// Same, but returns errors as a result and does not log them.
VELMO_HOST_EXPORT BoolResult tryReadFromXmlFile(boost::filesystem::path const& path,
                                                BaseSerializationObject& object);

/// Writes an object with its class name. Replaces an existing file. Throws VELMOSerializationException; if
/// the `write` of the object fails, an existing file is unchanged.
VELMO_HOST_EXPORT void writeToXmlFile(boost::filesystem::path const& path,
                                      BaseSerializationObject const& object);

} // namespace velmo
