// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ImageBytes.h"
#include "TemporaryFolder.h"

#include <VELMOImageFile/RawImageFile.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/XmlArchive.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmo {
namespace test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

/// What another program wrote to its standard output, and its exit status.
struct Outcome {
    int status;
    std::string output;
};

[[noreturn]] void becomeReader(std::string const& format, fs::path const& record, fs::path const& pixels,
                               fs::path const& output) {
    int const descriptor = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (descriptor >= 0 && dup2(descriptor, STDOUT_FILENO) >= 0) {
        execl(VELMO_TEST_READER, VELMO_TEST_READER, format.c_str(), record.c_str(), pixels.c_str(), nullptr);
    }
    _exit(127);
}

class ArchiveProcess : public testing::TestWithParam<std::string> {
  protected:
    ArchiveProcess() : _pGeometry(makeHeterogeneous()), _content(makePixels(*_pGeometry)) {
        writeFile(_folder / "image.raw", "head" + _content + "tail");
    }

    void writeRecord(boost::shared_ptr<RawImageFile> const& pAccessor) {
        std::ofstream stream((_folder / "record").string(), std::ios::binary);
        if (GetParam() == "xml") {
            XmlOArchive archive(stream);
            archive.writeObject("accessor", pAccessor);
            archive.finish();
        } else {
            BinaryOArchive archive(stream);
            archive.writeObject("accessor", pAccessor);
        }
    }

    /// Has a fresh program rebuild the accessor and read all pixels into the file "pixels".
    Outcome runReader() {
        fs::remove(_folder / "pixels");
        pid_t const child = fork();
        if (child == 0) {
            becomeReader(GetParam(), _folder / "record", _folder / "pixels", _folder / "output");
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status));
        return {WEXITSTATUS(status), readFile(_folder / "output")};
    }

    TemporaryFolder _folder;
    ImageGeometryPtr _pGeometry;
    std::string _content;
};

} // namespace

TEST_P(ArchiveProcess, ARebuiltAccessorReadsTheSamePixels) {
    auto const pAccessor = boost::make_shared<RawImageFile>();
    ASSERT_TRUE(pAccessor->openFile(_folder / "image.raw", eIAM_ReadOnly, 4, *_pGeometry));
    writeRecord(pAccessor);
    Outcome const outcome = runReader();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output,
              "velmo::image::file::RawImageFile mode 0 shared 0 sizes 5 2 2 3 3 type eIBT_UInt8\n");
    EXPECT_EQ(readFile(_folder / "pixels"), _content);
}

TEST_P(ArchiveProcess, AccessModeAndSharedRemoteFlagAreRebuilt) {
    auto const pAccessor = boost::make_shared<RawImageFile>();
    auto const pGeometry = makeSequence(eIBT_Label16);
    ASSERT_TRUE(pAccessor->openSharedRemoteFile(_folder / "image.raw", eIAM_ReadWrite, 9, *pGeometry));
    writeRecord(pAccessor);
    Outcome const outcome = runReader();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output,
              "velmo::image::file::RawImageFile mode 2 shared 1 sizes 4 3 2 1 2 type eIBT_Label16\n");
    EXPECT_EQ(readFile(_folder / "pixels"), _content.substr(5, 96));
}

TEST_P(ArchiveProcess, AnotherProcessSeesWhatThisOneHasJustWritten) {
    auto const pAccessor = boost::make_shared<RawImageFile>();
    auto const pGeometry = geometry3d(eIBT_UInt8, 3, 2, 2);
    ASSERT_TRUE(pAccessor->createFile(_folder / "new.raw", *pGeometry, "head"));
    ASSERT_TRUE(pAccessor->writeRawData(1, 0, 0, 2, 3, "abc"));
    writeRecord(pAccessor);
    EXPECT_EQ(runReader().status, 0);
    EXPECT_EQ(readFile(_folder / "pixels"), std::string(8, '\0') + "abc" + '\0');
}

TEST_P(ArchiveProcess, AFileThatIsGoneIsRefusedWithItsPath) {
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

TEST_P(ArchiveProcess, AFileThatIsTooShortByNowIsRefused) {
    auto const pAccessor = boost::make_shared<RawImageFile>();
    ASSERT_TRUE(pAccessor->openFile(_folder / "image.raw", eIAM_ReadOnly, 4, *_pGeometry));
    writeRecord(pAccessor);
    fs::resize_file(_folder / "image.raw", 4 + _content.size() - 1);
    Outcome const outcome = runReader();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, testing::HasSubstr("Input geometry with total size 420 and starting offset 4 "
                                                   "is greater than global file size 423"));
}

INSTANTIATE_TEST_SUITE_P(Archives, ArchiveProcess, testing::Values("binary", "xml"),
                         [](auto const& param) { return param.param; });

} // namespace test
} // namespace velmo
