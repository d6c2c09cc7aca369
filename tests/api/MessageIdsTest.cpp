// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ImageBytes.h"
#include "Results.h"
#include "TemporaryFolder.h"
#include "TiffFixture.h"

#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/VELMOImageFile.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOUtil/VELMOUtilLog.h>
#include <boost/filesystem/operations.hpp>
#include <sstream>

namespace velmo::test {

using namespace image;
using namespace image::file;

namespace {

/// "domain:id" of each message, from the outermost to the innermost.
std::vector<std::string> list(MessageIds const& ids) {
    std::vector<std::string> names;
    for (MessageId const& one : ids.getAll()) {
        names.push_back(one.domain + ':' + std::to_string(one.id));
    }
    return names;
}

using Names = std::vector<std::string>;

template <class Call>
MessageIds getThrownIds(Call const& call) {
    try {
        call();
    } catch (BaseException const& error) {
        return error.getMessageIds();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

class MessageIdsOfCalls : public testing::Test {
  protected:
    TemporaryFolder _folder;
    ImageGeometryPtr _pGeometry = geometry3d(eIBT_UInt8, 4, 3, 2);
    ImagePtr _pImage = makeMemoryImage(*_pGeometry, makePixels(*_pGeometry));
};

} // namespace

TEST(MessageIds, NameNoMessageAtFirst) {
    MessageIds const none;
    EXPECT_TRUE(none.getAll().empty());
    for (MessageId const& one : {none.getOutermost(), none.getInnermost()}) {
        EXPECT_EQ(one.domain, "");
        EXPECT_EQ(one.id, -1);
    }
    EXPECT_FALSE(none.contains("", -1));
}

TEST(MessageIds, KeepTheOrderInWhichMessagesNest) {
    MessageIds inner;
    inner.add("B", 2);
    MessageIds outer;
    outer.add("A", 1);
    MessageIds const before = outer;
    outer.add(inner);
    outer.add(MessageIds());
    EXPECT_EQ(list(outer), (Names{"A:1", "B:2"}));
    EXPECT_EQ(list(before), (Names{"A:1"})); // a copy is not changed
    EXPECT_EQ(outer.getOutermost().id, 1);
    EXPECT_EQ(outer.getInnermost().id, 2);
    EXPECT_TRUE(outer.contains("B", 2));
    EXPECT_FALSE(outer.contains("A", 2));
}

TEST(MessageIds, NameADomainByItsEnumeration) {
    EXPECT_EQ(MessageIds::nameDomain("N5velmo5image4file21eTiffImageFileMessage6domainE"),
              "eTiffImageFileMessage");
    EXPECT_EQ(MessageIds::nameDomain(typeid(eVELMOUtilErrors::domain).name()), "eVELMOUtilErrors");
    EXPECT_EQ(MessageIds::nameDomain("N1a1bE"), "b");
    EXPECT_EQ(MessageIds::nameDomain("6domain"), "domain");
    EXPECT_EQ(MessageIds::nameDomain("no type name"), "no type name");
    EXPECT_EQ(MessageIds::nameDomain(""), "");
}

TEST(MessageIds, AreEmptyForTextOfNoCatalogue) {
    BaseException const error("text", "function", "file", 1);
    EXPECT_TRUE(error.getMessageIds().getAll().empty());
    EXPECT_TRUE(failure("text").getMessageIds().getAll().empty());
    EXPECT_TRUE(success().getMessageIds().getAll().empty());
}

TEST(MessageIds, OfACaughtExceptionGoIntoTheResult) {
    BaseException error("text", "function", "file", 1);
    BaseException const copy(error);
    MessageIds ids;
    ids.add("A", 1);
    error.setMessageIds(ids);
    EXPECT_EQ(list(failure(error).getMessageIds()), Names{"A:1"});
    EXPECT_EQ(failure(error).getMessage(), "text");
    EXPECT_EQ(list(copy.getMessageIds()), Names{});
    EXPECT_EQ(list(failure(std::runtime_error("other")).getMessageIds()), Names{});
}

TEST_F(MessageIdsOfCalls, AResultHasTheMessageOfItsAccessor) {
    RawImageFile file;
    BoolResult const result = file.openFile(_folder / "missing.raw", eIAM_ReadOnly, 0, *_pGeometry);
    ASSERT_FALSE(result);
    EXPECT_EQ(list(result.getMessageIds()), Names{"eRawImageFileMessage:7"});
    EXPECT_TRUE(result.getMessageIds().contains(eRawImageFileMessage::eRIFM_OpenFileFailed));
    EXPECT_FALSE(result.getMessageIds().contains(eIm6ImageFileMessage::eI6FM_OpenFileFailed));
}

TEST_F(MessageIdsOfCalls, APublicFunctionHasItsOwnMessageAndThatOfItsStep) {
    MessageIds const ids = getThrownIds([&] { loadRawImageFile(_folder / "missing.raw", *_pGeometry); });
    EXPECT_EQ(list(ids), (Names{"eRawImageFileMessage:6", "eRawImageFileMessage:7"}));
    EXPECT_EQ(ids.getOutermost().id, eRawImageFileMessage::eRIFM_LoadFileError);
    EXPECT_EQ(ids.getInnermost().id, eRawImageFileMessage::eRIFM_OpenFileFailed);
}

TEST_F(MessageIdsOfCalls, ASaveWithOptionsHasTheMessageThatEndsWithTheReason) {
    auto const save = [&] { saveRawImageFile(_folder / "no" / "image.raw", _pImage, RawWriteOptions{}); };
    EXPECT_EQ(list(getThrownIds(save)), (Names{"eRawImageFileMessage:11", "eRawImageFileMessage:1"}));
    auto const fill = [&] { saveRawImageFile("/dev/full", _pImage, RawWriteOptions{}); };
    EXPECT_EQ(list(getThrownIds(fill)), (Names{"eRawImageFileMessage:11", "eRawImageFileMessage:10"}));
}

TEST_F(MessageIdsOfCalls, AMissingTiffFileEndsWithTheTextOfLibtiffWhichHasNoId) {
    EXPECT_EQ(list(getThrownIds([&] { loadTiffImageFile(_folder / "missing.tif"); })),
              (Names{"eTiffImageFileMessage:11", "eTiffImageFileMessage:15"}));
}

TEST_F(MessageIdsOfCalls, ACheckMessageIsTheInnermostOfThree) {
    RawDirectory directory = greyDirectory();
    directory.next = 8; // the first directory again
    writeRawTiff(_folder / "circle.tif", {directory});
    MessageIds const ids = getThrownIds([&] { loadTiffImageFile(_folder / "circle.tif"); });
    EXPECT_EQ(list(ids),
              (Names{"eTiffImageFileMessage:11", "eTiffImageFileMessage:15", "eImageFileCheckMessage:2"}));
}

TEST_F(MessageIdsOfCalls, AReasonOfAnotherFormatGoesThroughTheCopy) {
    saveRawImageFile(_folder / "source.raw", _pImage);
    ImagePtr const pSource = openRawImageFile(_folder / "source.raw", *_pGeometry);
    boost::filesystem::resize_file(_folder / "source.raw", 5);
    EXPECT_EQ(list(getThrownIds([&] { saveTiffImageFile(_folder / "image.tif", pSource); })),
              (Names{"eTiffImageFileMessage:18", "eRawImageFileMessage:8"}));
    // The stream stays in its error state: later accesses fail at their seek.
    EXPECT_EQ(list(getThrownIds([&] { saveRawImageFile(_folder / "copy.raw", pSource); })),
              (Names{"eRawImageFileMessage:11", "eRawImageFileMessage:12"}));
    EXPECT_EQ(list(getThrownIds([&] {
                  readPlane<std::uint8_t>(pSource, {1, 0, 0});
              })),
              (Names{"eImageMessage:28", "eRawImageFileMessage:12"}));
}

TEST_F(MessageIdsOfCalls, ARecordOfAMissingFileHasTheMessageOfTheArchiveFirst) {
    saveTiffImageFile(_folder / "image.tif", _pImage);
    std::stringstream record;
    BinaryOArchive(record).writeObject("accessor", openTiffImageFile(_folder / "image.tif")->getAccessor());
    boost::filesystem::remove(_folder / "image.tif");
    BinaryIArchive archive(record);
    MessageIds const ids = getThrownIds([&] { readObjectOf<BaseDiskImageAccessor>(archive, "accessor"); });
    EXPECT_TRUE(ids.contains(eVELMOSerializationMessage::eVSM_ReadObjectError));
    EXPECT_EQ(ids.getInnermost().id, eTiffImageFileMessage::eTIFM_OpenFileError);
}

TEST_F(MessageIdsOfCalls, AnExceptionOfTheHostHasItsMessage) {
    std::uint8_t pixel = 0;
    MessageIds const ids = getThrownIds([&] {
        static_cast<void>(_pImage->readPixels({2, 0, 0}, 0, 1, &pixel));
    });
    EXPECT_EQ(list(ids), Names{"eImageMessage:3"});
    EXPECT_TRUE(ids.contains(eImageMessage::eIM_PixelsOutOfRange));
}

} // namespace velmo::test
