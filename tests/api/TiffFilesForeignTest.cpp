// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ForeignFile.h"
#include "TiffFilesFixture.h"

#include <VELMOImageFile/VELMOImageFileException.h>
#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>

// Files whose directories have different pixel types, as parts of one image.

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;
using testing::StartsWith;

namespace {

/// Files of other programs, each joined with itself.
class TiffFilesForeign : public TiffFiles {
  protected:
    void take(ForeignFile const& file) const {
        for (std::size_t index = 0; index < 2; ++index) {
            fs::copy_file(file.path, numbered(index), fs::copy_option::overwrite_if_exists);
        }
    }

    static std::uint32_t getCrcOf(BaseImage const& image, PlanIndexes const& at) {
        std::string plane(image.getGeometry().getPlanMemorySize(at.t), '\0');
        BoolResult const result =
            image.readPixels(at.z, at.c, at.t, 0, image.getGeometry().getPlanNbPixels(), plane.data());
        EXPECT_TRUE(result) << result.getMessage();
        return getCrc(plane);
    }

    /// Each page of the file stands in the image twice, along Z or T.
    static void expectTwice(BaseImage const& image, ForeignFile const& file, bool bAlongZ) {
        BaseImageGeometry const& geometry = image.getGeometry();
        ASSERT_EQ(geometry.getSizeZ(), bAlongZ ? 2 * file.nbPages : file.nbPages);
        ASSERT_EQ(geometry.getSizeT(), bAlongZ ? 1U : 2U);
        ASSERT_EQ(geometry.getSizeC(), file.sizeC);
        for (vlUInt64 c = 0; c < file.sizeC; ++c) {
            for (vlUInt64 page = 0; page < 2 * file.nbPages; ++page) {
                PlanIndexes const at = bAlongZ ? PlanIndexes{page, c, 0}
                                               : PlanIndexes{page % file.nbPages, c, page / file.nbPages};
                EXPECT_EQ(getCrcOf(image, at), file.planes[c * file.nbPages + page % file.nbPages])
                    << "page " << page << ", channel " << c;
            }
        }
    }
};

} // namespace

TEST_F(TiffFilesForeign, EveryFileThatLoadsJoinsWithItself) {
    std::size_t nbJoined = 0;
    for (ForeignFile const& file : readForeignFiles()) {
        if (!file.bLoads || file.isHeterogeneous()) {
            continue;
        }
        SCOPED_TRACE(file.shows);
        take(file);
        for (Route const& route : getJoins()) {
            SCOPED_TRACE(route.name);
            if (route.bAlongZ == route.bDisk) {
                continue; // a load along Z and an opening along T show each part
            }
            ImagePtr const pImage = route();
            EXPECT_EQ(pImage->getBufferType(), file.getBufferType(0));
            expectTwice(*pImage, file, route.bAlongZ);
        }
        ++nbJoined;
    }
    EXPECT_GT(nbJoined, 100U);
}

TEST_F(TiffFilesForeign, EveryFileThatDoesNotOpenIsTheLoadErrorOfTheFirst) {
    std::size_t nbRefused = 0;
    writeEvenSteps(2);
    for (ForeignFile const& file : readForeignFiles()) {
        if (file.bOpens) {
            continue;
        }
        SCOPED_TRACE(file.shows);
        take(file);
        for (Route const& route : getRoutes()) {
            try {
                route();
                ADD_FAILURE() << route.name;
            } catch (VELMOImageFileException const& exception) {
                EXPECT_THAT(exception.what(), StartsWith(loadError(numbered(0), file.message)));
            }
        }
        ++nbRefused;
    }
    EXPECT_GT(nbRefused, 5U);
}

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
