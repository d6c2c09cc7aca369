// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "RawFunctions.h"

#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOSerialization/DynamicObjectFactory.h>
#include <memory>

namespace velmo {
namespace test {

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

struct Unrelated : BaseException {
    Unrelated() : BaseException("", "", "", 0) {}
};

} // namespace

TEST_F(RawFunctions, ItsExceptionIsCaughtByEachOfItsTypes) {
    Action const action = [&] { openRawImageFile("/missing", *_pGeometry, 0); };
    EXPECT_TRUE(isCaughtAs<VELMOImageFileException>(action));
    EXPECT_TRUE(isCaughtAs<BaseException>(action));
    EXPECT_TRUE(isCaughtAs<std::exception>(action));
    EXPECT_FALSE(isCaughtAs<Unrelated>(action));
}

TEST(LibraryBorder, TheFactoryMakesAnAccessorByItsName) {
    DynamicObjectFactory const& factory = DynamicObjectFactory::getInstance();
    DynamicObjectPtr const pShared = factory.createShared("velmo::image::file::RawImageFile");
    ASSERT_TRUE(pShared);
    EXPECT_EQ(pShared->getClassName(), "velmo::image::file::RawImageFile");
    auto const pAccessor = boost::dynamic_pointer_cast<RawImageFile>(pShared);
    ASSERT_TRUE(pAccessor);
    BaseDynamicObject const& object = *pShared;
    EXPECT_TRUE(typeid(object) == typeid(RawImageFile));
    EXPECT_FALSE(pAccessor->isInit());
    std::unique_ptr<BaseDynamicObject> const pNew(factory.createNew("velmo::image::file::RawImageFile"));
    EXPECT_NE(dynamic_cast<BaseDiskImageAccessor*>(pNew.get()), nullptr);
    EXPECT_NE(dynamic_cast<RawImageFile*>(pNew.get()), nullptr);
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

TEST(LibraryBorder, AnImageOfAnApplicationsAccessorIsCastBack) {
    TemporaryFolder const folder;
    auto const pGeometry = makeSequence(eIBT_UInt8);
    writeFile(folder / "image.raw", makePixels(*pGeometry));
    DiskImagePtr const pImage = openRawImageFile(folder / "image.raw", *pGeometry, 0);
    EXPECT_NE(dynamic_cast<RawImageFile const*>(pImage->getAccessor().get()), nullptr);
}

} // namespace test
} // namespace velmo
