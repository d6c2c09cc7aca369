// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Frame/AccessorIdiom.h"
#include "Frame/LogAccess.h"
#include "Frame/MessageCatalogue.h"
#include "Tiff/files/CheckedTiffImageFile.h"
#include "Tiff/handle/TiffErrorHandler.h"
#include "Tiff/handle/TiffTags.h"

#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/Im6ImageFileMessage.h>
#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <VELMOImageFile/ImageFileUtilsMessage.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/RawImageFileMessage.h>
#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOImageFile/TiffImageFileMessage.h>
#include <VELMOImageFile/VELMOImageFileMessage.h>
#include <VELMOSerialization/DynamicRegistrator.h>

namespace velmo::image::file {

namespace {

template <class Message>
bool registerMessages() {
    return MsgMapRegistrator<typename Message::domain>::registerMessageMap();
}

/// Constructs a function-local mutex at load.
template <class Mutex>
bool buildMutex() {
    Mutex::get();
    return true;
}

/// All steps at the load of the library. The members are in the order of the steps. They are members of one
/// object because the order of separate static objects would depend on the order of linking.
struct LibraryLoad {
    bool const _bIm6TypeNameMutex = buildMutex<TypeNameMutex<Im6ImageFile>>();
    bool const _bIm6VersionMutex = buildMutex<VersionMutex<Im6ImageFile>>();
    DynamicRegistrator<Im6ImageFile> const _im6Registrator;
    bool const _bIm6Messages = registerMessages<eIm6ImageFileMessage>();
    bool const _bLoggerNameMutex = buildMutex<LoggerNameMutex>();
    bool const _bManagerMutex = buildMutex<ManagerMutex>();
    bool const _bLoggerMutex = buildMutex<LoggerMutex>();
    bool const _bModuleMessages = registerMessages<eVELMOImageFileMessage>();
    bool const _bRawTypeNameMutex = buildMutex<TypeNameMutex<RawImageFile>>();
    bool const _bRawVersionMutex = buildMutex<VersionMutex<RawImageFile>>();
    DynamicRegistrator<RawImageFile> const _rawRegistrator;
    bool const _bRawMessages = registerMessages<eRawImageFileMessage>();
    bool const _bTiffHandlerMutex = buildMutex<TiffHandlerMutex>();
    DynamicRegistrator<TiffImageFile> const _tiffRegistrator;
    bool const _bTiffMessages = registerMessages<eTiffImageFileMessage>();
    std::string const& _software = VelmoSoftware::get();
    bool const _bUtilsMessages = registerMessages<eImageFileUtilsMessage>();
    DynamicRegistrator<CheckedTiffImageFile> const _checkedTiffRegistrator;
    bool const _bCheckMessages = registerMessages<eImageFileCheckMessage>();
};

LibraryLoad const g_libraryLoad;

} // namespace

} // namespace velmo::image::file
