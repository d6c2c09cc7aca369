// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/TiffImageFileMessage.h>

#include "Frame/MessageCatalogue.h"

namespace velmo::image::file {

namespace {

using Message = eTiffImageFileMessage;

constexpr CatalogueEntry<Message::domain> g_messages[] = {
    {Message::eTIFM_BufferTypeMismatch, "Buffer type mismatch between input image read from \"%s\" "
                                        "(%s) and input image read from \"%s\" (%s)"},
    {Message::eTIFM_CloseFileException, "An exception has been thrown while trying to close tiff file %s"},
    {Message::eTIFM_ColorGeometryTypeMismatch,
     "Color geometry type mismatch between input image read from \"%s\" (%s) and input image read "
     "from \"%s\" (%s)"},
    {Message::eTIFM_CreateFileException, "An exception has been thrown while creating file %s\n%s"},
    {Message::eTIFM_CreateFileError, "Failed to create tiff image file %s\n%s"},
    {Message::eTIFM_CreateDistributedImageError, "Failed to create distributed image\n%s"},
    {Message::eTIFM_CreateOutputImageError, "Failed to create output image\n%s"},
    {Message::eTIFM_InvalidResolutionValues,
     "Resolution values x=%f and y=%f are not valid for image calibration into image file %s"},
    {Message::eTIFM_InvalidImageBufferType, "Invalid image buffer type enum value %d"},
    {Message::eTIFM_TooManyImagePlans, "Un supported number of image image plans %d, greater than "
                                       "allowed tiff file number of pages %d for file %s"},
    {Message::eTIFM_PlanSizeTooLarge, "Un supported plan size [sizeX=%d, sizeY=%d], greater than "
                                      "allowed tiff file components plan size %d for file %s"},
    {Message::eTIFM_LoadFileError, "Error while loading tiff image file %s\n%s"},
    {Message::eTIFM_ZStepsTxtFieldError, "Error while loading z-steps txt file \"%s\": field at line "
                                         "%d is not a positive numerical value"},
    {Message::eTIFM_ZStepsFileError, "Error while loading z-steps file \"%s\": %s"},
    {Message::eTIFM_OpenFileException, "An exception has been thrown while opening file %s\n%s"},
    {Message::eTIFM_OpenFileError, "Failed to open tiff image file %s\n%s"},
    {Message::eTIFM_PlanColorTypeMismatch,
     "Plan color type mismatch among tiff directories, found %s whereas reference is %s for file %s"},
    {Message::eTIFM_PlanSizeMismatch, "Plan size mismatch among tiff directories, found x=%d y=%d "
                                      "whereas reference is x=%d y=%d for file %s"},
    {Message::eTIFM_SaveFileError, "Error while saving tiff image file %s\n%s"},
    {Message::eTIFM_SizeCMismatch, "SizeC mismatch between input image read from \"%s\" (%d) and "
                                   "input image read from \"%s\" (%d)"},
    {Message::eTIFM_SizeXMismatch, "SizeX mismatch between input image read from \"%s\" (%d) and "
                                   "input image read from \"%s\" (%d)"},
    {Message::eTIFM_SizeYMismatch, "SizeY mismatch between input image read from \"%s\" (%d) and "
                                   "input image read from \"%s\" (%d)"},
    {Message::eTIFM_SizeZMismatch, "SizeZ mismatch between input image read from \"%s\" (%d) and "
                                   "input image read from \"%s\" (%d)"},
    {Message::eTIFM_TemporalGeometryNotSingle, "Temporal geometry should be single"},
    {Message::eTIFM_FlushError, "Error while flushing tiff data for file %s\n%s"},
    {Message::eTIFM_GetTagError, "Error while getting tiff tag %s for file %s\n%s"},
    {Message::eTIFM_InitStripDataError, "Failed to initialize strip data of directory %d for file %s\n%s"},
    {Message::eTIFM_DecodeErrorMessageError, "Error while decoding tiff error message\n[%s]"},
    {Message::eTIFM_NotInterleavedRgb,
     "Only interleaved Rgb tiff can be proceeded using rgb functions, while proceeding file %s"},
    {Message::eTIFM_ReadRowError,
     "Failed to read data of row %d for directory z=%d, c=%d, t=%d of file %s\n%s"},
    {Message::eTIFM_ReadStripError,
     "Failed to read data of strip %d for directory z=%d, c=%d, t=%d of file %s\n%s"},
    {Message::eTIFM_SetDirectoryError, "Error while setting directory %d for file %s\n%s"},
    {Message::eTIFM_SetTagError, "Error while setting tiff tag %s for file %s\n%s"},
    {Message::eTIFM_WriteDirectoryError, "Error while writing directory %s for file %s\n%s"},
    {Message::eTIFM_WriteRowError,
     "Failed to write data of row %d for directory z=%d, c=%d, t=%d of file %s\n%s"},
    {Message::eTIFM_WriteStripError,
     "Failed to write data of strip %d for directory z=%d, c=%d, t=%d of file %s\n%s"},
    {Message::eTIFM_UnsupportedBufferType, "Un supported image buffer type with bitsPerSamples=%d, "
                                           "sampleFormat=%d and image buffer mode %s for file %s"},
    {Message::eTIFM_UnsupportedCompression, "Un supported tiff compression mode %s for file %s"},
    {Message::eTIFM_UnsupportedOrientation,
     "Un supported plan orientation value %d for file %s, image geometry may not be correctly read"},
    {Message::eTIFM_UnsupportedPackedColor, "Un supported packed color image (ie. one bit per pixel "
                                            "binary image with color components) for file %s"},
    {Message::eTIFM_UnsupportedPackedWrite, "Un supported packed image with write access for file %s"},
    {Message::eTIFM_UnsupportedPhotometric,
     "Un supported photometric interpretation value %d  with %d samples per pixels for file %s"},
    {Message::eTIFM_UnsupportedPlanarConfig, "Un supported planar configuration value %d for file %s"},
    {Message::eTIFM_UnsupportedSubFileType, "Un supported sub file type value %d for file %s"},
    {Message::eTIFM_VolumeGeometryTypeMismatch,
     "Volume geometry type mismatch between input image read from \"%s\" (%s) and input image read "
     "from \"%s\" (%s)"},
    {Message::eTIFM_ZStepsCountMismatch,
     "Number of z-steps (%d) does not match with number of z-plans minus one (%d-1)"},
};

} // namespace

template <>
bool MsgMapRegistrator<Message::domain>::registerMessageMap() {
    static bool g_bAlreadyRegistred = false;
    return registerCatalogue(g_bAlreadyRegistred, g_messages);
}

} // namespace velmo::image::file
