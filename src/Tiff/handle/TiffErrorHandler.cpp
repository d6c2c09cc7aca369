// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/TiffErrorHandler.h"

#include "Frame/LogAccess.h"

#include <VELMOImageFile/TiffImageFileMessage.h>
#include <VELMOUtil/LogMessageFormater.h>
#include <boost/thread/lock_guard.hpp>
#include <cstdio>
#include <tiffio.h>

namespace velmo::image::file {

namespace {

bool g_bHandlersSet = false;
TIFFErrorHandler g_previousErrorHandler = nullptr;
TIFFErrorHandler g_previousWarningHandler = nullptr;

constexpr std::size_t g_longestText = 4096;

} // namespace

boost::mutex& TiffHandlerMutex::get() {
    static boost::mutex g_mutex;
    return g_mutex;
}

TiffErrorHandler& TiffErrorHandler::getInstance() {
    boost::lock_guard<boost::mutex> const lock(TiffHandlerMutex::get());
    return accessInstance();
}

// The caller holds the mutex.
TiffErrorHandler& TiffErrorHandler::accessInstance() {
    static TiffErrorHandler g_tiffErrorHandler;
    if (!g_bHandlersSet) {
        g_previousErrorHandler = TIFFSetErrorHandler(tiffErrorHandler);
        g_previousWarningHandler = TIFFSetWarningHandler(tiffWarningHandler);
        g_bHandlersSet = true;
    }
    return g_tiffErrorHandler;
}

// An unloaded library must leave no pointer to itself in libtiff. Handlers that other code has set since are
// kept.
TiffErrorHandler::~TiffErrorHandler() {
    TIFFErrorHandler const errorHandler = TIFFSetErrorHandler(g_previousErrorHandler);
    if (errorHandler != tiffErrorHandler) {
        TIFFSetErrorHandler(errorHandler);
    }
    TIFFErrorHandler const warningHandler = TIFFSetWarningHandler(g_previousWarningHandler);
    if (warningHandler != tiffWarningHandler) {
        TIFFSetWarningHandler(warningHandler);
    }
}

void TiffErrorHandler::clearCurrentError() {
    boost::lock_guard<boost::mutex> const lock(TiffHandlerMutex::get());
    _currentErrors[boost::this_thread::get_id()].clear();
}

std::string TiffErrorHandler::getCurrentError() const {
    boost::lock_guard<boost::mutex> const lock(TiffHandlerMutex::get());
    return _currentErrors[boost::this_thread::get_id()];
}

void TiffErrorHandler::tiffErrorHandler(char const* /*module*/, char const* format, va_list args) {
    keep("Tiff Error : ", format, args);
}

void TiffErrorHandler::tiffWarningHandler(char const* /*module*/, char const* format, va_list args) {
    keep("Tiff Warning : ", format, args);
}

// No exception may pass through libtiff.
void TiffErrorHandler::keep(char const* prefix, char const* format, va_list args) {
    try {
        boost::lock_guard<boost::mutex> const lock(TiffHandlerMutex::get());
        char text[g_longestText];
        std::vsnprintf(text, sizeof text, format, args);
        std::string& current = accessInstance()._currentErrors[boost::this_thread::get_id()];
        current = prefix;
        current += text;
    } catch (...) {
        logWithoutThrow(VELMO_HERE, [&](LogMessageFormater& formater) {
            formater[eTiffImageFileMessage::eTIFM_DecodeErrorMessageError] % format;
        });
    }
}

std::string lastTiffMessage() {
    return TiffErrorHandler::getInstance().getCurrentError();
}

} // namespace velmo::image::file
