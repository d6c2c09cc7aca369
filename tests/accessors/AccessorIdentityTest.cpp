// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "AccessorKinds.h"
#include "CapturedLog.h"

#include <VELMOImage/VELMOImageLog.h>
#include <VELMOSerialization/DynamicObjectFactory.h>
#include <VELMOUtil/Logging.h>
#include <VELMOUtil/VELMOUtilLog.h>
#include <boost/filesystem/operations.hpp>
#include <boost/pointer_cast.hpp>

namespace velmo::image::file {

namespace {

using velmo::test::CapturedLog;

template <class Kind>
class AccessorIdentity : public AccessorTest<Kind> {};

TYPED_TEST_SUITE(AccessorIdentity, AllKinds, KindNames);

// Identity

TYPED_TEST(AccessorIdentity, NamesItsClassAndVersion) {
    using Accessor = typename TypeParam::File;
    Accessor const file;
    EXPECT_EQ(Accessor::getTypeName(), TypeParam::s_class);
    EXPECT_EQ(&Accessor::getTypeName(), &Accessor::getTypeName());
    EXPECT_EQ(file.getClassName(), TypeParam::s_class);
    EXPECT_EQ(file.getImageInfoStr(), TypeParam::s_class);
    EXPECT_EQ(Accessor::getVersion(), TypeParam::s_version);
}

TYPED_TEST(AccessorIdentity, IsMadeByItselfAndByTheFactoryAsANewObjectWithoutAFile) {
    using Accessor = typename TypeParam::File;
    Accessor const file;
    DynamicObjectFactory const& factory = DynamicObjectFactory::getInstance();
    DynamicObjectPtr const objects[] = {DynamicObjectPtr(Accessor::createNewObject()),
                                        Accessor::createSharedObject(),
                                        DynamicObjectPtr(file.createNew()),
                                        file.createShared(),
                                        DynamicObjectPtr(factory.createNew(TypeParam::s_class)),
                                        factory.createShared(TypeParam::s_class)};
    for (DynamicObjectPtr const& pObject : objects) {
        auto const pFile = boost::dynamic_pointer_cast<Accessor>(pObject);
        ASSERT_TRUE(pFile);
        this->expectClosed(*pFile);
        EXPECT_EQ(thrownText<VELMOImageException>([&] { pFile->getGeometry(); }),
                  "The image accessor is not initialised");
    }
}

TYPED_TEST(AccessorIdentity, CannotBeCopied) {
    typename TypeParam::File file;
    typename TypeParam::File const other;
    this->openExample(file);
    std::string const text = std::string("Objects of class ") + TypeParam::s_class + " cannot be copied";
    CapturedLog const log(getBaseLogger());
    EXPECT_FALSE(file.hasCopySupport());
    EXPECT_EQ(thrownText<VELMOUtilException>([&] { file.copy(other); }), text);
    EXPECT_EQ(thrownText<VELMOUtilException>([&] { file.duplicate(); }), text);
    EXPECT_EQ(thrownText<VELMOUtilException>([&] { file.duplicateShared(); }), text);
    ASSERT_EQ(log.getRecords().size(), 3U);
    EXPECT_EQ(log.getRecords()[2].level, log4cplus::ERROR_LOG_LEVEL);
    EXPECT_EQ(log.getRecords()[2].message, text);
    expectExample(file);
}

TYPED_TEST(AccessorIdentity, StoresABinaryPixelInAByteAndSaysSoOfAnOpenFileAlone) {
    typename TypeParam::File file;
    for (int round = 0; round < 2; ++round) {
        CapturedLog const log(getVELMOImageLogger());
        EXPECT_EQ(thrownText<VELMOImageException>([&] { file.hasBinary8BitsStorage(); }),
                  "The image accessor is not initialised");
        EXPECT_EQ(log.getRecords().size(), 1U);
        this->openExample(file);
        EXPECT_TRUE(file.hasBinary8BitsStorage());
        file.clear();
    }
}

// Opening

TYPED_TEST(AccessorIdentity, AnOpenAccessorDescribesItsFile) {
    for (eImageAccessMode const access : g_accessModes) {
        typename TypeParam::File file;
        this->openExample(file, access);
        EXPECT_TRUE(file.isInit());
        EXPECT_EQ(file.getFilePath(), this->_path);
        EXPECT_EQ(file.getAccessMode(), access);
        EXPECT_EQ(describeGeometry(file.getGeometry()), g_exampleText);
        EXPECT_FALSE(file.getGeometricCalibrationConstPtr());
        EXPECT_FALSE(file.hasSharedRemoteAccess());
        expectExample(file);
    }
}

TYPED_TEST(AccessorIdentity, ASharedRemoteOpeningIsRememberedUntilTheNextOne) {
    typename TypeParam::File file;
    this->openExample(file);
    ASSERT_THAT(this->openShared(file, this->_path), Succeeds());
    EXPECT_TRUE(file.hasSharedRemoteAccess());
    EXPECT_EQ(file.getAccessMode(), eIAM_ReadOnly);
    ASSERT_THAT(this->open(file, this->_path), Succeeds());
    EXPECT_FALSE(file.hasSharedRemoteAccess());
}

// One object, several files

TYPED_TEST(AccessorIdentity, ARepeatedOpeningClosesTheFileBefore) {
    path const second = this->_folder / "second";
    TypeParam::write(second, *makeExampleGeometry());
    typename TypeParam::File file;
    this->openExample(file);
    EXPECT_EQ(countDescriptors(this->_path), 1U);
    ASSERT_THAT(this->open(file, second, eIAM_ReadWrite), Succeeds());
    EXPECT_EQ(countDescriptors(this->_path), 0U);
    EXPECT_EQ(countDescriptors(second), 1U);
    expectExample(file);
}

TYPED_TEST(AccessorIdentity, AFailedOpeningOrCreationClosesTheFileBefore) {
    path const missing = this->_folder / "missing" / "image";
    typename TypeParam::File file;
    this->openExample(file);
    EXPECT_THAT(this->open(file, missing).getMessage(), testing::StartsWith(this->openFailed(missing)));
    this->expectClosed(file);
    this->openExample(file);
    EXPECT_THAT(this->openShared(file, missing).getMessage(), testing::StartsWith(this->openFailed(missing)));
    this->expectClosed(file);
    EXPECT_FALSE(file.hasSharedRemoteAccess());
    if constexpr (TypeParam::s_bWrites) {
        this->openExample(file);
        EXPECT_THAT(TypeParam::create(file, missing, *makeExampleGeometry()).getMessage(),
                    testing::StartsWith(this->createFailed(missing)));
        this->expectClosed(file);
    }
}

TYPED_TEST(AccessorIdentity, AnAccessorOpensAnewWithWhatItHolds) {
    typename TypeParam::File file;
    this->openExample(file, eIAM_ReadWrite);
    ASSERT_THAT(TypeParam::open(file, file.getFilePath(), file.getAccessMode(), file.getGeometry()),
                Succeeds());
    ASSERT_THAT(TypeParam::openShared(file, file.getFilePath(), file.getGeometry()), Succeeds());
    EXPECT_EQ(file.getFilePath(), this->_path);
    expectExample(file);
    if constexpr (TypeParam::s_bWrites) {
        ASSERT_THAT(TypeParam::create(file, file.getFilePath(), file.getGeometry()), Succeeds());
        EXPECT_EQ(file.getFilePath(), this->_path);
        EXPECT_EQ(describeGeometry(file.getGeometry()), g_exampleText);
    }
}

TYPED_TEST(AccessorIdentity, ClearingAndTheEndCloseTheStreamsOfAllThreads) {
    auto pFile = std::make_unique<typename TypeParam::File>();
    this->openExample(*pFile, eIAM_ReadWrite);
    onThreads(3, [&](unsigned int) { EXPECT_THAT(tryRead(*pFile, {}), Succeeds()); });
    EXPECT_EQ(countDescriptors(this->_path), this->countStreams(3));
    pFile->clear();
    this->expectClosed(*pFile);
    pFile->clear();
    this->expectClosed(*pFile);
    this->openExample(*pFile);
    onThreads(2, [&](unsigned int) { EXPECT_THAT(tryRead(*pFile, {}), Succeeds()); });
    EXPECT_EQ(countDescriptors(this->_path), this->countStreams(2));
    pFile.reset();
    EXPECT_EQ(countDescriptors(this->_path), 0U);
}

} // namespace

} // namespace velmo::image::file
