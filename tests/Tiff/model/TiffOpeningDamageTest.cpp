// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFixture.h"

#include <boost/filesystem/operations.hpp>
#include <random>
#include <sys/resource.h>

namespace velmo::image::file {

namespace {

constexpr std::uint16_t g_sizeTags[] = {TIFFTAG_IMAGEWIDTH,   TIFFTAG_IMAGELENGTH,
                                        TIFFTAG_STRIPOFFSETS, TIFFTAG_SAMPLESPERPIXEL,
                                        TIFFTAG_ROWSPERSTRIP, TIFFTAG_STRIPBYTECOUNTS};
constexpr eImageAccessMode g_accesses[] = {eIAM_ReadOnly, eIAM_ReadWrite};

struct Damage {
    std::string name;
    std::function<void(RawDirectory&)> apply; ///< to the second of three directories
    friend void PrintTo(Damage const& damage, std::ostream* pStream) { *pStream << damage.name; }
};

/// What libtiff refuses to read as a directory.
std::vector<Damage> const g_damages = {
    {"NoPlaceOfStrips", [](RawDirectory& directory) { directory.without(TIFFTAG_STRIPOFFSETS); }},
    {"NoSizes",
     [](RawDirectory& directory) { directory.without(TIFFTAG_IMAGEWIDTH).without(TIFFTAG_IMAGELENGTH); }},
    {"NoWidth", [](RawDirectory& directory) { directory.without(TIFFTAG_IMAGEWIDTH); }},
    {"NoEntries", [](RawDirectory& directory) { directory.fields.clear(); }},
    {"ZeroSamples", [](RawDirectory& directory) { directory.set(TIFFTAG_SAMPLESPERPIXEL, shorts({0})); }},
    {"WidthOfAnUnknownType",
     [](RawDirectory& directory) {
         directory.set(TIFFTAG_IMAGEWIDTH, {99, {4}, RawField::g_asValues});
     }},
    {"WidthWithoutEnd",
     [](RawDirectory& directory) {
         directory.set(TIFFTAG_IMAGEWIDTH, {TIFF_LONG, {4}, 0xFFFFFFFFU});
     }},
};

/// Memory for this process, where a sanitizer does not need it all.
void limitMemory() {
#ifdef VELMO_TEST_LIMITS_MEMORY
    rlimit const limit{1U << 28U, 1U << 28U};
    setrlimit(RLIMIT_DATA, &limit);
#endif
}

long peakKilobytes() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

class TiffOpeningDamage : public TiffTest {
  protected:
    /// Opens the file and expects so many planes, a usable handle and no changed byte.
    void expectTruncated(vlUInt64 nbPlanes, std::string const& firstPixels) const {
        std::string const before = readFile(_path);
        for (eImageAccessMode const access : g_accesses) {
            {
                OpenedTiff const file(_path, {access});
                ASSERT_THAT(file.result, Succeeds());
                EXPECT_EQ(file.pGeometry->getSizeZ(), nbPlanes);
                ASSERT_EQ(TIFFSetDirectory(file.pTiff, 0), 1);
                std::string pixels(firstPixels.size(), '\0');
                EXPECT_EQ(TIFFReadEncodedStrip(file.pTiff, 0, pixels.data(), -1),
                          static_cast<tmsize_t>(pixels.size()));
                EXPECT_EQ(pixels, firstPixels);
            }
            EXPECT_EQ(readFile(_path), before);
        }
    }

    /// Opens whatever is there: it must end, in a handle or in a failure with words, and change no byte.
    void expectHarmless(std::string const& content) const {
        writeFile(_path, content);
        for (eImageAccessMode const access : g_accesses) {
            {
                OpenedTiff const file(_path, {access});
                EXPECT_EQ(static_cast<bool>(file.result), file.pTiff != nullptr);
                EXPECT_EQ(static_cast<bool>(file.result), file.result.getMessage().empty());
                EXPECT_TRUE(!file.result || file.pGeometry);
            }
            ASSERT_EQ(readFile(_path), content);
        }
    }

