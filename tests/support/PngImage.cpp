// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PngImage.h"

#include <gtest/gtest.h>
#include <png.h>

namespace velmo::test {

PngImage readPng(boost::filesystem::path const& path) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
        ADD_FAILURE() << path << ": " << image.message;
        return {};
    }
    EXPECT_TRUE(image.format == PNG_FORMAT_GRAY || image.format == PNG_FORMAT_RGB) << image.format;
    std::vector<unsigned char> bytes(PNG_IMAGE_SIZE(image));
    EXPECT_NE(0, png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr)) << image.message;
    return {image.width, image.height, PNG_IMAGE_PIXEL_CHANNELS(image.format),
            std::vector<int>(bytes.begin(), bytes.end())};
}

} // namespace velmo::test
