// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

#include <boost/filesystem/operations.hpp>

namespace velmo::image::file {

namespace {

/// The tag that libtiff is to refuse, and how many values of it are accepted before.
struct TagRefusal {
    std::uint32_t tag = 0;
    int nbAccepted = 0;
    TIFFVSetMethod accept = nullptr;
    TIFFExtendProc parentExtender = nullptr;
};
TagRefusal g_tagRefusal;

int setUnlessRefused(TIFF* pTiff, std::uint32_t tag, va_list values) {
    if (tag == g_tagRefusal.tag && g_tagRefusal.nbAccepted-- <= 0) {
        TIFFErrorExt(nullptr, "TIFFSetField", "tag %u is refused", static_cast<unsigned int>(tag));
        return 0;
    }
    return g_tagRefusal.accept(pTiff, tag, values);
}

/// Stands between the tags of every new directory and libtiff.
void extendByRefusal(TIFF* pTiff) {
    if (g_tagRefusal.parentExtender != nullptr) {
        g_tagRefusal.parentExtender(pTiff);
    }
    TIFFTagMethods* const pMethods = TIFFAccessTagMethods(pTiff);
    g_tagRefusal.accept = pMethods->vsetfield;
    pMethods->vsetfield = setUnlessRefused;
}

/// A tag of a created file: how often libtiff sets it by itself in each directory, and whether further
/// directories have it as well.
struct CreatedTag {
    std::uint32_t tag;
    char const* name;
    bool bEach;
    int nbOfLibtiff;
};

constexpr std::uint32_t g_userProperties = 65000;

constexpr CreatedTag g_createdTags[] = {
    {TIFFTAG_SOFTWARE, "TIFFTAG_SOFTWARE", false, 0},
    {TIFFTAG_DATETIME, "TIFFTAG_DATETIME", false, 0},
    {TIFFTAG_PHOTOSHOP, "TIFFTAG_PHOTOSHOP", false, 0},
    {g_userProperties, "TIFFTAG_USERPROPERTIES", false, 0},
    {TIFFTAG_SUBFILETYPE, "TIFFTAG_SUBFILETYPE", true, 0},
    {TIFFTAG_IMAGEWIDTH, "TIFFTAG_IMAGEWIDTH", true, 0},
    {TIFFTAG_IMAGELENGTH, "TIFFTAG_IMAGELENGTH", true, 0},
    {TIFFTAG_BITSPERSAMPLE, "TIFFTAG_BITSPERSAMPLE", true, 0},
    {TIFFTAG_SAMPLESPERPIXEL, "TIFFTAG_SAMPLESPERPIXEL", true, 0},
    {TIFFTAG_PHOTOMETRIC, "TIFFTAG_PHOTOMETRIC", true, 0},
    {TIFFTAG_PLANARCONFIG, "TIFFTAG_PLANARCONFIG", true, 0},
    {TIFFTAG_COMPRESSION, "TIFFTAG_COMPRESSION", true, 1},
    {TIFFTAG_ORIENTATION, "TIFFTAG_ORIENTATION", true, 0},
    {TIFFTAG_PAGENUMBER, "TIFFTAG_PAGENUMBER", true, 0},
    {TIFFTAG_PAGENAME, "TIFFTAG_PAGENAME", true, 0},
    {TIFFTAG_SAMPLEFORMAT, "TIFFTAG_SAMPLEFORMAT", true, 0},
    {TIFFTAG_ROWSPERSTRIP, "TIFFTAG_ROWSPERSTRIP", true, 0},
};

/// Creates files of two RGB directories while libtiff refuses a tag.
class TiffCreationTagFailureTest : public TiffTest, public testing::WithParamInterface<CreatedTag> {
  protected:
    TiffCreationTagFailureTest() {
        OpenedTiff const installs(_path); // the module's extender, above which the refusing one stands
        g_tagRefusal = {};
        g_tagRefusal.parentExtender = TIFFSetTagExtender(extendByRefusal);
    }
    ~TiffCreationTagFailureTest() override { TIFFSetTagExtender(g_tagRefusal.parentExtender); }

    BoolResult create(int nbAccepted) {
        g_tagRefusal.tag = GetParam().tag;
        g_tagRefusal.nbAccepted = nbAccepted;
        TIFF* pTiff = nullptr;
        BoolResult result = createTiffFile(_path, *makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {4, 3, 2}),
                                           nullptr, "text", eTC_Lzw, pTiff);
        g_tagRefusal.tag = 0;
        EXPECT_EQ(pTiff != nullptr, static_cast<bool>(result));
        TiffPtr const closes(pTiff);
        return result;
    }

    std::string getExpected() const {
        return "Error while setting tiff tag " + std::string(GetParam().name) + " for file " +
               _path.string() + "\nTiff Error : tag " + std::to_string(GetParam().tag) + " is refused";
    }
};

std::string nameOfTag(testing::TestParamInfo<CreatedTag> const& info) {
    return std::string(info.param.name).substr(sizeof("TIFFTAG"));
}

} // namespace

TEST_P(TiffCreationTagFailureTest, ARefusedTagIsNamed) {
    EXPECT_THAT(create(GetParam().nbOfLibtiff), FailsWith(getExpected()));
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_TRUE(boost::filesystem::exists(_path)); // as far as it came
}

TEST_P(TiffCreationTagFailureTest, ATagThatTheSecondDirectoryRefusesIsNamedAndTheFirstOneIsThere) {
    if (!GetParam().bEach) {
        EXPECT_THAT(create(1), Succeeds()); // it is not set a second time
        return;
    }
    EXPECT_THAT(create(2 * GetParam().nbOfLibtiff + 1), FailsWith(getExpected()));
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_EQ(readDirectoryPixels(_path, 0), std::string(36, '\0'));
}

INSTANTIATE_TEST_SUITE_P(Tags, TiffCreationTagFailureTest, testing::ValuesIn(g_createdTags), nameOfTag);

namespace {

using TiffCreationFlushTest = TiffTest;

/// Without a time step no directory is written, and the tags of the file are left to the flush.
ImageGeometryPtr makeWithoutSteps() {
    return makeGeometry(eIBT_UInt8, {4, 3, 1, 1, 0});
}

std::string flushFailed(path const& path) {
    return "Error while flushing tiff data for file " + path.string() + "\nTiff Error : ";
}

} // namespace

TEST_F(TiffCreationFlushTest, ADirectoryThatOnlyTheFlushWritesIsInTheFileBeforeItsClose) {
    Planes const planes = createPlanes(_path, makeWithoutSteps());
    EXPECT_THAT(readFile(_path), testing::HasSubstr("VELMO_Library"));
}

TEST_F(TiffCreationFlushTest, AFlushThatFindsNoSpaceIsAFailureOfTheCreation) {
    for (bool const bText : {false, true}) {
        constexpr vlUInt64 nbHeaderBytes = 8;
        std::string const text = withFileSizeLimit(nbHeaderBytes, [&] {
            TIFF* pTiff = nullptr;
            BoolResult const result =
                bText ? createTiffFile(_path, *makeWithoutSteps(), nullptr, "text", eTC_None, pTiff)
                      : createTiffFile(_path, *makeWithoutSteps(), nullptr, eTC_None, pTiff);
            return toText(result) + (pTiff == nullptr && countDescriptors(_path) == 0 ? "" : " (open)");
        });
        EXPECT_THAT(text, testing::StartsWith(flushFailed(_path)));
        EXPECT_THAT(text, testing::Not(testing::HasSubstr("(open)")));
    }
}

} // namespace velmo::image::file
