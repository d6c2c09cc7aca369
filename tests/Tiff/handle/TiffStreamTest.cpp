// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/TiffStream.h"

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

} // namespace velmo::image::file
