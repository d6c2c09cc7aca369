// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace velmo::image::file {

/// Messages of TIFF image files, by id. Ids never change, even if the message is no longer used.
struct eTiffImageFileMessage {
    /// docs/messages.md has the text, the cause and the remedy of each.
    enum domain {
        eTIFM_BufferTypeMismatch = 0,
        eTIFM_CloseFileException = 1,
        eTIFM_ColorGeometryTypeMismatch = 2,
        eTIFM_CreateFileException = 3,
        eTIFM_CreateFileError = 4,
        eTIFM_CreateDistributedImageError = 5,
        eTIFM_CreateOutputImageError = 6,
        eTIFM_InvalidResolutionValues = 7,
        eTIFM_InvalidImageBufferType = 8,
        eTIFM_TooManyImagePlans = 9,
        eTIFM_PlanSizeTooLarge = 10,
        eTIFM_LoadFileError = 11,
        eTIFM_ZStepsTxtFieldError = 12,
        eTIFM_ZStepsFileError = 13,
        eTIFM_OpenFileException = 14,
        eTIFM_OpenFileError = 15,
        eTIFM_PlanColorTypeMismatch = 16,
        eTIFM_PlanSizeMismatch = 17,
        eTIFM_SaveFileError = 18,
        eTIFM_SizeCMismatch = 19,
        eTIFM_SizeXMismatch = 20,
        eTIFM_SizeYMismatch = 21,
        eTIFM_SizeZMismatch = 22,
        eTIFM_TemporalGeometryNotSingle = 23,
        eTIFM_FlushError = 24,
        eTIFM_GetTagError = 25,
        eTIFM_InitStripDataError = 26,
        eTIFM_DecodeErrorMessageError = 27,
        eTIFM_NotInterleavedRgb = 28,
        eTIFM_ReadRowError = 29,
        eTIFM_ReadStripError = 30,
        eTIFM_SetDirectoryError = 31,
        eTIFM_SetTagError = 32,
        eTIFM_WriteDirectoryError = 33,
        eTIFM_WriteRowError = 34,
        eTIFM_WriteStripError = 35,
        eTIFM_UnsupportedBufferType = 36,
        eTIFM_UnsupportedCompression = 37,
        eTIFM_UnsupportedOrientation = 38,
        eTIFM_UnsupportedPackedColor = 39,
        eTIFM_UnsupportedPackedWrite = 40,
        eTIFM_UnsupportedPhotometric = 41,
        eTIFM_UnsupportedPlanarConfig = 42,
        eTIFM_UnsupportedSubFileType = 43,
        eTIFM_VolumeGeometryTypeMismatch = 44,
        eTIFM_ZStepsCountMismatch = 45
    };
};

} // namespace velmo::image::file
