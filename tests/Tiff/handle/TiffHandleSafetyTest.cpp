// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "files/TiffImageFileFixture.h"

#include <boost/filesystem/operations.hpp>

namespace velmo::image::file {

namespace {

constexpr vlUInt64 g_pageSizeX = 30;
constexpr vlUInt64 g_pageSizeY = 20;
constexpr vlUInt64 g_nbPagePixels = g_pageSizeX * g_pageSizeY;
constexpr vlUInt64 g_nbPages = 3;

OpenRequest const g_forWriting = {eIAM_ReadWrite, eTDM_Volume, eTBM_Default};

std::vector<Directory> makePages(std::uint16_t compression, std::uint16_t bits, std::uint16_t samples) {
    Directory const page = stripDirectory(g_pageSizeX, g_pageSizeY, 7, compression, samples, bits);
    std::vector<Directory> pages(g_nbPages, page);
    for (unsigned int index = 0; index < g_nbPages; ++index) {
        pages[index].pixels = noise(page.countBytes(), index + 1);
    }
    return pages;
}

void writeOwnFile(path const& path) {
    Planes const planes =
        createPlanes(path, makeGeometry(eIBT_UInt16, {g_pageSizeX, g_pageSizeY, g_nbPages}));
    for (unsigned int z = 0; z < g_nbPages; ++z) {
        planes.writePlane(noise(2 * g_nbPagePixels, z + 1), z);
    }
}

/// A kind of file of three pages.
struct FileKind {
    char const* name;
    friend void PrintTo(FileKind const& kind, std::ostream* pStream) { *pStream << kind.name; }
    void (*write)(path const&);
    bool bBlackWhereBroken; ///< one channel of several is read so
};

FileKind const g_kinds[] = {
    {"OwnFile", writeOwnFile, false},
    {"BigEndian", [](path const& path) { writeTiff(path, makePages(COMPRESSION_NONE, 16, 1), "wb"); }, false},
    {"Lzw", [](path const& path) { writeTiff(path, makePages(COMPRESSION_LZW, 16, 1)); }, false},
    {"DeflateInBigTiff",
     [](path const& path) { writeTiff(path, makePages(COMPRESSION_ADOBE_DEFLATE, 16, 1), "w8"); }, false},
    {"Rgb", [](path const& path) { writeTiff(path, makePages(COMPRESSION_NONE, 8, 3)); }, true},
    {"RgbInLzw", [](path const& path) { writeTiff(path, makePages(COMPRESSION_LZW, 8, 3)); }, true}};

/// What is done with a file behind the cut.
enum class eUse { Read, ReadOnAKnownPage, Write, WriteParts };

class TiffCutShortTest : public TiffTest, public testing::WithParamInterface<FileKind> {
  protected:
    void SetUp() override {
        GetParam().write(_path);
        _bytes = readFile(_path);
        TiffImageFile file;
        ASSERT_THAT(openFile(file, _path), Succeeds());
        for (vlUInt64 z = 0; z < g_nbPages; ++z) {
            _planes.push_back(readPixels(file, wholePlane(file, z)));
        }
    }

    std::string readPlanes(TiffImageFile const& file) const {
        for (vlUInt64 z = 0; z < g_nbPages; ++z) {
            std::string pixels(_planes[z].size(), '\xEE');
            BoolResult const read = file.readRawData(z, 0, 0, 0, g_nbPagePixels, pixels.data());
            if (read && !GetParam().bBlackWhereBroken && pixels != _planes[z]) {
                return "other pixels are read of plane " + std::to_string(z);
            }
        }
        return "safe";
    }

    std::string use(TiffImageFile& file, eUse use) const {
        if (use == eUse::Read || use == eUse::ReadOnAKnownPage) {
            return readPlanes(file);
        }
        for (vlUInt64 z = 0; z < g_nbPages; ++z) {
            PixelRun const part = {z, 0, 0, g_nbPagePixels / 3, 5};
            tryWrite(file, use == eUse::Write ? wholePlane(file, z) : part);
        }
        return "safe";
    }

