// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/TiffStream.h"

#include "FileSizeLimit.h"
#include "TiffFixture.h"

#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <sys/stat.h>

namespace velmo::image::file {

namespace {

/// While it lives, the process takes no right away from new files.
class AllRights {
  public:
    AllRights() : _previous(::umask(0)) {}
    ~AllRights() { ::umask(_previous); }
    AllRights(AllRights const&) = delete;
    AllRights& operator=(AllRights const&) = delete;

  private:
    mode_t _previous;
};

/// A new file whose last bytes are followed by reserved zeros.
class TiffReservedZeros : public TiffTest {
  protected:
    static constexpr vlUInt64 s_nbReserved = 100;

    TiffReservedZeros() {
        _stream.writeAt(0, "xxxxxxxxxxxx", _end);
        _stream.reserveZeros(s_nbReserved);
    }
    ~TiffReservedZeros() override { TIFFClose(_pTiff); }

    std::string read(vlUInt64 offset, vlUInt64 nbBytes) {
        std::string bytes(nbBytes, '-');
        bytes.resize(_stream.readAt(offset, bytes.data(), nbBytes));
        return bytes;
    }

    TIFF* _pTiff = TiffStream::open(_path, "w");
    TiffStream& _stream = *TiffStream::find(_pTiff);
    vlUInt64 _end = 12;
};

} // namespace

TEST(TiffStream, ANewFileIsForReadingAndWritingByAllThatTheProcessAllows) {
    test::TemporaryFolder const folder;
    auto const path = folder.getPath() / "new.tif";
    AllRights const rights;
    TIFFClose(TiffStream::open(path, "w"));
    EXPECT_EQ(boost::filesystem::status(path).permissions(), boost::filesystem::perms(0666));
}

TEST(TiffStream, ACloseThatSucceedsIsNoFailureWhateverFailedBefore) {
    test::TemporaryFolder const folder;
    TIFF* const pTiff = TiffStream::open(folder.getPath() / "new.tif", "w");
    errno = ENOSPC;
    TIFFClose(pTiff);
    EXPECT_TRUE(TiffStream::getCloseResult());
}

TEST(TiffStream, AFileThatTheSystemOpensHasNoOpenErrorWhateverFailedBefore) {
    test::TemporaryFolder const folder;
    auto const path = folder.getPath() / "image.tif";
    EXPECT_EQ(TiffStream::open(path, "r"), nullptr);
    EXPECT_EQ(TiffStream::getOpenError(), std::errc::no_such_file_or_directory);
    writeFile(path, "no TIFF file");
    EXPECT_EQ(TiffStream::open(path, "r"), nullptr);
    EXPECT_EQ(TiffStream::getOpenError(), std::error_code());
}

TEST_F(TiffReservedZeros, AreNotWrittenAgain) {
    std::string const zeros(s_nbReserved, '\0');
    test::FileSizeLimit const nothingMore(1);
    EXPECT_EQ(_stream.writeAt(_end, zeros.data(), 2), 2U);
    EXPECT_EQ(_stream.writeAt(_end + 2, zeros.data(), 0), 0U);
    EXPECT_EQ(_stream.writeAt(_end + 2, zeros.data(), s_nbReserved - 2), s_nbReserved - 2);
    EXPECT_FALSE(_stream.getWriteError());
}

TEST_F(TiffReservedZeros, TakeOtherBytes) {
    std::string const bytes = std::string(s_nbReserved - 1, '\0') + "x";
    test::FileSizeLimit const nothingMore(1);
    EXPECT_EQ(_stream.writeAt(_end, bytes.data(), bytes.size()), 0U);
    EXPECT_EQ(_stream.getWriteError(), std::errc::file_too_large);
}

TEST_F(TiffReservedZeros, CoverNoByteBeforeThem) {
    EXPECT_EQ(_stream.writeAt(_end - 2, "\0\0\0", 3), 3U);
    EXPECT_EQ(read(_end - 3, 4), std::string("x\0\0\0", 4));
}

TEST_F(TiffReservedZeros, CoverNoByteBehindThem) {
    EXPECT_EQ(_stream.writeAt(_end + s_nbReserved - 1, "\0\0\0", 3), 3U);
    EXPECT_EQ(_stream.getSize(), _end + s_nbReserved + 2);
}

} // namespace velmo::image::file
