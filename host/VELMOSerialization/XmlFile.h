// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BoolResult.h"
#include "VELMOUtil/Export.h"

#include <boost/filesystem/path.hpp>

namespace velmo {

class BaseSerializationObject;

/// Fills an object from an XML archive in a file of any kind, a pipe among them (see SequentialFile). Throws
/// VELMOSerializationException if the file cannot be read, is no archive, holds an object of another class,
/// or the object refuses what it reads; the object may then be half filled.
VELMO_HOST_EXPORT void readFromXmlFile(boost::filesystem::path const& path, BaseSerializationObject& object);

/// The same with the failure as a result, which is not logged: for who reports it.
VELMO_HOST_EXPORT BoolResult tryReadFromXmlFile(boost::filesystem::path const& path,
                                                BaseSerializationObject& object);

/// Writes an object with its class name; an existing file is replaced. Throws VELMOSerializationException. An
/// object that cannot be written leaves an existing file as it was.
VELMO_HOST_EXPORT void writeToXmlFile(boost::filesystem::path const& path,
                                      BaseSerializationObject const& object);

} // namespace velmo
