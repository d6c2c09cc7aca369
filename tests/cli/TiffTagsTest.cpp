// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/TiffTags.h"

#include "FileSizeLimit.h"
#include "TemporaryFolder.h"
#include "TiffSample.h"
#include "terminal/Failure.h"

#include <array>
#include <boost/filesystem/operations.hpp>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <map>

namespace velmo::tool {

namespace {

using test::readFile;
using test::TiffPage;
using test::writeFile;

constexpr std::array<std::uint64_t, 3> g_tags = {TIFFTAG_XRESOLUTION, TIFFTAG_YRESOLUTION,
                                                 TIFFTAG_RESOLUTIONUNIT};
TiffResolution const g_resolution = {{200000, 13}, {7, 2}, RESUNIT_CENTIMETER};

std::uint64_t toNumber(std::string const& bytes, std::size_t begin, std::size_t nbBytes) {
    std::uint64_t number = 0;
    for (std::size_t index = begin + nbBytes; index-- > begin;) {
        number = number << 8 | static_cast<unsigned char>(bytes.at(index));
    }
    return number;
}

/// Of classic files and of BigTIFF, what a test has to know to walk through one.
struct Kind {
    char const* name;
    char const* mode; ///< of TIFFOpen
    std::size_t countSize;
    std::size_t entrySize;
    std::size_t offsetSize;

    struct Directory {
        std::uint64_t offset;
        std::uint64_t next;
        std::vector<std::uint64_t> tags;
        std::map<std::uint64_t, std::string> entries;
    };

    std::vector<Directory> readDirectories(std::string const& bytes) const {
        std::vector<Directory> directories;
        for (std::uint64_t offset = toNumber(bytes, offsetSize, offsetSize); offset != 0;) {
            Directory directory = {offset, 0, {}, {}};
            std::uint64_t const nbEntries = toNumber(bytes, offset, countSize);
            std::uint64_t place = offset + countSize;
            for (std::uint64_t entry = 0; entry < nbEntries; ++entry, place += entrySize) {
                directory.tags.push_back(toNumber(bytes, place, 2));
                directory.entries[directory.tags.back()] = bytes.substr(place, entrySize);
            }
            offset = directory.next = toNumber(bytes, place, offsetSize);
            directories.push_back(directory);
        }
        return directories;
    }

    void put(std::string& bytes, std::uint64_t place, std::uint64_t number, std::size_t nbBytes) const {
        for (std::size_t index = 0; index < nbBytes; ++index) {
            bytes.at(place + index) = static_cast<char>(number >> (8 * index) & 0xff);
        }
    }

    /// Where the place of the directory behind this one stands.
    std::uint64_t findLink(Directory const& directory) const {
        return directory.offset + countSize + directory.tags.size() * entrySize;
    }
};

std::ostream& operator<<(std::ostream& os, Kind const& kind) {
    return os << kind.name;
}

using test::PageResolution;

PageResolution const g_expected = {200000.0F / 13, 3.5F, RESUNIT_CENTIMETER};

class ResolutionTags : public testing::TestWithParam<Kind> {
  protected:
    void SetUp() override { writeTiff({page("abcdef", 0), page("ghijkl", 4), page("mnopqr", 0)}); }

    static TiffPage page(std::string const& pixels, float resolution) {
        TiffPage result;
        result.pixels = pixels;
        result.resolution = resolution;
        result.description = "a text too long for an entry";
        return result;
    }

    void writeTiff(std::vector<TiffPage> const& pages) const {
        test::writeTiff(_path, pages, GetParam().mode);
    }

    std::vector<PageResolution> readResolutions() const { return test::readResolutions(_path); }

    /// A failure with this reason that leaves the file as it was.
    void expectRefused(std::string const& reason) const {
        std::string const bytes = readFile(_path);
        try {
            setTiffTags(_path, {g_resolution, {}});
            ADD_FAILURE() << "not refused: " << reason;
        } catch (WorkFailure const& failure) {
            EXPECT_EQ("cannot set tags of \"" + _path.string() + "\": " + reason, failure.what());
        }
        EXPECT_EQ(bytes, readFile(_path));
    }

    void expectRefusedWith(std::function<void(std::string&)> const& change, std::string const& reason) const {
        std::string const whole = readFile(_path);
        std::string damaged = whole;
        change(damaged);
        writeFile(_path, damaged);
        expectRefused(reason);
        writeFile(_path, whole);
    }

