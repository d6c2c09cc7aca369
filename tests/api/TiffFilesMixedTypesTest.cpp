// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Files whose directories have different pixel types, as parts of one image.

#include "TiffFilesFixture.h"

#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>

namespace velmo::test {

using namespace image;
using namespace image::file;

namespace {

/// A type of pixels as the tags of a directory say it.
struct TagType {
    std::uint16_t bits;
    std::uint16_t sampleFormat;
};

constexpr TagType g_uInt8 = {8, SAMPLEFORMAT_UINT};
constexpr TagType g_uInt16 = {16, SAMPLEFORMAT_UINT};
constexpr TagType g_int16 = {16, SAMPLEFORMAT_INT};

class TiffFilesMixedTypes : public TiffFiles {
  protected:
    /// A file of one page for each type, of 4 x 3 pixels.
    void write(std::size_t index, std::vector<TagType> const& types) const {
        std::vector<Directory> pages = makePages(static_cast<unsigned int>(types.size()));
        for (std::size_t page = 0; page < types.size(); ++page) {
            pages[page].bits = types[page].bits;
            pages[page].tags[TIFFTAG_SAMPLEFORMAT] = types[page].sampleFormat;
            pages[page].pixels =
                countingBytes(pages[page].countBytes(), static_cast<unsigned int>(1 + 10 * index + page));
        }
        writeTiff(numbered(index), pages);
    }

    static std::string refusal(std::size_t part, std::string const& description, vlUInt64 plane,
                               std::string const& type) {
        return "Failed to create output image\nImage " + std::to_string(part) + " (" + description +
               ") cannot be joined: its plane z=" + std::to_string(plane) + " is of type " + type;
    }
};

} // namespace

TEST_F(TiffFilesMixedTypes, DirectoriesOfTwoTypesInOneFileAreTheOutputImageErrorWithTheirPlace) {
    writeEvenSteps(4);
    for (std::size_t part = 0; part < 2; ++part) {
        write(1 - part, {g_uInt8, g_uInt8});
        write(part, {g_uInt8, g_uInt16});
        for (Route const& route : getRoutes()) {
            expectFails(route, refusal(part, "x=4 y=3 z=2 c=1 t=1 eIBT_UInt8", 1, "eIBT_UInt16"));
        }
    }
}

TEST_F(TiffFilesMixedTypes, DirectoriesOfTwoTypesOfOneSizeAreRefusedAsWell) {
    writeEvenSteps(6);
    write(0, {g_uInt16, g_uInt16, g_uInt16});
    write(1, {g_uInt16, g_uInt16, g_int16});
    for (Route const& route : getRoutes()) {
        expectFails(route, refusal(1, "x=4 y=3 z=3 c=1 t=1 eIBT_UInt16", 2, "eIBT_Int16"));
    }
}

TEST_F(TiffFilesMixedTypes, FilesOfTwoTypesAreJoinedAlongTWithTheirPixels) {
    write(0, {g_uInt8, g_uInt8});
    write(1, {g_uInt16, g_uInt16});
    for (Route const& route : getJoins()) {
        if (route.bAlongZ) {
            continue; // a mismatch of the files
        }
        SCOPED_TRACE(route.name);
        ImagePtr const pImage = route();
        EXPECT_EQ(pImage->getGeometry().getPlanGeometry(0).getBufferType(), eIBT_UInt8);
        EXPECT_EQ(pImage->getGeometry().getPlanGeometry(1).getBufferType(), eIBT_UInt16);
        EXPECT_EQ(readPixels(*pImage), countingBytes(12, 1) + countingBytes(12, 2) + countingBytes(24, 11) +
                                           countingBytes(24, 12));
    }
}

} // namespace velmo::test
