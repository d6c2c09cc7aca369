// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/ImageStrip.h"

#include "ByteAccessor.h"
#include "GeometryBuilder.h"
#include "ThrownText.h"
#include "VELMOImage/DiskImage.h"
#include "VELMOImage/ImageFactory.h"
#include "VELMOImage/MemoryImage.h"
#include "VELMOImage/VELMOImageLog.h"

#include <cstring>
#include <gmock/gmock.h>

using namespace velmo;
using namespace velmo::image;
using namespace velmo::test;

namespace {

using Place = BaseImageYStrip2d::Place;

template <class Strip>
boost::shared_ptr<Strip> extract(boost::shared_ptr<typename Strip::Image> const& pImage, Place const& place) {
    boost::shared_ptr<Strip> pStrip;
    ImageStripExtractor::extractYStrip2d<Strip>(place.z, place.c, place.t, place.yStart, place.nbRows,
                                                eSAT_Default, eSPD_Default, pImage, pStrip);
    return pStrip;
}

auto const extractInput = extract<InputImageYStrip2d>;
auto const extractOutput = extract<OutputImageYStrip2d>;

ImagePtr makeMemoryImage(BaseImageGeometry const& geometry) {
    auto const pImage = boost::make_shared<MemoryImage>();
    EXPECT_TRUE(pImage->init(geometry));
    return pImage;
}

ImagePtr makeDiskImage(BaseImageGeometry const& geometry) {
    return boost::make_shared<DiskImage>(makeByteAccessor("strips.raw", geometry));
}

ImagePtr makeSpreadImage(BaseImageGeometry const& geometry) {
    DistributedImagePtr pImage;
    EXPECT_TRUE(ImageFactory::getInstance().createDistributedImage(geometry, pImage));
    return pImage;
}

struct ImageKind {
    char const* name;
    ImagePtr (*make)(BaseImageGeometry const&);
    bool bShares; ///< whether strips are the image's own memory
};

void PrintTo(ImageKind const& kind, std::ostream* pStream) {
    *pStream << kind.name;
}

Bytes copyOf(void const* pBytes, std::size_t nbBytes) {
    Bytes bytes(nbBytes);
    std::memcpy(bytes.data(), pBytes, nbBytes);
    return bytes;
}

/// 5 x 3 pixels of 16 bits, 2 planes, 3 channels, 2 time steps, with a pattern.
class ImageStrip : public testing::TestWithParam<ImageKind> {
  protected:
    static constexpr vlUInt64 s_rowBytes = 10;

    ImageStrip()
        : _pGeometry(GeometryBuilder().volume(2).channels(3).sequence(2).type(eIBT_UInt16).build()),
          _pattern(makePattern(countBytes(*_pGeometry))), _pImage(GetParam().make(*_pGeometry)) {
        writeAll(*_pImage, _pattern);
    }

    Bytes patternOf(Place const& place) const {
        vlUInt64 const start =
            countBytesBefore(*_pGeometry, place.z, place.c, place.t) + s_rowBytes * place.yStart;
        return copyOf(&_pattern[start], s_rowBytes * place.nbRows);
    }

    ImageGeometryPtr const _pGeometry;
    Bytes const _pattern;
    ImagePtr const _pImage;
};

INSTANTIATE_TEST_SUITE_P(Images, ImageStrip,
                         testing::Values(ImageKind{"Memory", makeMemoryImage, true},
                                         ImageKind{"Disk", makeDiskImage, false},
                                         ImageKind{"Distributed", makeSpreadImage, false}),
                         [](auto const& kind) { return kind.param.name; });

} // namespace

TEST_P(ImageStrip, AnInputStripHasTheRowsOfItsPlane) {
    for (vlUInt64 plane = 0; plane < _pGeometry->getNbPlans(); ++plane) {
        PlanIndexes const at = _pGeometry->getPlanIndexes(plane);
        for (Place const& place :
             {Place{at.z, at.c, at.t, 0, 3}, Place{at.z, at.c, at.t, 1, 2}, Place{at.z, at.c, at.t, 2, 1}}) {
            auto const pStrip = extractInput(_pImage, place);
            ASSERT_TRUE(pStrip->initBuffer());
            ASSERT_TRUE(pStrip->readFromImage());
            EXPECT_EQ(copyOf(pStrip->accessBuffer().getDataPtr(), s_rowBytes * place.nbRows),
                      patternOf(place));
        }
    }
}

