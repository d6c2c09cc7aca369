// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// @file
/// Includes all public headers of the module, and the headers of the host for creating images and accessing
/// their pixels.

#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/PixelAccess.h>
#include <VELMOImageFile/FilePatternMatching.h>
#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/Im6ImageFileMessage.h>
#include <VELMOImageFile/Im6ImageFileUtils.h>
#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <VELMOImageFile/ImageFileUtilsMessage.h>
#include <VELMOImageFile/PageReader.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/RawImageFileMessage.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/Threads.h>
#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOImageFile/TiffImageFileMessage.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOImageFile/VELMOImageFileMessage.h>
