// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ArchiveProcess.h"
#include "Im6Sample.h"

#include <VELMOImageFile/Im6ImageFile.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>

namespace velmo::test {

using namespace image;
using namespace image::file;

namespace {

class Im6ArchiveProcess : public ArchiveProcess {
  protected:
    Im6ArchiveProcess() : _path(_folder / "image.im6") {
        _sample.text = g_calibrationText;
        _sample.calibration.emplace();
        _sample.write(_path);
    }

    void writeOpened(eImageAccessMode accessMode, bool bSharedRemote) const {
        auto const pAccessor = boost::make_shared<Im6ImageFile>();
        ASSERT_TRUE(bSharedRemote ? pAccessor->openSharedRemoteFile(_path, accessMode)
                                  : pAccessor->openFile(_path, accessMode));
        writeRecord(pAccessor);
    }

    boost::filesystem::path const _path;
    Im6Sample _sample = makeIm6Sequence();
};

} // namespace

TEST_P(Im6ArchiveProcess, ARebuiltAccessorReadsTheSamePixelsInItsModeAndSharedOrNot) {
    for (bool const bSharedRemote : {false, true}) {
        writeOpened(bSharedRemote ? eIAM_ReadWrite : eIAM_ReadOnly, bSharedRemote);
        Outcome const outcome = runReader();
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.output, std::string("velmo::image::file::Im6ImageFile mode ") +
                                      (bSharedRemote ? "2 shared 1" : "0 shared 0") +
                                      " sizes 2 1 2 3 2 type eIBT_UInt16\n");
        EXPECT_EQ(readFile(_folder / "pixels"), _sample.pixels);
    }
}

TEST_P(Im6ArchiveProcess, AFileThatWasReplacedIsReadByItsNewHeader) {
    writeOpened(eIAM_ReadOnly, false);
    Im6Sample later;
    later.pixels = makeBytes(12);
    later.write(_path);
    Outcome const outcome = runReader();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output,
              "velmo::image::file::Im6ImageFile mode 0 shared 0 sizes 4 3 1 1 1 type eIBT_UInt8\n");
    EXPECT_EQ(readFile(_folder / "pixels"), later.pixels);
}

TEST_P(Im6ArchiveProcess, AFileThatIsNoIm6FileByNowIsRefused) {
    writeOpened(eIAM_ReadOnly, false);
    writeFile(_path, std::string(5000, 'x'));
    Outcome const outcome = runReader();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, testing::HasSubstr("The image file is not of the expected format"));
    EXPECT_FALSE(boost::filesystem::exists(_folder / "pixels"));
}

INSTANTIATE_TEST_SUITE_P(Archives, Im6ArchiveProcess, testing::Values("binary", "xml"), getName);

} // namespace velmo::test