TEST_P(ImageStrip, AnOutputStripStoresItsRowsAndNoOthers) {
    Place const place = {1, 2, 0, 1, 1};
    auto const pStrip = extractOutput(_pImage, place);
    ASSERT_TRUE(pStrip->initBuffer());
    std::memset(pStrip->accessBuffer().getDataPtr(), 0xAB, s_rowBytes);
    ASSERT_TRUE(pStrip->writeToImage());
    Bytes expected = _pattern;
    vlUInt64 const start = countBytesBefore(*_pGeometry, 1, 2, 0) + s_rowBytes;
    std::memset(&expected[start], 0xAB, s_rowBytes);
    EXPECT_EQ(readAll(*_pImage), expected);
}

TEST_P(ImageStrip, ABufferOfItsOwnIsZeroAndReachesTheImageWithTheWrite) {
    auto const pStrip = extractOutput(_pImage, {0, 1, 1, 0, 3});
    ASSERT_TRUE(pStrip->initBuffer());
    auto* const pPixels = static_cast<std::byte*>(pStrip->accessBuffer().getDataPtr());
    if (GetParam().bShares) {
        EXPECT_EQ(copyOf(pPixels, 30), patternOf({0, 1, 1, 0, 3}));
    } else {
        EXPECT_EQ(copyOf(pPixels, 30), Bytes(30));
    }
    std::memset(pPixels, 0xCD, 30);
    auto const pSeen = extractInput(_pImage, {0, 1, 1, 0, 3});
    ASSERT_TRUE(pSeen->initBuffer());
    ASSERT_TRUE(pSeen->readFromImage());
    Bytes const before = copyOf(pSeen->accessBuffer().getDataPtr(), 30);
    EXPECT_EQ(before == Bytes(30, std::byte{0xCD}), GetParam().bShares);
    ASSERT_TRUE(pStrip->writeToImage());
    ASSERT_TRUE(pSeen->readFromImage());
    EXPECT_EQ(copyOf(pSeen->accessBuffer().getDataPtr(), 30), Bytes(30, std::byte{0xCD}));
}

TEST_P(ImageStrip, AStripIsTheMemoryOfAnImageThatHasIt) {
    for (vlUInt64 const yStart : {vlUInt64{0}, vlUInt64{2}}) {
        auto const pInput = extractInput(_pImage, {1, 1, 1, yStart, 1});
        auto const pOutput = extractOutput(_pImage, {1, 1, 1, yStart, 1});
        EXPECT_EQ(pInput->accessBuffer().getDataPtr(), nullptr);
        ASSERT_TRUE(pInput->initBuffer());
        ASSERT_TRUE(pOutput->initBuffer());
        EXPECT_EQ(pInput->accessBuffer().getDataPtr() == pOutput->accessBuffer().getDataPtr(),
                  GetParam().bShares);
        auto const* const pPlane = static_cast<std::byte const*>(_pImage->accessPlan(1, 1, 1));
        EXPECT_EQ(pPlane != nullptr, GetParam().bShares);
        if (pPlane != nullptr) {
            EXPECT_EQ(pInput->accessBuffer().getDataPtr(), pPlane + s_rowBytes * yStart);
        }
    }
}

TEST_P(ImageStrip, RowsOutsideOfTheImageAreThrownAndLeaveThePointer) {
    constexpr vlUInt64 most = NumericLimits<vlUInt64>::s_max;
    Place const places[] = {{2, 0, 0, 0, 1},    {0, 3, 0, 0, 1},    {0, 0, 2, 0, 1},
                            {0, 0, 0, 3, 1},    {0, 0, 0, 0, 4},    {0, 0, 0, 4, 0},
                            {0, 0, 0, most, 1}, {0, 0, 0, 1, most}, {most, most, most, most, most}};
    for (Place const& place : places) {
        SCOPED_TRACE(testing::Message() << place.z << ' ' << place.c << ' ' << place.t << ' ' << place.yStart
                                        << ' ' << place.nbRows);
        auto const pFormer = extractInput(_pImage, {0, 0, 0, 0, 1});
        auto pStrip = pFormer;
        EXPECT_THROW(ImageStripExtractor::extractYStrip2d<InputImageYStrip2d>(
                         place.z, place.c, place.t, place.yStart, place.nbRows, eSAT_Default, eSPD_Default,
                         _pImage, pStrip),
                     VELMOImageException);
        EXPECT_EQ(pStrip, pFormer);
        EXPECT_THROW(extractOutput(_pImage, place), VELMOImageException);
    }
}