    /// Opens the whole file, cuts it, uses it and closes it.
    std::string useCutTo(vlUInt64 size, eUse how) const {
        TiffImageFile file;
        BoolResult const opened = openFile(file, _path, g_forWriting);
        if (!opened || (how == eUse::ReadOnAKnownPage && !tryRead(file, wholePlane(file, 1)))) {
            return "not open";
        }
        boost::filesystem::resize_file(_path, size);
        std::string text = use(file, how);
        std::string const before = readFile(_path);
        file.clear();
        return readFile(_path) == before ? text : "the close changed the file";
    }

    std::string _bytes;
    std::vector<std::string> _planes;
};

} // namespace

TEST_P(TiffCutShortTest, NoUseCrashesAndTheCloseChangesNothing) {
    vlUInt64 const step = 1 + _bytes.size() / 30;
    for (vlUInt64 size = 0; size < _bytes.size(); size += step) {
        std::string const text = inChild([&] {
            std::string texts;
            for (eUse const how : {eUse::Read, eUse::ReadOnAKnownPage, eUse::Write, eUse::WriteParts}) {
                writeFile(_path, _bytes);
                texts += useCutTo(size, how) + ";";
            }
            return texts;
        });
        EXPECT_EQ(text, "safe;safe;safe;safe;") << "cut to " << size << " of " << _bytes.size() << " bytes";
    }
}

TEST_P(TiffCutShortTest, ReadingDoesNotChangeWhatIsLeft) {
    for (vlUInt64 const size : {vlUInt64{0}, vlUInt64{7}, _bytes.size() / 2, _bytes.size() - 1}) {
        writeFile(_path, _bytes);
        inChild([&] { return useCutTo(size, eUse::Read); });
        EXPECT_TRUE(readFile(_path) == _bytes.substr(0, size)) << size;
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, TiffCutShortTest, testing::ValuesIn(g_kinds),
                         testing::PrintToStringParamName());

// Directories that libtiff cannot write strips of

namespace {

struct Unwritable {
    char const* name;
    friend void PrintTo(Unwritable const& unwritable, std::ostream* pStream) { *pStream << unwritable.name; }
    std::uint16_t compression;
    bool bByteCounts;
};

constexpr unsigned int g_noCodec = COMPRESSION_JP2000;

// libtiff computes the byte counts that the directory of a single strip lacks, but not for old JPEG.
Unwritable const g_unwritable[] = {{"OldJpegWithoutByteCounts", COMPRESSION_OJPEG, false},
                                   {"NoCodec", g_noCodec, true}};

class TiffUnwritableTest : public TiffTest, public testing::WithParamInterface<Unwritable> {
  protected:
    void SetUp() override {
        RawDirectory directory = greyDirectory(16, 8);
        directory.set(TIFFTAG_COMPRESSION, shorts({GetParam().compression}));
        if (!GetParam().bByteCounts) {
            directory.without(TIFFTAG_STRIPBYTECOUNTS);
        }
        writeRawTiff(_path, {greyDirectory(16, 8), directory});
    }

    std::string tryWriteAndClose(PixelRun const& run) const {
        return inChild([&]() -> std::string {
            TiffImageFile file;
            BoolResult const opened = openFile(file, _path, g_forWriting);
            return opened ? toText(tryWrite(file, run)) : "not open";
        });
    }
};

} // namespace

TEST_P(TiffUnwritableTest, AWriteFailsAndChangesNoByte) {
    std::string const before = readFile(_path);
    PixelRun const whole = {1, 0, 0, 0, 128};
    EXPECT_THAT(tryWriteAndClose(whole), testing::StartsWith(writeStripFailed(0, whole, _path)));
    EXPECT_TRUE(readFile(_path) == before);
    PixelRun const part = {1, 0, 0, 0, 16}; // needs the other pixels of the strip
    EXPECT_THAT(tryWriteAndClose(part), testing::StartsWith(readStripFailed(0, part, _path)));
    EXPECT_TRUE(readFile(_path) == before);
}

TEST_P(TiffUnwritableTest, AFailedWriteLeavesTheOtherPagesToBeWritten) {
    std::string const text = inChild([&]() -> std::string {
        TiffImageFile file;
        BoolResult const opened = openFile(file, _path, g_forWriting);
        bool const bRefused = opened && !tryWrite(file, {1, 0, 0, 0, 128});
        return toText(bRefused ? tryWrite(file, {0, 0, 0, 0, 128}) : failure("not refused"));
    });
    EXPECT_EQ(text, "success");
    EXPECT_EQ(readDirectoryPixels(_path, 0), std::string(128, '\x55'));
}

INSTANTIATE_TEST_SUITE_P(Directories, TiffUnwritableTest, testing::ValuesIn(g_unwritable),
                         testing::PrintToStringParamName());

// Byte counts that are not in the directory

namespace {

using TiffHandleSafetyTest = TiffTest;

constexpr std::uint16_t g_codecs[] = {COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS};

/// Writes noise into the first page of a file and closes it.
std::string writeFirstPage(path const& path) {
    return inChild([&]() -> std::string {
        TiffImageFile file;
        BoolResult const opened = openFile(file, path, g_forWriting);
        std::string const pixels = noise(128);
        return opened ? toText(file.writeRawData(0, 0, 0, 0, 128, pixels.data())) : "not open";
    });
}

} // namespace

TEST_F(TiffHandleSafetyTest, APageOfSeveralStripsWithoutByteCountsIsNotReached) {
    RawDirectory directory = greyDirectory(16, 8).without(TIFFTAG_STRIPBYTECOUNTS);
    directory.set(TIFFTAG_ROWSPERSTRIP, shorts({4})).set(TIFFTAG_STRIPOFFSETS, longs({8, 72}));
    writeRawTiff(_path, {greyDirectory(16, 8), directory});
    std::string const before = readFile(_path);
    std::string const text = inChild([&]() -> std::string {
        Planes const planes = plainPlanes(_path, "r+", makeGeometry(eIBT_UInt8, {16, 8, 2}));
        return toText(planes.tryWrite({1, 0, 0, 0, 128}));
    });
    EXPECT_THAT(text, testing::StartsWith(setDirectoryFailed(1, _path)));
    EXPECT_TRUE(readFile(_path) == before);
}

TEST_F(TiffHandleSafetyTest, APlainStripWithoutAByteCountIsWrittenInItsPlace) {
    writeRawTiff(_path, {greyDirectory(16, 8).without(TIFFTAG_STRIPBYTECOUNTS), greyDirectory(16, 8)});
    EXPECT_EQ(writeFirstPage(_path), "success");
    expectDirectories(_path, {noise(128), countingBytes(128)});
}

TEST_F(TiffHandleSafetyTest, ACompressedStripWithoutAByteCountReachesNoOtherPage) {
    for (std::uint16_t const compression : g_codecs) {
        for (bool const bZero : {false, true}) {
            SCOPED_TRACE(std::to_string(compression) + (bZero ? ", zero" : ", none"));
            RawDirectory directory = greyDirectory(16, 8).without(TIFFTAG_STRIPBYTECOUNTS);
            directory.set(TIFFTAG_COMPRESSION, shorts({compression}));
            if (bZero) {
                directory.set(TIFFTAG_STRIPBYTECOUNTS, longs({0}));
            }
            writeRawTiff(_path, {directory, greyDirectory(16, 8)});
            std::string const text = writeFirstPage(_path);
            EXPECT_THAT(text, testing::StartsWith("Failed to write data of strip 0 "));
            EXPECT_EQ(countDirectories(_path), 2U);
        }
    }
}

} // namespace velmo::image::file
