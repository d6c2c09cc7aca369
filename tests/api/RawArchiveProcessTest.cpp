// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ArchiveProcess.h"

#include <VELMOImageFile/RawImageFile.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

class RawArchiveProcess : public ArchiveProcess {
  protected:
    RawArchiveProcess() : _pGeometry(makeHeterogeneous()), _content(makePixels(*_pGeometry)) {
        writeFile(_folder / "image.raw", "head" + _content + "tail");
    }

    void expectRebuilt(boost::shared_ptr<RawImageFile> const& pAccessor, std::string const& text,
                       std::string const& pixels) const {
        writeRecord(pAccessor);
        Outcome const outcome = runReader();
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.output, text);
        EXPECT_EQ(readFile(_folder / "pixels"), pixels);
    }

    ImageGeometryPtr _pGeometry;
    std::string _content;
};

} // namespace

TEST_P(RawArchiveProcess, ARebuiltAccessorReadsTheSamePixelsInItsModeAndSharedOrNot) {
    auto const pAccessor = boost::make_shared<RawImageFile>();
    ASSERT_TRUE(pAccessor->openFile(_folder / "image.raw", eIAM_ReadOnly, 4, *_pGeometry));
    expectRebuilt(pAccessor,
                  "velmo::image::file::RawImageFile mode 0 shared 0 sizes 5 2 2 3 3 type eIBT_UInt8\n",
                  _content);
    auto const pGeometry = makeSequence(eIBT_Label16);
    ASSERT_TRUE(pAccessor->openSharedRemoteFile(_folder / "image.raw", eIAM_ReadWrite, 9, *pGeometry));
    expectRebuilt(pAccessor,
                  "velmo::image::file::RawImageFile mode 2 shared 1 sizes 4 3 2 1 2 type eIBT_Label16\n",
                  _content.substr(5, 96));
}

TEST_P(RawArchiveProcess, AnotherProcessSeesWhatThisOneHasJustWritten) {
    auto const pAccessor = boost::make_shared<RawImageFile>();
    auto const pGeometry = geometry3d(eIBT_UInt8, 3, 2, 2);
    ASSERT_TRUE(pAccessor->createFile(_folder / "new.raw", *pGeometry, "head"));
    ASSERT_TRUE(pAccessor->writeRawData(1, 0, 0, 2, 3, "abc"));
    writeRecord(pAccessor);
    EXPECT_EQ(runReader().status, 0);
    EXPECT_EQ(readFile(_folder / "pixels"), std::string(8, '\0') + "abc" + '\0');
}

TEST_P(RawArchiveProcess, AFileThatIsGoneIsRefusedWithItsPath) {
    auto const pAccessor = boost::make_shared<RawImageFile>();
    ASSERT_TRUE(pAccessor->openFile(_folder / "image.raw", eIAM_ReadOnly, 4, *_pGeometry));
    writeRecord(pAccessor);
    fs::remove(_folder / "image.raw");
    Outcome const outcome = runReader();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output,
                testing::HasSubstr("Failed to open raw image file " + (_folder / "image.raw").string()));
    EXPECT_FALSE(fs::exists(_folder / "pixels"));
}

INSTANTIATE_TEST_SUITE_P(Archives, RawArchiveProcess, testing::Values("binary", "xml"), getName);

} // namespace velmo::test
