// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOSerialization/VELMOSerializationLog.h"

#include "VELMOUtil/LogMessageManager.h"
#include "VELMOUtil/Logging.h"

namespace velmo {

namespace {

LibraryLog& getLog() {
    static LibraryLog log("VELMOSerialization");
    return log;
}

bool registerMessages() {
    using Message = eVELMOSerializationMessage;
    LogMessageManager& manager = getVELMOSerializationLogMessageManager();
    manager.addMessage(Message::eVSM_ArchiveTooShort,
                       "The archive ends inside of item %s: %d bytes are needed and %d are left");
    manager.addMessage(Message::eVSM_StreamNotSeekable,
                       "An archive is read from a stream that can seek only");
    manager.addMessage(Message::eVSM_StreamFailed, "The stream of the archive failed at item %s");
    manager.addMessage(Message::eVSM_XmlError, "The archive is no valid XML: %s");
    manager.addMessage(Message::eVSM_XmlItemMissing, "The archive has no item %s where it is expected");
    manager.addMessage(Message::eVSM_XmlItemInvalid, "Item %s of the archive has no value of its type: %s");
    manager.addMessage(Message::eVSM_UnknownClass, "The archive holds an object of the unknown class %s");
    manager.addMessage(Message::eVSM_UnexpectedClass,
                       "An object of class %s cannot be item %s of the archive");
    manager.addMessage(Message::eVSM_ReadObjectError,
                       "Failed to read an object of class %s from the archive\n%s");
    manager.addMessage(Message::eVSM_WriteObjectError,
                       "Failed to write an object of class %s to the archive\n%s");
    manager.addMessage(Message::eVSM_NestedTooDeep,
                       "Section %s of the archive is nested deeper than %d levels");
    manager.addMessage(Message::eVSM_FileError, "Failed to reach the archive file %s\n%s");
    manager.addMessage(Message::eVSM_XmlZeroByte, "Item %s holds a zero byte, which XML cannot carry");
    manager.addMessage(Message::eVSM_NotSerializable, "not an object of an archive");
    manager.addMessage(Message::eVSM_EnumValueNotStorable,
                       "The unknown enumeration value %d cannot be stored in an archive");
    manager.addMessage(Message::eVSM_NewerClassVersion,
                       "Version %d of class %s in the archive is newer than the known version %d");
    manager.addMessage(Message::eVSM_UnknownEnumText, "The archive holds the unknown enumerator %s");
    manager.addMessage(Message::eVSM_UnknownEnumValue, "The archive holds the unknown enumeration value %d");
    return true;
}

bool const g_bMessagesRegistred = registerMessages();

} // namespace

LogMessageManager& getVELMOSerializationLogMessageManager() {
    return getLog().getManager();
}

log4cplus::Logger& getVELMOSerializationLogger() {
    return getLog().getLogger();
}

RaiseKind const g_velmoSerializationRaise = {getVELMOSerializationLogMessageManager,
                                             getVELMOSerializationLogger,
                                             throwAs<VELMOSerializationException>};

} // namespace velmo