TEST_P(ImageStrip, AStripOfNoRowsHasNoPixels) {
    for (vlUInt64 const yStart : {vlUInt64{0}, vlUInt64{3}}) {
        auto const pStrip = extractOutput(_pImage, {0, 0, 0, yStart, 0});
        EXPECT_TRUE(pStrip->initBuffer());
        EXPECT_TRUE(pStrip->writeToImage());
        auto const pInput = extractInput(_pImage, {0, 0, 0, yStart, 0});
        EXPECT_TRUE(pInput->initBuffer());
        EXPECT_TRUE(pInput->readFromImage());
    }
    EXPECT_EQ(readAll(*_pImage), _pattern);
}

// Where planes differ, and where the accessor fails

TEST_P(ImageStrip, EachTimeStepOfAHeterogeneousImageHasPixelsOfItsOwnSize) {
    auto const pGeometry = GeometryBuilder().sequence(2).types({eIBT_UInt8, eIBT_Real32}).build();
    ImagePtr const pImage = GetParam().make(*pGeometry);
    Bytes const pattern = makePattern(15 + 60);
    writeAll(*pImage, pattern);
    auto const pStrip = extractInput(pImage, {0, 0, 1, 1, 2});
    ASSERT_TRUE(pStrip->initBuffer());
    ASSERT_TRUE(pStrip->readFromImage());
    EXPECT_EQ(copyOf(pStrip->accessBuffer().getDataPtr(), 40), copyOf(&pattern[15 + 20], 40));
}

TEST(ImageStripOfADisk, ReachesTheAccessorWithOneRunForAllItsRowsAndAnswersWithItsFailure) {
    auto const pAccessor = makeByteAccessor("strip-runs.raw", *GeometryBuilder().volume(2).build());
    std::vector<vlUInt64> seen;
    pAccessor->getStorage().readGate = [&seen](PixelRun const& run) {
        seen.insert(seen.end(), {run.z, run.c, run.t, run.pixelStart, run.nbPixels});
        return failure("the disk is gone");
    };
    pAccessor->getStorage().writeGate = [](PixelRun const&) { return failure("the disk is full"); };
    auto pImage = boost::make_shared<DiskImage>(pAccessor);
    auto const pInput = extractInput(pImage, {1, 0, 0, 1, 2});
    auto const pOutput = extractOutput(pImage, {1, 0, 0, 0, 3});
    pImage.reset(); // the strips keep it
    ASSERT_TRUE(pInput->initBuffer());
    ASSERT_TRUE(pOutput->initBuffer());
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(pInput->readFromImage().getMessage(), "the disk is gone");
    EXPECT_EQ(pOutput->writeToImage().getMessage(), "the disk is full");
    EXPECT_THAT(seen, testing::ElementsAre(1, 0, 0, 5, 10));
}

TEST(ImageStripBuffer, LargerThanTheMemoryIsAFailure) {
    class HugeImage : public BaseImage {
      public:
        HugeImage() { setGeometry(*GeometryBuilder().plane(vlUInt64{1} << 30U, vlUInt64{1} << 20U).build()); }

      private:
        BoolResult readPixelsDerived(vlUInt64, vlUInt64, vlUInt64, vlUInt64, vlUInt64, void*) const override {
            return failure("no pixels");
        }
        BoolResult writePixelsDerived(vlUInt64, vlUInt64, vlUInt64, vlUInt64, vlUInt64,
                                      void const*) override {
            return failure("no pixels");
        }
    };
    auto const pStrip = extractInput(boost::make_shared<HugeImage>(), {0, 0, 0, 0, vlUInt64{1} << 20U});
    BoolResult const result = pStrip->initBuffer();
    EXPECT_FALSE(result);
    EXPECT_THAT(result.getMessage(), testing::StartsWith("The image needs 1125899906842624 bytes of memory"));
    EXPECT_EQ(pStrip->accessBuffer().getDataPtr(), nullptr);
}
