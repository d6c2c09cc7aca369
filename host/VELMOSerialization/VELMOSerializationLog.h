// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BaseException.h"
#include "VELMOUtil/GuardedRaise.h"

namespace velmo {

/// Errors of archives.
struct eVELMOSerializationMessage {
    /// Message ids, each with the arguments of its text.
    enum domain {
        eVSM_ArchiveTooShort = 1,       ///< item name, bytes wanted, bytes left
        eVSM_StreamNotSeekable = 2,     ///< no argument
        eVSM_StreamFailed = 3,          ///< item name
        eVSM_XmlError = 4,              ///< message of the parser
        eVSM_XmlItemMissing = 5,        ///< item name
        eVSM_XmlItemInvalid = 6,        ///< item name, text found
        eVSM_UnknownClass = 7,          ///< class name
        eVSM_UnexpectedClass = 8,       ///< class name, item name
        eVSM_ReadObjectError = 9,       ///< class name, text of the failure
        eVSM_WriteObjectError = 10,     ///< class name, text of the failure
        eVSM_NestedTooDeep = 11,        ///< section name, deepest level
        eVSM_FileError = 12,            ///< path, system's text
        eVSM_XmlZeroByte = 13,          ///< item name
        eVSM_NotSerializable = 14,      ///< no argument
        eVSM_EnumValueNotStorable = 15, ///< value to write
        eVSM_NewerClassVersion = 25,    ///< version read, class name, current version
        eVSM_UnknownEnumText = 26,      ///< text read
        eVSM_UnknownEnumValue = 27      ///< value read
    };
};

/// Thrown when an archive is damaged, too short or of another version. Already logged.
class VELMO_HOST_EXPORT VELMOSerializationException : public BaseException {
  public:
    /// `function`, `file` and `line` are the place of the raise.
    VELMOSerializationException(std::string const& message, char const* function, char const* file,
                                unsigned int line)
        : BaseException(message, function, file, line) {}
};

/// @{
/// Message manager and logger of this library. Created at first use; they exist until the process ends.
/// Thread-safe.
VELMO_HOST_EXPORT LogMessageManager& getVELMOSerializationLogMessageManager();
VELMO_HOST_EXPORT log4cplus::Logger& getVELMOSerializationLogger();
/// @}
/// The exceptions of this library, for `raiseMessage` and `raiseGuarded`.
VELMO_HOST_EXPORT extern RaiseKind const g_velmoSerializationRaise;

} // namespace velmo
