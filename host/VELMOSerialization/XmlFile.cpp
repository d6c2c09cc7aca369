// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOSerialization/XmlFile.h"

#include "VELMOBase/FileKind.h"
#include "VELMOBase/SequentialFile.h"
#include "VELMOSerialization/BaseSerializationObject.h"
#include "VELMOSerialization/VELMOSerializationLog.h"
#include "VELMOSerialization/XmlArchive.h"
#include "VELMOUtil/Failures.h"
#include "VELMOUtil/LastError.h"

#include <array>
#include <fstream>
#include <sstream>
#include <system_error>

namespace velmo {

namespace {

using Message = eVELMOSerializationMessage;

[[noreturn]] void raiseFileError(RaiseSite const& site, boost::filesystem::path const& path,
                                 std::string const& reason) {
    raiseMessage(site, g_velmoSerializationRaise, Message::eVSM_FileError, path, reason);
}

void requireNoError(RaiseSite const& site, boost::filesystem::path const& path,
                    std::error_code const& error) {
    if (error) {
        raiseFileError(site, path, error.message());
    }
}

std::string readWhole(RaiseSite const& site, boost::filesystem::path const& path) {
    SequentialFile file(path);
    std::string text;
    std::array<char, std::size_t{1} << 13U> some;
    while (file.read(some.data(), some.size()) || file.gcount() != 0) {
        text.append(some.data(), static_cast<std::size_t>(file.gcount()));
    }
    if (!file.getFailure().empty()) {
        raiseFileError(site, path, file.getFailure());
    }
    return text;
}

} // namespace

void readFromXmlFile(boost::filesystem::path const& path, BaseSerializationObject& object) {
    std::istringstream stream(readWhole(VELMO_HERE, path));
    XmlIArchive archive(stream);
    ArchiveSectionManager const section(archive, "object");
    std::string className;
    archive.readItem("className", className);
    if (className != object.getClassName()) {
        raiseMessage(VELMO_HERE, g_velmoSerializationRaise, Message::eVSM_UnexpectedClass, className,
                     "object");
    }
    BoolResult const result = object.read(archive);
    if (!result) {
        raiseMessage(VELMO_HERE, g_velmoSerializationRaise, Message::eVSM_ReadObjectError, className, result);
    }
}

BoolResult tryReadFromXmlFile(boost::filesystem::path const& path, BaseSerializationObject& object) {
    UnloggedRaises const unlogged;
    try {
        readFromXmlFile(path, object);
    } catch (BaseException const& exception) {
        return failure(exception);
    }
    return success();
}

void writeToXmlFile(boost::filesystem::path const& path, BaseSerializationObject const& object) {
    std::ostringstream document;
    XmlOArchive archive(document);
    // The archive does not own what it writes, and the object outlives it.
    archive.writeObject("object", boost::shared_ptr<BaseDynamicObject const>(&object, [](auto const*) {}));
    archive.finish();
    requireNoError(VELMO_HERE, path, getSeekError(path));
    std::ofstream stream(path.string(), std::ios::out | std::ios::binary);
    if (!(stream << document.str() << std::flush)) {
        raiseFileError(VELMO_HERE, path, getLastError());
    }
}

} // namespace velmo
