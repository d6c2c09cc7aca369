// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffWords.h"

#include <VELMOImageFile/TiffImageFile.h>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <tiffio.h>

namespace velmo {
namespace tool {

namespace {

std::string& accessError() {
    static thread_local std::string error;
    return error;
}

void keepError(thandle_t /*handle*/, char const* /*module*/, char const* format, va_list arguments) {
    std::array<char, 1024> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    accessError() = std::string("Tiff Error : ") + text.data();
}

} // namespace

void captureTiffWords() {
    TIFFSetErrorHandlerExt(keepError); // called beside the other handler
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    // The library listens to libtiff from its first failure on, whose own words would be lost: so it is this
    // one, of a file without a name.
    std::string userProperties;
    image::file::TiffImageFile().openFile({}, image::eIAM_ReadOnly, image::file::eTDM_Volume,
                                          image::file::eTBM_Default, userProperties);
}

std::string const& getTiffError() {
    return accessError();
}

void clearTiffError() {
    accessError().clear();
}

} // namespace tool
} // namespace velmo
