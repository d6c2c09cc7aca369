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

template <class Accessor>
boost::shared_ptr<Accessor> make() {
    return boost::dynamic_pointer_cast<Accessor>(
        DynamicObjectFactory::getInstance().createShared(Accessor::getTypeName()));
}

DiskImagePtr makeDiskImage(boost::shared_ptr<BaseDiskImageAccessor> const& pAccessor) {
    DiskImagePtr pImage;
    EXPECT_TRUE(ImageFactory::getInstance().createDiskImage(pAccessor, pImage));
    return pImage;
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

TEST(LibraryBorder, AccessorsOfTheFactoryServeImages) {
    TemporaryFolder const folder;
    auto const pGeometry = makeSequence(eIBT_UInt8);
    std::string const pixels = makePixels(*pGeometry);
    auto const pTiff = make<TiffImageFile>();
    ASSERT_TRUE(pTiff->createFile(folder / "image.tif", *pGeometry, nullptr));
    writePixels(*makeDiskImage(pTiff), pixels);
    EXPECT_EQ(readPixels(*loadTiffImageFile(folder / "image.tif", eTBM_Default)), pixels);

    auto const pRaw = make<RawImageFile>();
    ASSERT_TRUE(pRaw->createFile(folder / "image.raw", *pGeometry, "head"));
    writePixels(*makeDiskImage(pRaw), pixels);
    EXPECT_EQ(readFile(folder / "image.raw"), "head" + pixels);

    Im6Sample const sample = makeIm6Sequence();
    sample.write(folder / "image.im6");
    auto const pIm6 = make<Im6ImageFile>();
    ASSERT_TRUE(pIm6->openFile(folder / "image.im6", eIAM_ReadOnly));
    EXPECT_EQ(readPixels(*makeDiskImage(pIm6)), sample.pixels);
}

} // namespace velmo::test
