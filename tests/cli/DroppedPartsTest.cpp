// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ForeignFile.h"
#include "SeriesFixture.h"

#include <array>
#include <functional>

namespace velmo::test {

using testing::HasSubstr;
using testing::Not;

namespace {

class DroppedParts : public SeriesFixture {
  protected:
    /// Directories of 2 x 1 bytes with the tags that `setTags` sets, as another program writes them.
    std::string write(std::string const& name, std::function<void(TIFF*)> const& setTags,
                      int nbPages = 1) const {
        TIFF* const pTiff = TIFFOpen(path(name).c_str(), "wl");
        for (int number = 0; number < nbPages; ++number) {
            TIFFSetField(pTiff, TIFFTAG_IMAGEWIDTH, 2);
            TIFFSetField(pTiff, TIFFTAG_IMAGELENGTH, 1);
            TIFFSetField(pTiff, TIFFTAG_BITSPERSAMPLE, 8);
            TIFFSetField(pTiff, TIFFTAG_SAMPLESPERPIXEL, 1);
            TIFFSetField(pTiff, TIFFTAG_ROWSPERSTRIP, 1);
            TIFFSetField(pTiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
            setTags(pTiff);
            std::array<char, 2> pixels{'a', 'b'};
            EXPECT_EQ(1, TIFFWriteScanline(pTiff, pixels.data(), 0, 0));
            EXPECT_EQ(1, TIFFWriteDirectory(pTiff));
        }
        TIFFClose(pTiff);
        return path(name);
    }

    /// The only warning of a check, which is that of a conversion to TIFF too.
    std::string findWarning(std::string const& file) const {
        nlohmann::json const warnings = test::describe({file, "--check"}).at("warnings");
        EXPECT_EQ(nlohmann::json::array(), test::describe({file}).at("warnings"));
        std::string const text = warnings.size() == 1 ? warnings.at(0).get<std::string>() : warnings.dump();
        expectWarning(runTool({"convert", file, path("out.tif"), "--overwrite"}),
                      '"' + file + "\": " + text + '\n');
        return text;
    }

    static std::string getSample(std::string const& name) {
        return (getForeignFolder().parent_path() / "import" / name).string();
    }
};

void setProfileAndArtist(TIFF* pTiff) {
    TIFFSetField(pTiff, TIFFTAG_ICCPROFILE, 4, "prof");
    TIFFSetField(pTiff, TIFFTAG_ARTIST, "somebody");
}

} // namespace

TEST_F(DroppedParts, AreListedOnceForAllDirectories) {
    EXPECT_EQ("a copy lacks: ICC profile; artist", findWarning(write("a.tif", setProfileAndArtist, 3)));
    EXPECT_EQ("a copy lacks: image description; date and time; make and model of the device",
              findWarning(write("b.tif", [](TIFF* pTiff) {
                  TIFFSetField(pTiff, TIFFTAG_IMAGEDESCRIPTION, "a cell");
                  TIFFSetField(pTiff, TIFFTAG_DATETIME, "2020:01:02 03:04:05");
                  TIFFSetField(pTiff, TIFFTAG_MAKE, "maker");
                  TIFFSetField(pTiff, TIFFTAG_MODEL, "model");
                  TIFFSetField(pTiff, TIFFTAG_SOFTWARE, "software");
                  TIFFSetField(pTiff, TIFFTAG_PAGENUMBER, 0, 1);
              })));
}

TEST_F(DroppedParts, OfADescriptionOfImageJTheKeysAreNamedThatThePlanesDoNotShow) {
    auto const describeAs = [this](char const* text) {
        return write("a.tif", [=](TIFF* pTiff) { TIFFSetField(pTiff, TIFFTAG_IMAGEDESCRIPTION, text); });
    };
    EXPECT_EQ("a copy lacks: ImageJ description (unit, min, max)",
              findWarning(describeAs("ImageJ=1.53t\nimages=1\nunit=um\nloop=false\nmin=0.0\nmax=255.0\n")));
    std::string const plain = describeAs("ImageJ=1.53t\nimages=1\nmode=grayscale\n");
    expectDone(runTool({"convert", plain, path("out.tif"), "--overwrite"}));
}

TEST_F(DroppedParts, TheMetadataOfImageJAreNamed) {
    for (char const* const name : {"ij-hyperstack-le.tif", "ij-hyperstack-be.tif"}) {
        ToolResult const result = runTool({"convert", getSample(name), path("out.tif"), "--overwrite"});
        EXPECT_EQ(0, result.status);
        EXPECT_THAT(result.err, hasWords("Z 3, C 2, T 2", "velmo-image import ",
                                         "a copy lacks: ImageJ description (unit, spacing, min, max); "
                                         "ImageJ metadata (display ranges)\n"));
    }
}

TEST_F(DroppedParts, TheColourMapIsNamedForARawOutputToo) {
    std::string const file = getSample("pil-palette.tif");
    EXPECT_EQ("a copy lacks: colour map, whose indexes the pixels are", findWarning(file));
    expectWarning(runTool({"convert", file, path("out.raw")}), "colour map");
}

TEST_F(DroppedParts, ARawOutputHasPixelsOnly) {
    expectDone(runTool({"convert", write("a.tif", setProfileAndArtist), path("out.raw")}));
}

TEST_F(DroppedParts, ATagThatNobodyKnowsHasItsNumber) {
    EXPECT_THAT(findWarning(getSample("pil-profile.tif")), HasSubstr("ICC profile"));
    std::string bytes =
        read(boost::filesystem::path(write("a.tif", setProfileAndArtist)).filename().string());
    std::size_t const artist = bytes.find(std::string("\x3b\x01\x02\x00", 4));
    ASSERT_NE(std::string::npos, artist);
    create("a.tif", bytes.replace(artist, 2, "\xfd\xfe"));
    EXPECT_EQ("a copy lacks: ICC profile; tag 65277", findWarning(path("a.tif")));
}

TEST_F(DroppedParts, AFileOfThisLibraryLosesNothing) {
    saveVolume(path("a.tif"), 2, "properties");
    expectDone(runTool({"info", "--check", path("a.tif")}));
    expectDone(runTool({"convert", path("a.tif"), path("out.tif")}));
    EXPECT_EQ(nlohmann::json::array(), test::describe({path("out.tif"), "--check"}).at("warnings"));
}

TEST_F(DroppedParts, OfManyFilesAreListedOnce) {
    for (int number = 0; number < 20; ++number) {
        write("s/a" + std::to_string(number) + ".tif", [&](TIFF* pTiff) {
            TIFFSetField(pTiff, TIFFTAG_ARTIST, "somebody");
            if (number % 4 == 0) {
                TIFFSetField(pTiff, TIFFTAG_COPYRIGHT, "theirs");
            }
        });
    }
    std::string steps;
    for (int step = 1; step < 20; ++step) {
        steps += "1\n";
    }
    create("steps.txt", steps);
    std::string const text = "\"" + path("s") + "\": a copy lacks: artist; copyright (5 of 20 files)\n";
    ToolResult const stacked = runTool({"stack", path("s"), "a<INDEX>.tif", path("out.tif")});
    expectWarning(stacked, text);
    expectWarning(runTool({"resample", path("s"), "a<INDEX>.tif", path("steps.txt"), path("even.tif"),
                           "--size-z", "20"}),
                  text);
    expectDone(runTool({"stack", path("s"), "a<INDEX>.tif", path("out.raw")}));
}

} // namespace velmo::test
