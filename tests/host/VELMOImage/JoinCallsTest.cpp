// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// What all four calls of the extractor have in common.

#include "JoinTools.h"
#include "Results.h"
#include "ThrownText.h"
#include "VELMOImage/MemoryImage.h"
#include "VELMOImage/VELMOImageLog.h"

#include <boost/make_shared.hpp>
#include <boost/weak_ptr.hpp>
#include <gmock/gmock.h>

namespace velmo::test {

using namespace velmo::image;
using testing::HasSubstr;

namespace {

class JoinCalls : public testing::TestWithParam<JoinCall> {
  protected:
    std::vector<ImagePtr> makeParts(std::vector<vlUInt64> const& lengths) const {
        return test::makeParts(GetParam().axis, lengths);
    }
    GeometryBuilder builder(vlUInt64 length) const { return partBuilder(GetParam().axis, length); }

    /// The joined image; a failure is one of the test.
    ImagePtr join(std::vector<ImagePtr> const& parts) const {
        ImagePtr pWhole;
        EXPECT_THAT(GetParam().join(parts, pWhole), Succeeds());
        return pWhole;
    }
    /// The text of a refusal, which must leave the output as it was.
    std::string refusal(std::vector<ImagePtr> const& parts) const {
        ImagePtr const pBefore = makeDiskPart(*GeometryBuilder().build());
        ImagePtr out = pBefore;
        BoolResult const result = GetParam().join(parts, out);
        EXPECT_FALSE(result);
        EXPECT_EQ(out, pBefore);
        return result.getMessage();
    }
    /// A part that takes no memory, whatever its length: its planes have no pixels.
    ImagePtr makeEmptyPart(vlUInt64 length) const {
        GeometryBuilder builder;
        builder.plane(0, 3);
        bool const bZ = GetParam().axis == eJoinAxis::Z;
        return boost::make_shared<DiskImage>(
            makeByteAccessor("empty", *(bZ ? builder.volume(length) : builder.sequence(length)).build()));
    }
    vlUInt64 getLength(BaseImage const& image) const {
        BaseImageGeometry const& geometry = image.getGeometry();
        return GetParam().axis == eJoinAxis::Z ? geometry.getSizeZ() : geometry.getSizeT();
    }
};

} // namespace

TEST_P(JoinCalls, PutThePlanesOfThePartsOneAfterTheOtherInTheOrderOfTheVector) {
    auto swapped = makeParts({1, 2, 1});
    std::swap(swapped[0], swapped[2]);
    auto const part = makeParts({2}).front();
    for (auto const& parts : {makeParts({2, 1, 3}),
                              swapped,
                              makeParts({3}),
                              {part, part},
                              makeParts({0, 2, 0, 0, 1, 0}),
                              makeParts(std::vector<vlUInt64>(300, 1))}) {
        vlUInt64 length = 0;
        for (ImagePtr const& pPart : parts) {
            length += getLength(*pPart);
        }
        ImagePtr const pWhole = join(parts);
        ASSERT_TRUE(pWhole);
        EXPECT_EQ(describe(pWhole->getGeometry()), describe(*builder(length).build()));
        EXPECT_TRUE(readAll(*pWhole) == readParts(parts, GetParam().axis));
    }
}

TEST_P(JoinCalls, TakeWhatTheyMade) {
    auto const parts = makeParts({2, 1, 3, 1});
    ImagePtr const pWhole = join({join({parts[0], parts[1]}), join({parts[2], parts[3]})});
    EXPECT_EQ(describe(pWhole->getGeometry()), describe(*builder(7).build()));
    EXPECT_TRUE(readAll(*pWhole) == readParts(parts, GetParam().axis));
}

TEST_P(JoinCalls, CopyNoPixels) {
    auto const parts = makeParts({2, 1});
    ImagePtr const pWhole = join(parts);
    for (ImagePtr const& pPart : parts) {
        EXPECT_EQ(getStorage(dynamic_cast<DiskImage const&>(*pPart)).getNbVisits(), 0U);
    }
}

TEST_P(JoinCalls, ReadRunsOfPixelsInsideAPlane) {
    auto const parts = makeParts({2, 1, 3});
    Bytes run(2 * sizeof(std::uint16_t));
    auto const [z, t] = GetParam().axis == eJoinAxis::Z ? std::make_pair(4, 0) : std::make_pair(1, 4);
    EXPECT_THAT(
        join(parts)->readPixels(static_cast<vlUInt64>(z), 2, static_cast<vlUInt64>(t), 7, 2, run.data()),
        Succeeds());
    Bytes expected(run.size());
    vlUInt64 const inside = 1; // the fifth along the axis is the second of the third part
    EXPECT_THAT(
        parts[2]->readPixels(inside, 2, GetParam().axis == eJoinAxis::Z ? 0 : inside, 7, 2, expected.data()),
        Succeeds());
    EXPECT_EQ(run, expected);
}

TEST_P(JoinCalls, WriteThroughToThePartThatHoldsThePlane) {
    auto const parts = makeParts({2, 1, 3});
    ImagePtr const pWhole = join(parts);
    Bytes const pattern = makePattern(countBytes(pWhole->getGeometry()), 77);
    writeAll(*pWhole, pattern);
    EXPECT_TRUE(readParts(parts, GetParam().axis) == pattern);
    EXPECT_TRUE(readAll(*pWhole) == pattern);
}

TEST_P(JoinCalls, ARunOutsideOfTheWholeIsThrown) {
    auto const parts = makeParts({2, 1});
    ImagePtr const pWhole = join(parts);
    Bytes buffer(100);
    bool const bZ = GetParam().axis == eJoinAxis::Z;
    EXPECT_THROW(pWhole->readPixels(bZ ? 3 : 0, 0, bZ ? 0 : 3, 0, 1, buffer.data()), VELMOImageException);
    EXPECT_THROW(pWhole->writePixels(0, 3, 0, 0, 1, buffer.data()), VELMOImageException);
    EXPECT_THROW(pWhole->readPixels(0, 0, 0, 15, 1, buffer.data()), VELMOImageException);
}

TEST_P(JoinCalls, AFailureOfAPartIsTheFailureOfTheWhole) {
    auto const parts = makeParts({1, 1});
    auto& storage = getStorage(dynamic_cast<DiskImage const&>(*parts[1]));
    storage.readGate = [](PixelRun const&) { return failure("the second disk is gone"); };
    storage.writeGate = [](PixelRun const&) { return failure("the second disk is full"); };
    ImagePtr const pWhole = join(parts);
    Bytes buffer(100);
    vlUInt64 const z = GetParam().axis == eJoinAxis::Z ? 1 : 0;
    EXPECT_THAT(pWhole->readPixels(0, 0, 0, 0, 1, buffer.data()), Succeeds());
    EXPECT_THAT(pWhole->readPixels(z, 0, 1 - z, 0, 1, buffer.data()), FailsWith("the second disk is gone"));
    EXPECT_THAT(pWhole->writePixels(z, 0, 1 - z, 0, 1, buffer.data()), FailsWith("the second disk is full"));
}

TEST_P(JoinCalls, KeepWhatTheyReadFromAlive) {
    auto parts = makeParts({2, 1});
    Bytes const expected = readParts(parts, GetParam().axis);
    ImagePtr pWhole = join(parts);
    boost::weak_ptr<BaseDiskImageAccessor> const pAccessor =
        dynamic_cast<DiskImage const&>(*parts[1]).getAccessor();
    parts.clear();
    EXPECT_TRUE(readAll(*pWhole) == expected);
    EXPECT_FALSE(pAccessor.expired());
    pWhole.reset();
    EXPECT_TRUE(pAccessor.expired());
}

TEST_P(JoinCalls, TakeTheCalibrationOfTheFirstPartAndNoUserProperties) {
    auto parts = makeParts({1});
    auto const pAccessor = boost::make_shared<ByteAccessor>();
    auto const pCalibration = createGeometricCalibration2d(1, 2, "mm", 0, 0, 0, 0, 0);
    pAccessor->create("calibrated second", *builder(1).build(), pCalibration);
    parts.push_back(boost::make_shared<DiskImage>(pAccessor));
    parts[0]->setUserPropertiesStr("of the first");
    EXPECT_FALSE(join(parts)->hasGeometricCalibration());
    EXPECT_EQ(join(parts)->getUserPropertiesStr(), "");
    std::swap(parts[0], parts[1]);
    EXPECT_EQ(join(parts)->getGeometricCalibrationConstPtr(), pCalibration);
}

TEST_P(JoinCalls, MakeAnImageThatTakesNoOtherGeometryAndWhoseCpuCopyHoldsAllPixels) {
    auto const parts = makeParts({2, 1});
    ImagePtr const pWhole = join(parts);
    EXPECT_THAT(pWhole->init(*GeometryBuilder().build()),
                FailsWith("This kind of image takes its geometry at construction"));
    ImageConstPtr const pCopy = pWhole->createCpuCopy();
    EXPECT_NE(dynamic_cast<MemoryImage const*>(pCopy.get()), nullptr);
    EXPECT_TRUE(readAll(*pCopy) == readParts(parts, GetParam().axis));
}

TEST_P(JoinCalls, AreStoredInTheFilesOfAllTheirParts) {
    std::vector<ImagePtr> parts;
    for (char const* const path : {"/etc/passwd", "/proc/self/exe"}) { // files of any Linux; none is opened
        parts.push_back(boost::make_shared<DiskImage>(makeByteAccessor(path, *builder(1).build())));
    }
    ImagePtr const pWhole = join(parts);
    EXPECT_TRUE(pWhole->isStoredIn("/etc/passwd"));
    EXPECT_TRUE(pWhole->isStoredIn("/etc/../etc/./passwd"));
    EXPECT_TRUE(pWhole->isStoredIn("/proc/self/exe"));
    EXPECT_FALSE(pWhole->isStoredIn("/bin/sh"));
    EXPECT_FALSE(pWhole->isStoredIn("/etc/missing/passwd"));
}

TEST_P(JoinCalls, RefuseToJoinNothingAndAnEmptyPointerWithItsPlace) {
    EXPECT_EQ(refusal({}), "There are no images to join");
    auto parts = makeParts({1, 1});
    parts.insert(parts.begin() + 1, ImagePtr());
    EXPECT_EQ(refusal(parts), "Image 1 of those to join is missing");
}

TEST_P(JoinCalls, RefuseLengthsWhoseSumPasses64Bits) {
    vlUInt64 const half = vlUInt64{1} << 63U;
    std::string const text = refusal({makeEmptyPart(half), makeEmptyPart(half)});
    EXPECT_THAT(text, testing::StartsWith("Image 1 (x=0 y=3 "));
    EXPECT_THAT(text, HasSubstr(") cannot be joined to the first one (x=0 y=3 "));
    EXPECT_THAT(text, HasSubstr("=9223372036854775808 "));
}

INSTANTIATE_TEST_SUITE_P(SubImageExtractor, JoinCalls, testing::ValuesIn(getJoinCalls()),
                         [](auto const& call) { return call.param.name; });

} // namespace velmo::test
