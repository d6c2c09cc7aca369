// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BaseException.h"
#include "VELMOUtil/GuardedRaise.h"

namespace velmo::image {

/// Errors of accessors.
struct eImageAccessorMessage {
    /// Message ids, each with the arguments of its text.
    enum domain {
        eIAM_NotInitialised = 1,   ///< no argument
        eIAM_InvalidFileFormat = 6 ///< no argument
    };
};

/// Errors of images and geometries.
struct eImageMessage {
    /// Message ids, each with the arguments of its text.
    enum domain {
        eIM_GeometryTooLarge = 0,   ///< sizes X, Y, Z, C, T
        eIM_BufferTypesCount = 1,   ///< number of types, size Z, size T
        eIM_TimeStepOutOfRange = 2, ///< t, size T
        eIM_PixelsOutOfRange =
            3, ///< first pixel, number of pixels, z, c, t, sizes Z, C, T, pixels of a plane
        eIM_ChannelOutOfRange = 4,      ///< index, number of channels
        eIM_MemoryTooSmall = 5,         ///< bytes needed, bytes available
        eIM_AllocationFailed = 6,       ///< bytes needed
        eIM_AccessorMissing = 7,        ///< no argument
        eIM_AccessorNotReady = 8,       ///< no argument
        eIM_InitNotSupported = 9,       ///< no argument
        eIM_CpuCopyFailed = 10,         ///< text of the failure
        eIM_NoWorker = 11,              ///< no argument
        eIM_NotInitialised = 12,        ///< no argument
        eIM_PixelsInTarget = 13,        ///< path
        eIM_RecordWithoutGeometry = 14, ///< no argument
        eIM_RecordWithoutAccessor = 15, ///< no argument
        eIM_NothingToJoin = 16,         ///< no argument
        eIM_PartMismatch = 17,          ///< part, its description, the first part's description
        eIM_PartMissing = 18,           ///< part
        eIM_PartNotOnDisk = 19,         ///< part
        eIM_JoinedResize = 20,          ///< no argument
        eIM_PartNotUniform = 21,        ///< part, its description, plane, its pixel type
        eIM_PartTimeSteps = 22,         ///< part, its description, its number of time steps
        eIM_BinaryPacked = 23,          ///< class of the accessor
        eIM_PixelTypeMismatch = 24,     ///< z, c, t, image, pixel type, its C++ type, C++ type that was given
        eIM_RowOutOfRange = 25,         ///< z, c, t, image, size Y, y
        eIM_PixelCountMismatch = 26,    ///< z, c, t, image, its number of pixels, the number given
        eIM_PlaneNotInMemory = 27,      ///< z, c, t, image
        eIM_ReadPlaneFailed = 28,       ///< z, c, t, image, text of the failure
        eIM_WritePlaneFailed = 29,      ///< z, c, t, image, text of the failure
        eIM_ImageMissing = 30,          ///< no argument
        eIM_PixelOutOfView = 31,        ///< x, y, sizes X, Y
        eIM_PlaneOutOfRange = 32        ///< z, c, t, image, sizes Z, C, T
    };
};

/// Thrown for errors of images, geometries and accessors. Already logged.
class VELMO_HOST_EXPORT VELMOImageException : public BaseException {
  public:
    /// `function`, `file` and `line` are the place of the raise.
    VELMOImageException(std::string const& message, char const* function, char const* file, unsigned int line)
        : BaseException(message, function, file, line) {}
};

/// @{
/// Message manager and logger of this library. Created at first use; they exist until the process ends.
/// Thread-safe.
VELMO_HOST_EXPORT LogMessageManager& getVELMOImageLogMessageManager();
VELMO_HOST_EXPORT log4cplus::Logger& getVELMOImageLogger();
/// @}
/// The exceptions of this library, for `raiseMessage` and `raiseGuarded`.
VELMO_HOST_EXPORT extern RaiseKind const g_velmoImageRaise;

} // namespace velmo::image