    void expectHarmlessAtLengths(std::string const& content, std::size_t step = 1) const {
        for (std::size_t size = 0; size <= content.size(); size += step) {
            SCOPED_TRACE(size);
            expectHarmless(content.substr(0, size));
            if (HasFatalFailure()) {
                return;
            }
        }
        EXPECT_EQ(countDescriptors(_path), 0U);
    }
};

class TiffOpeningSecondDirectory : public TiffOpeningDamage, public testing::WithParamInterface<Damage> {};

} // namespace

TEST_P(TiffOpeningSecondDirectory, TruncatesTheStackAndNothingElse) {
    std::vector<RawDirectory> directories = {greyDirectory(), greyDirectory(), greyDirectory()};
    GetParam().apply(directories[1]);
    for (bool const bBigTiff : {false, true}) {
        writeRawTiff(_path, directories, {bBigTiff, false});
        expectTruncated(1, directories[0].pixels);
    }
}

INSTANTIATE_TEST_SUITE_P(Damages, TiffOpeningSecondDirectory, testing::ValuesIn(g_damages),
                         testing::PrintToStringParamName());

TEST_F(TiffOpeningDamage, APlaceWhereNoDirectoryCanBeEndsTheStack) {
    std::vector<RawDirectory> directories = {greyDirectory(), greyDirectory()};
    std::uint64_t const end = rawTiff(directories).size();
    for (std::uint64_t const next : {std::uint64_t(1), std::uint64_t(4), end - 1, end, end + 2,
                                     std::uint64_t(0x7FFFFFFE), std::uint64_t(0xFFFFFFFE)}) {
        SCOPED_TRACE(next);
        directories[1].next = next;
        writeRawTiff(_path, directories);
        expectTruncated(2, directories[0].pixels);
    }
}

TEST_F(TiffOpeningDamage, AChainThatComesBackEndsTheStack) {
    std::vector<RawDirectory> directories = {greyDirectory(), greyDirectory(), greyDirectory()};
    auto const places = findDirectories(directories);
    for (std::size_t back = 0; back < places.size(); ++back) {
        directories[2].next = places[back];
        writeRawTiff(_path, directories);
        expectTruncated(3, directories[0].pixels);
    }
    directories[0].next = places[0];
    writeRawTiff(_path, directories);
    expectTruncated(1, directories[0].pixels);
}

TEST_F(TiffOpeningDamage, FilesCutAtAnyLengthAreHarmless) {
    std::vector<RawDirectory> const stack = {
        greyDirectory().set(TIFFTAG_IMAGEDESCRIPTION, ascii("one of three")), greyDirectory(),
        greyDirectory(4, 3, 16)};
    expectHarmlessAtLengths(rawTiff(stack));
    expectHarmlessAtLengths(rawTiff(stack, {true, false}), 3);
    expectHarmlessAtLengths(rawTiff({colorDirectory(4), colorDirectory(4)}, {false, true}), 3);
}

TEST_F(TiffOpeningDamage, FilesOfLibtiffCutAtAnyLengthAreHarmless) {
    Directory directory = stripDirectory(4, 3, 2, COMPRESSION_LZW);
    directory.pixels = countingBytes(12);
    writeTiff(_path, {directory, directory});
    expectHarmlessAtLengths(readFile(_path));
    directory.compression = COMPRESSION_DEFLATE;
    writeTiff(_path, {directory, directory}, "w8");
    expectHarmlessAtLengths(readFile(_path), 3);
}

TEST_F(TiffOpeningDamage, FilesOfFewerThanEightBytesFailAndStayAsTheyAre) {
    for (std::string const& content : {std::string(), std::string("I"), std::string("II*\0", 4),
                                       std::string("II*\0\x08\0\0", 7), std::string("MM\0+\0\x08\0", 7)}) {
        expectHarmless(content);
        for (eImageAccessMode const access : g_accesses) {
            EXPECT_THAT(OpenedTiff(_path, {access}).result,
                        FailsLike("Failed to open tiff image file " + _path.string() + "\nTiff Error : "));
        }
    }
}

TEST_F(TiffOpeningDamage, ChangedBytesAreHarmless) {
    std::string const whole = rawTiff({greyDirectory(), colorDirectory(), greyDirectory(4, 3, 16)});
    std::mt19937 random(20240917);
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE(round);
        std::string content = whole;
        for (unsigned int change = 1 + random() % 4; change > 0; --change) {
            content[random() % content.size()] = static_cast<char>(random());
        }
        expectHarmless(content);
        ASSERT_FALSE(HasFatalFailure());
    }
}

