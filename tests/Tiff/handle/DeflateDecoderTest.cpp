// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/DeflateDecoder.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

namespace velmo::image::file {

namespace {

/// A zlib stream of the three bytes "abc", which are stored as they are.
std::string const g_packedAbc("\x78\x01\x01\x03\x00\xfc\xff"
                              "abc"
                              "\x02\x4d\x01\x27",
                              14);

bool inflateTo(std::string& bytes, std::string const& packed) {
    DeflateDecoder decoder;
    std::byte* const pPacked = decoder.provideCompressed(packed.size());
    std::transform(packed.begin(), packed.end(), pPacked, [](char byte) { return std::byte(byte); });
    return decoder.inflate(bytes.data(), bytes.size());
}

} // namespace

TEST(DeflateDecoder, DecodesAsManyBytesAsThereAre) {
    std::string bytes(3, '-');
    EXPECT_TRUE(inflateTo(bytes, g_packedAbc));
    EXPECT_EQ(bytes, "abc");
}

TEST(DeflateDecoder, RejectsAnyOtherNumber) {
    for (std::size_t const nbBytes : {0U, 2U, 4U, 100U}) {
        std::string bytes(nbBytes, '-');
        EXPECT_FALSE(inflateTo(bytes, g_packedAbc)) << nbBytes;
    }
}

TEST(DeflateDecoder, RejectsAWrongChecksum) {
    std::string bytes(3, '-');
    std::string packed = g_packedAbc;
    packed.back() = '\0';
    EXPECT_FALSE(inflateTo(bytes, packed));
}

} // namespace velmo::image::file
