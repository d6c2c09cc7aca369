// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6Sample.h"
#include "RawFunctions.h"

#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/Im6ImageFileUtils.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOSerialization/DynamicObjectFactory.h>
#include <memory>

namespace velmo::test {

using namespace image;
using namespace image::file;

namespace {

template <class Caught>
bool isCaughtAs(Action const& action) {
    try {
        action();
    } catch (Caught const&) {
        return true;
    } catch (...) {
    }
    return false;
}

/// The factory's two forms of an object of a class that this program knows.
template <class Accessor>
void expectMadeByName(std::string const& name) {
    DynamicObjectFactory const& factory = DynamicObjectFactory::getInstance();
    DynamicObjectPtr const pShared = factory.createShared(name);
    ASSERT_TRUE(pShared);
    EXPECT_EQ(pShared->getClassName(), name);
    auto const pAccessor = boost::dynamic_pointer_cast<Accessor>(pShared);
    ASSERT_TRUE(pAccessor);
    BaseDynamicObject const& object = *pShared;
    EXPECT_TRUE(typeid(object) == typeid(Accessor));
    EXPECT_FALSE(pAccessor->isInit());
    std::unique_ptr<BaseDynamicObject> const pNew(factory.createNew(name));
    EXPECT_NE(dynamic_cast<BaseDiskImageAccessor*>(pNew.get()), nullptr);
    EXPECT_NE(dynamic_cast<Accessor*>(pNew.get()), nullptr);
}

struct Unrelated : BaseException {
    Unrelated() : BaseException("", "", "", 0) {}
};

} // namespace

TEST_F(RawFunctions, TheExceptionOfEachFormatIsCaughtByEachOfItsTypes) {
    for (Action const& action : std::vector<Action>{[&] { openRawImageFile("/missing", *_pGeometry, 0); },
                                                    [] { loadTiffImageFile("/missing", eTBM_Default); },
                                                    [] { loadIm6ImageFile("/missing"); }}) {
        EXPECT_TRUE(isCaughtAs<VELMOImageFileException>(action));
        EXPECT_TRUE(isCaughtAs<BaseException>(action));
        EXPECT_TRUE(isCaughtAs<std::exception>(action));
        EXPECT_FALSE(isCaughtAs<Unrelated>(action));
    }
}

TEST(LibraryBorder, TheFactoryMakesAnAccessorByItsName) {
    expectMadeByName<Im6ImageFile>("velmo::image::file::Im6ImageFile");
    expectMadeByName<RawImageFile>("velmo::image::file::RawImageFile");
    expectMadeByName<TiffImageFile>("velmo::image::file::TiffImageFile");
}

TEST(LibraryBorder, ATiffAccessorOfTheFactoryServesAnImage) {
    TemporaryFolder const folder;
    auto const pGeometry = makeSequence(eIBT_UInt8);
    auto const pAccessor = boost::dynamic_pointer_cast<TiffImageFile>(
        DynamicObjectFactory::getInstance().createShared(TiffImageFile::getTypeName()));
    ASSERT_TRUE(pAccessor);
    ASSERT_TRUE(pAccessor->createFile(folder / "image.tif", *pGeometry, nullptr));
    DiskImagePtr pImage;
    ASSERT_TRUE(ImageFactory::getInstance().createDiskImage(pAccessor, pImage));
    EXPECT_NE(dynamic_cast<TiffImageFile const*>(pImage->getAccessor().get()), nullptr);
    std::string const pixels = makePixels(*pGeometry);
    writePixels(*pImage, pixels);
    EXPECT_EQ(readPixels(*loadTiffImageFile(folder / "image.tif", eTBM_Default)), pixels);
}

TEST(LibraryBorder, AnAccessorOfTheFactoryServesAnImage) {
    TemporaryFolder const folder;
    auto const pGeometry = makeSequence(eIBT_UInt8);
    auto const pAccessor = boost::dynamic_pointer_cast<RawImageFile>(
        DynamicObjectFactory::getInstance().createShared(RawImageFile::getTypeName()));
    ASSERT_TRUE(pAccessor);
    ASSERT_TRUE(pAccessor->createFile(folder / "image.raw", *pGeometry, "head"));
    DiskImagePtr pImage;
    ASSERT_TRUE(ImageFactory::getInstance().createDiskImage(pAccessor, pImage));
    std::string const pixels = makePixels(*pGeometry);
    writePixels(*pImage, pixels);
    EXPECT_EQ(readFile(folder / "image.raw"), "head" + pixels);
}

TEST(LibraryBorder, AnIm6AccessorOfTheFactoryServesAnImage) {
    TemporaryFolder const folder;
    Im6Sample const sample = makeIm6Sequence();
    sample.write(folder / "image.im6");
    auto const pAccessor = boost::dynamic_pointer_cast<Im6ImageFile>(
        DynamicObjectFactory::getInstance().createShared(Im6ImageFile::getTypeName()));
    ASSERT_TRUE(pAccessor);
    ASSERT_TRUE(pAccessor->openFile(folder / "image.im6", eIAM_ReadOnly));
    DiskImagePtr pImage;
    ASSERT_TRUE(ImageFactory::getInstance().createDiskImage(pAccessor, pImage));
    EXPECT_NE(dynamic_cast<Im6ImageFile const*>(pImage->getAccessor().get()), nullptr);
    EXPECT_EQ(readPixels(*pImage), sample.pixels);
}

} // namespace velmo::test