TEST_F(TiffOpeningDamage, RandomBytesBehindAHeaderAreHarmless) {
    std::mt19937 random(4711);
    for (int round = 0; round < 150; ++round) {
        std::string content(64 + random() % 512, '\0');
        for (char& byte : content) {
            byte = static_cast<char>(random() % 3 == 0 ? random() : random() % 4);
        }
        content.replace(0, 8, std::string("II*\0\x08\0\0\0", 8));
        expectHarmless(content);
        ASSERT_FALSE(HasFatalFailure());
    }
}

TEST_F(TiffOpeningDamage, AFileCutShortBehindItsOpeningGivesAFailedRead) {
    RawDirectory large = greyDirectory(1000, 1000);
    writeRawTiff(_path, {large, large});
    for (eImageAccessMode const access : g_accesses) {
        OpenedTiff const file(_path, {access});
        ASSERT_THAT(file.result, Succeeds());
        boost::filesystem::resize_file(_path, 300);
        std::string pixels(large.pixels.size(), '\0');
        std::uint32_t const last = TIFFNumberOfStrips(file.pTiff) - 1;
        EXPECT_EQ(TIFFReadEncodedStrip(file.pTiff, last, pixels.data(), -1), -1);
        writeRawTiff(_path, {large, large});
    }
}

TEST_F(TiffOpeningDamage, EveryTagWithAnEndlessCountIsHarmlessAndCostsNoMemory) {
    std::vector<std::uint16_t> tags = {TIFFTAG_PHOTOSHOP, TIFFTAG_IMAGEDESCRIPTION, 65000,
                                       TIFFTAG_SAMPLEFORMAT};
    for (auto const& [tag, field] : greyDirectory().fields) {
        tags.push_back(tag);
    }
    EXPECT_EQ(inChild([&]() -> std::string {
                  limitMemory();
                  for (std::uint16_t const tag : tags) {
                      for (std::uint64_t const count : {0ULL, 0x10000ULL, 0x7FFFFFFFULL, 0xFFFFFFFFULL}) {
                          RawDirectory directory =
                              greyDirectory().set(TIFFTAG_SOFTWARE, ascii("VELMO_Library"));
                          RawField field =
                              directory.fields.count(tag) != 0 ? directory.fields[tag] : ascii("");
                          field.count = count;
                          expectHarmless(rawTiff({directory.set(tag, field)}));
                          directory.without(TIFFTAG_SOFTWARE);
                          expectHarmless(rawTiff({directory, greyDirectory()}));
                      }
                  }
                  return HasFailure() ? "failed" : "harmless";
              }),
              "harmless");
}

TEST_F(TiffOpeningDamage, HugeSizesOpenOrFailWithoutTheirMemory) {
    EXPECT_EQ(
        inChild([&]() -> std::string {
            limitMemory();
            for (std::uint64_t const size : {0ULL, 65536ULL, 0x7FFFFFFFULL, 0x80000000ULL, 0xFFFFFFFFULL}) {
                for (std::uint16_t const tag : g_sizeTags) {
                    expectHarmless(rawTiff({greyDirectory().set(tag, longs({size}))}));
                }
                RawDirectory both = greyDirectory().set(TIFFTAG_IMAGEWIDTH, longs({size}));
                both.set(TIFFTAG_IMAGELENGTH, longs({size})).set(TIFFTAG_ROWSPERSTRIP, longs({size}));
                expectHarmless(rawTiff({both, both}));
            }
            return HasFailure() ? "failed" : "harmless";
        }),
        "harmless");
}

TEST_F(TiffOpeningDamage, AnImageFarLargerThanItsFileOpensAndCostsLittle) {
    RawDirectory directory = greyDirectory().set(TIFFTAG_IMAGEWIDTH, longs({10000}));
    directory.set(TIFFTAG_IMAGELENGTH, longs({10000000})).set(TIFFTAG_ROWSPERSTRIP, longs({10000000}));
    writeRawTiff(_path, {directory});
    for (eImageAccessMode const access : g_accesses) {
        std::string const grown = inChild([&] {
            long const before = peakKilobytes();
            OpenedTiff const file(_path, {access});
            return file.result ? std::to_string(peakKilobytes() - before) : file.result.getMessage();
        });
        EXPECT_LT(std::stol(grown), 32 * 1024) << "kilobytes of memory";
        OpenedTiff const file(_path, {access});
        ASSERT_THAT(file.result, Succeeds());
        EXPECT_EQ(describeGeometry(*file.pGeometry), "x=10000 y=10000000 z=1 c=1 t=1 eIBT_UInt8");
    }
}

} // namespace velmo::image::file
