// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "picture/PngFile.h"

#include "terminal/Failure.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <png.h>

namespace velmo::tool {

namespace {

[[noreturn]] void fail(boost::filesystem::path const& path, std::string const& reason) {
    throw WorkFailure("cannot write " + quoted(path.string()) + ": " + reason);
}

} // namespace

void writePng(boost::filesystem::path const& path, vlUInt64 width, vlUInt64 height, vlUInt64 nbChannels,
              std::vector<unsigned char> const& pixels) {
    std::FILE* const pFile = std::fopen(path.c_str(), "wbe");
    if (pFile == nullptr) {
        fail(path, std::strerror(errno));
    }
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = nbChannels == 1 ? PNG_FORMAT_GRAY : PNG_FORMAT_RGB;
    errno = 0;
    bool const bWritten = png_image_write_to_stdio(&image, pFile, 0, pixels.data(), 0, nullptr) != 0;
    int const writeError = std::ferror(pFile) != 0 ? errno : 0; // libpng does not name the system's reason
    int const closeError = std::fclose(pFile) != 0 ? errno : 0;
    png_image_free(&image);
    if (writeError != 0) {
        fail(path, std::strerror(writeError));
    }
    if (!bWritten) {
        fail(path, image.message);
    }
    if (closeError != 0) {
        fail(path, std::strerror(closeError));
    }
}

} // namespace velmo::tool