    test::TemporaryFolder _folder;
    boost::filesystem::path _path = _folder / "a.tif";
};

} // namespace

TEST_P(ResolutionTags, AreSetInEachDirectoryInPlaceOfEarlierOnes) {
    setTiffTags(_path, {g_resolution, {}});
    EXPECT_EQ(std::vector<PageResolution>(3, g_expected), readResolutions());
    std::vector<TiffPage> const pages = test::readTiff(_path);
    ASSERT_EQ(3U, pages.size());
    EXPECT_EQ("abcdef", pages[0].pixels);
    EXPECT_EQ("ghijkl", pages[1].pixels);
    EXPECT_EQ("mnopqr", pages[2].pixels);
}

TEST_P(ResolutionTags, LeaveAllOtherEntriesAndBytesAsTheyWere) {
    std::string before = readFile(_path);
    setTiffTags(_path, {g_resolution, {}});
    std::string after = readFile(_path);
    auto const earlier = GetParam().readDirectories(before);
    auto const later = GetParam().readDirectories(after);
    ASSERT_EQ(earlier.size(), later.size());
    for (std::size_t index = 0; index < later.size(); ++index) {
        EXPECT_EQ(0U, later[index].offset % 8);
        EXPECT_TRUE(std::is_sorted(later[index].tags.begin(), later[index].tags.end()));
        auto expected = earlier[index].entries;
        for (std::uint64_t const tag : g_tags) {
            expected[tag] = later[index].entries.at(tag);
        }
        EXPECT_EQ(expected, later[index].entries);
    }
    std::size_t const link = GetParam().offsetSize;
    before.replace(link, link, link, 'x');
    after.replace(link, link, link, 'x');
    EXPECT_EQ(before, after.substr(0, before.size()));
}

TEST_P(ResolutionTags, ADescriptionIsSetInTheFirstDirectoryAndTheSecondOneTakesItsPlace) {
    writeTiff({page("abcdef", 4), page("ghijkl", 4), page("mnopqr", 0)});
    std::uint64_t const firstPlace = GetParam().readDirectories(readFile(_path)).front().offset;
    std::string const description = "ImageJ=1.53t\nimages=3\nslices=3\n";
    setTiffTags(_path, {std::nullopt, description});
    std::vector<TiffPage> const pages = test::readTiff(_path);
    ASSERT_EQ(3U, pages.size());
    EXPECT_EQ(description, pages[0].description);
    EXPECT_EQ("a text too long for an entry", pages[1].description);
    EXPECT_EQ("abcdef", pages[0].pixels);
    EXPECT_EQ("ghijkl", pages[1].pixels);
    EXPECT_EQ("mnopqr", pages[2].pixels);
    EXPECT_EQ(firstPlace, GetParam().readDirectories(readFile(_path)).at(1).offset);
}

TEST_P(ResolutionTags, ASecondDirectoryThatDoesNotFitIntoThePlaceOfTheFirstIsRefused) {
    try {
        setTiffTags(_path, {g_resolution, "text"}); // three entries more
        ADD_FAILURE() << "not refused";
    } catch (WorkFailure const& failure) {
        EXPECT_THAT(failure.what(), testing::HasSubstr("has no room for another one"));
    }
    EXPECT_EQ("abcdef", test::readTiff(_path).at(0).pixels);
}

TEST_P(ResolutionTags, CanBeSetAgain) {
    setTiffTags(_path, {TiffResolution{{1, 1}, {1, 1}, RESUNIT_NONE}, {}});
    EXPECT_EQ(std::vector<PageResolution>(3, {1, 1, RESUNIT_NONE}), readResolutions());
    setTiffTags(_path, {g_resolution, {}});
    EXPECT_EQ(std::vector<PageResolution>(3, g_expected), readResolutions());
}

TEST_P(ResolutionTags, AreRefusedForADamagedChain) {
    Kind const kind = GetParam();
    auto const directories = kind.readDirectories(readFile(_path));
    std::uint64_t const first = directories[0].offset;
    std::uint64_t const second = directories[1].offset;
    auto const at = [](std::uint64_t offset) {
        return "the directory at byte " + std::to_string(offset) + ' ';
    };
    expectRefusedWith([&](auto& bytes) { kind.put(bytes, kind.offsetSize, 0, kind.offsetSize); },
                      "it has no directory");
    expectRefusedWith([&](auto& bytes) { kind.put(bytes, kind.findLink(directories[2]), first, 4); },
                      at(first) + "comes a second time");
    expectRefusedWith([&](auto& bytes) { kind.put(bytes, kind.findLink(directories[0]), first, 4); },
                      at(first) + "comes a second time");
    expectRefusedWith([&](auto& bytes) { kind.put(bytes, kind.findLink(directories[1]), 0x7fffffff, 4); },
                      at(0x7fffffff) + "reaches beyond the end of the file");
    expectRefusedWith([&](auto& bytes) { kind.put(bytes, second, 0, kind.countSize); },
                      at(second) + "has 0 entries");
    expectRefusedWith([&](auto& bytes) { kind.put(bytes, second, 0xffff, kind.countSize); },
                      at(second) + "reaches beyond the end of the file");
    expectRefusedWith([&](auto& bytes) { kind.put(bytes, second + kind.countSize, 0xffff, 2); },
                      at(second) + "has entries that are not in order");
    expectRefusedWith([&](auto& bytes) { bytes.resize(kind.findLink(directories[0]) + 1); },
                      at(first) + "reaches beyond the end of the file");
}

TEST_P(ResolutionTags, AreRefusedForWhatIsNoLittleEndianTiffFile) {
    std::string const reason = "it is not a little-endian TIFF file";
    for (std::size_t const length : {std::size_t{0}, std::size_t{3}, GetParam().offsetSize * 2 - 1}) {
        expectRefusedWith([&](auto& bytes) { bytes.resize(length); }, reason);
    }
    expectRefusedWith([&](auto& bytes) { bytes[0] = 'M'; }, reason);
    expectRefusedWith([&](auto& bytes) { bytes[2] = 41; }, reason);
}

TEST_P(ResolutionTags, OfAFileThatCannotGrowStayTheEarlierOnes) {
    std::vector<PageResolution> const earlier = readResolutions();
    {
        test::FileSizeLimit const limit(boost::filesystem::file_size(_path) + 300);
        EXPECT_THROW(setTiffTags(_path, {g_resolution, {}}), WorkFailure);
    }
    EXPECT_EQ(earlier, readResolutions());
}

INSTANTIATE_TEST_SUITE_P(Kinds, ResolutionTags,
                         testing::Values(Kind{"Classic", "wl", 2, 12, 4}, Kind{"BigTiff", "wl8", 8, 20, 8}),
                         [](auto const& entry) { return std::string(entry.param.name); });

namespace {

/// Reads and writes of this process so far; 0 where the system does not tell.
unsigned long countTransfers() {
    std::ifstream file("/proc/self/io");
    std::string key;
    unsigned long sum = 0;
    for (unsigned long number = 0; file >> key >> number;) {
        sum += key == "syscr:" || key == "syscw:" ? number : 0;
    }
    return sum;
}

/// A file of directories that have one entry each.
std::string makeChain(std::uint32_t nbDirectories) {
    std::string bytes("II\x2a\0\x08\0\0\0", 8);
    for (std::uint32_t index = 0; index < nbDirectories; ++index) {
        std::uint32_t const next = index + 1 == nbDirectories ? 0 : 8 + 18 * (index + 1);
        bytes += std::string("\x01\0\0\x01\x03\0\x01\0\0\0\x01\0\0\0", 14);
        for (unsigned int byte = 0; byte < 4; ++byte) {
            bytes += static_cast<char>(next >> (8 * byte) & 0xff);
        }
    }
    return bytes;
}

} // namespace

TEST(ResolutionTagsOfMany, TakeAFixedNumberOfTransfersForEachDirectory) {
    if (countTransfers() == 0) {
        GTEST_SKIP() << "the system does not count transfers";
    }
    test::TemporaryFolder const folder;
    std::uint32_t const nbDirectories = 10000;
    writeFile(folder / "a.tif", makeChain(nbDirectories));
    unsigned long const before = countTransfers();
    setTiffTags(folder / "a.tif", {g_resolution, {}});
    EXPECT_LT(countTransfers() - before, 2 * nbDirectories + 100);
    EXPECT_EQ(8 + 18 * nbDirectories + nbDirectories * 72, boost::filesystem::file_size(folder / "a.tif"));
}

} // namespace velmo::tool
