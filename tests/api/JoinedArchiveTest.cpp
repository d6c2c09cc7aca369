// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Raw files that are joined, in archives and on their way to the workers of a distributed image.

#include "ImageBytes.h"
#include "TemporaryFolder.h"

#include <VELMOBaseProcessing/ProcessorDispatchPolicy.h>
#include <VELMOImage/ImageAccessor.h>
#include <VELMOImage/SubImageExtractor.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageProcessing/CopyImgLvl1.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOSerialization/XmlArchive.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <gmock/gmock.h>
#include <sstream>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;
using AccessorPtr = boost::shared_ptr<BaseDiskImageAccessor>;

namespace {

/// Three raw files of 2, 1 and 3 planes joined along Z; the archives are of the kind of the parameter.
class JoinedArchive : public testing::TestWithParam<std::string> {
  protected:
    JoinedArchive() {
        std::vector<ImagePtr> parts;
        for (vlUInt64 const sizeZ : {2UL, 1UL, 3UL}) {
            auto const pGeometry = geometry3d(eIBT_UInt16, 4, 3, sizeZ);
            std::string const pixels = makePixels(*pGeometry, static_cast<unsigned int>(sizeZ));
            fs::path const path = getPath(parts.size());
            writeFile(path, "head" + pixels);
            _pixels += pixels;
            auto const pAccessor = boost::make_shared<RawImageFile>();
            EXPECT_TRUE(pAccessor->openFile(path, eIAM_ReadOnly, 4, *pGeometry));
            parts.push_back(boost::make_shared<DiskImage>(pAccessor));
        }
        EXPECT_TRUE(SubImageExtractor::concatenateDiskVolumes(parts, _pWhole));
    }

    fs::path getPath(std::size_t part) const { return _folder / ("part" + std::to_string(part)); }
    std::string write() const {
        return GetParam() == "xml" ? writeTo<XmlOArchive>() : writeTo<BinaryOArchive>();
    }
    static AccessorPtr read(std::string const& record) {
        return GetParam() == "xml" ? readFrom<XmlIArchive>(record) : readFrom<BinaryIArchive>(record);
    }

    TemporaryFolder const _folder;
    std::string _pixels;
    DiskImagePtr _pWhole;

  private:
    template <class Archive>
    std::string writeTo() const {
        std::ostringstream stream;
        {
            Archive archive(stream);
            archive.writeObject("accessor", _pWhole->getAccessor());
        }
        return stream.str();
    }
    template <class Archive>
    static AccessorPtr readFrom(std::string const& record) {
        std::istringstream stream(record);
        Archive archive(stream);
        return readObjectOf<BaseDiskImageAccessor>(archive, "accessor");
    }
};

std::string readFailure(std::function<void()> const& read) {
    try {
        read();
    } catch (VELMOSerializationException const& exception) {
        return exception.what();
    }
    return "nothing was thrown";
}

} // namespace

TEST_P(JoinedArchive, ARebuiltAccessorReadsThePlanesOfAllFiles) {
    std::string const record = write();
    _pWhole.reset();
    AccessorPtr const pRead = read(record);
    ASSERT_TRUE(pRead);
    EXPECT_EQ(pRead->getImageInfoStr(), "velmo::image::JoinedImageAccessor x=4 y=3 z=6 c=1 t=1 eIBT_UInt16");
    EXPECT_EQ(pRead->getFilePath(), getPath(0));
    EXPECT_EQ(readPixels(DiskImage(pRead)), _pixels);
}

TEST_P(JoinedArchive, AFileThatIsGoneIsRefusedWithItsPath) {
    std::string const record = write();
    fs::remove(getPath(1));
    EXPECT_THAT(readFailure([&] { read(record); }),
                testing::HasSubstr("Failed to open raw image file " + getPath(1).string()));
}

TEST_P(JoinedArchive, AFileThatIsTooShortByNowIsRefused) {
    std::string const record = write();
    fs::resize_file(getPath(2), 4 + 72 - 1);
    EXPECT_THAT(readFailure([&] { read(record); }),
                testing::HasSubstr("is greater than global file size 75"));
}

TEST_P(JoinedArchive, EachFileIsOneThatThePixelsLieIn) {
    DiskImage const image(read(write()));
    writeFile(_folder / "other", "pixels");
    for (std::size_t part = 0; part < 3; ++part) {
        EXPECT_TRUE(image.isStoredIn(getPath(part))) << part;
    }
    EXPECT_FALSE(image.isStoredIn(_folder / "other"));
}

INSTANTIATE_TEST_SUITE_P(Archives, JoinedArchive, testing::Values("binary", "xml"),
                         [](auto const& kind) { return kind.param; });

using JoinedFiles = JoinedArchive;

TEST_P(JoinedFiles, AreReadByTheWorkersOfADistributedImage) {
    DistributedImagePtr pTarget;
    ASSERT_TRUE(ImageFactory::getInstance().createDistributedImage(_pWhole->getGeometry(), pTarget));
    processor::ProcessorDispatchPolicy policy;
    policy.initDefault();
    imaproc::util::CopyImgLvl1 copy;
    copy.init(processor::ePRP_Strict);
    copy.set<imaproc::attr::InImg>(_pWhole);
    copy.set<imaproc::attr::OutImg>(pTarget);
    copy.restrictDispatchPolicy(policy);
    EXPECT_EQ(copy.run(processor::eST_Synchronous).getMessage(), "");
    EXPECT_EQ(readPixels(*pTarget), _pixels);
}

INSTANTIATE_TEST_SUITE_P(Copies, JoinedFiles, testing::Values("binary"),
                         [](auto const& kind) { return kind.param; });

} // namespace velmo::test
