// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffHandle.h"

#include "Refusal.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

namespace velmo::importer {

namespace {

/// The largest single allocation of libtiff: the arrays of a directory and one strip as it is in the file.
constexpr vlUInt64 g_smallAllocation = vlUInt64{64} << 20;
constexpr vlUInt64 g_allocationFactor = 64;
constexpr std::size_t g_maxWarnings = 8;

std::string formatText(char const* format, va_list arguments) {
    std::array<char, 1024> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    return text.data();
}

} // namespace

/// What libtiff calls. No exception may pass through libtiff.
struct TiffHandle::Client {
    static TiffHandle& toHandle(thandle_t handle) { return *static_cast<TiffHandle*>(handle); }

    static tmsize_t read(thandle_t client, void* pBuffer, tmsize_t nbBytes) {
        TiffHandle& handle = toHandle(client);
        vlUInt64 const done =
            handle._pFile->readAt(handle._position, pBuffer, static_cast<vlUInt64>(nbBytes));
        handle._position += done;
        return static_cast<tmsize_t>(done);
    }

    static tmsize_t write(thandle_t /*client*/, void* /*pBuffer*/, tmsize_t /*nbBytes*/) { return 0; }

    static toff_t seek(thandle_t client, toff_t offset, int whence) {
        TiffHandle& handle = toHandle(client);
        vlUInt64 const start = whence == SEEK_CUR   ? handle._position
                               : whence == SEEK_END ? handle._pFile->getSize()
                                                    : 0;
        handle._position = start + offset;
        return handle._position;
    }

    static int close(thandle_t /*client*/) { return 0; }

    static toff_t size(thandle_t client) { return toHandle(client)._pFile->getSize(); }

    static int keepError(TIFF* /*pTiff*/, void* pClient, char const* /*module*/, char const* format,
                         va_list arguments) {
        try {
            toHandle(pClient)._error = formatText(format, arguments);
        } catch (...) {
            return 1; // without memory for the text there is none
        }
        return 1;
    }

    static int keepWarning(TIFF* /*pTiff*/, void* pClient, char const* /*module*/, char const* format,
                           va_list arguments) {
        if (std::strstr(format, "Unknown field with tag") == nullptr) {
            try {
                toHandle(pClient).keep(formatText(format, arguments));
            } catch (...) {
                return 1;
            }
        }
        return 1;
    }
};

TiffHandle::TiffHandle(InputFilePtr const& pFile) : _pFile(pFile) {
    std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> const pOptions(TIFFOpenOptionsAlloc(),
                                                                                TIFFOpenOptionsFree);
    if (!pOptions) {
        throw std::bad_alloc();
    }
    TIFFOpenOptionsSetErrorHandlerExtR(pOptions.get(), Client::keepError, this);
    TIFFOpenOptionsSetWarningHandlerExtR(pOptions.get(), Client::keepWarning, this);
    vlUInt64 const limit = std::max(g_smallAllocation, pFile->getSize() * g_allocationFactor);
    TIFFOpenOptionsSetMaxSingleMemAlloc(pOptions.get(), static_cast<tmsize_t>(limit));
    _pTiff = TIFFClientOpenExt(pFile->getPath().c_str(), "rm", this, Client::read, Client::write,
                               Client::seek, Client::close, Client::size, nullptr, nullptr, pOptions.get());
    if (_pTiff == nullptr) {
        refuse("cannot read \"" + pFile->getPath().string() + "\" as a TIFF file: " + takeError());
    }
}

TiffHandle::~TiffHandle() {
    TIFFClose(_pTiff);
}

/// Those on which a decision depends are kept even if there are many others.
void TiffHandle::keep(std::string const& warning) {
    bool const bTable = warning.find("Incorrect count for \"Strip") != std::string::npos ||
                        warning.find("Incorrect count for \"Tile") != std::string::npos;
    _bIncompleteTable = _bIncompleteTable || bTable;
    if (_prematureEnd.empty() && warning.find("remature") != std::string::npos) {
        _prematureEnd = warning;
    }
    bool const bKnown = std::find(_warnings.begin(), _warnings.end(), warning) != _warnings.end();
    if (!bKnown && _warnings.size() < g_maxWarnings) {
        _warnings.push_back(warning);
    }
}

std::string TiffHandle::takePrematureEnd() {
    return std::exchange(_prematureEnd, {});
}

bool TiffHandle::select(vlUInt64 offset) {
    return TIFFCurrentDirOffset(_pTiff) == offset || TIFFSetSubDirectory(_pTiff, offset) == 1;
}

std::string TiffHandle::takeError() {
    return std::exchange(_error, {});
}

std::vector<std::string> TiffHandle::takeWarnings() {
    return std::exchange(_warnings, {});
}

} // namespace velmo::importer
