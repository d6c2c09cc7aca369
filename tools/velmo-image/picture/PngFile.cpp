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

/// The description of a picture for libpng. It holds libpng's state until it is destroyed.
class PngPicture {
  public:
    explicit PngPicture(Bitmap const& bitmap) {
        _image.version = PNG_IMAGE_VERSION;
        _image.width = static_cast<png_uint_32>(bitmap.width);
        _image.height = static_cast<png_uint_32>(bitmap.height);
        _image.format = bitmap.nbChannels == 1 ? PNG_FORMAT_GRAY : PNG_FORMAT_RGB;
    }
    ~PngPicture() { png_image_free(&_image); }
    PngPicture(PngPicture const&) = delete;
    PngPicture& operator=(PngPicture const&) = delete;

    png_image* get() { return &_image; }

  private:
    png_image _image = {};
};

} // namespace

void writePng(boost::filesystem::path const& path, Bitmap const& bitmap) {
    std::FILE* const pFile = std::fopen(path.c_str(), "wbe");
    if (pFile == nullptr) {
        fail(path, std::strerror(errno));
    }
    PngPicture picture(bitmap);
    errno = 0;
    bool const bWritten =
        png_image_write_to_stdio(picture.get(), pFile, 0, bitmap.pixels.data(), 0, nullptr) != 0;
    int const writeError = std::ferror(pFile) != 0 ? errno : 0; // libpng does not name the system's reason
    int const closeError = std::fclose(pFile) != 0 ? errno : 0;
    if (writeError != 0) {
        fail(path, std::strerror(writeError));
    }
    if (!bWritten) {
        fail(path, picture.get()->message);
    }
    if (closeError != 0) {
        fail(path, std::strerror(closeError));
    }
}

std::vector<unsigned char> encodePng(Bitmap const& bitmap) {
    PngPicture picture(bitmap);
    png_alloc_size_t nbBytes = PNG_IMAGE_PNG_SIZE_MAX(*picture.get());
    std::vector<unsigned char> bytes(nbBytes);
    if (png_image_write_to_memory(picture.get(), bytes.data(), &nbBytes, 0, bitmap.pixels.data(), 0,
                                  nullptr) == 0) {
        throw WorkFailure(std::string("cannot encode a picture: ") + picture.get()->message);
    }
    bytes.resize(nbBytes);
    return bytes;
}

} // namespace velmo::tool
