// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// This program is not linked with the image file library: it loads and unloads it.

#include <VELMOSerialization/DynamicObjectFactory.h>
#include <VELMOUtil/BaseException.h>
#include <VELMOUtil/LogMessageManager.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

namespace velmo {
namespace test {

namespace {

std::string const g_class("velmo::image::file::RawImageFile");

bool isRegistred() {
    return DynamicObjectFactory::getInstance().isClassRegistred(g_class);
}

std::string getText() {
    return LogMessageManager::getInstance("VELMOImageFile")
        .getMessage("N5velmo5image4file20eRawImageFileMessage6domainE", 0);
}

} // namespace

TEST(LibraryUnload, TheClassIsRegisteredFromLoadToUnloadAndTheMessagesStay) {
    EXPECT_FALSE(isRegistred());
    EXPECT_FALSE(DynamicObjectFactory::getInstance().createShared(g_class));
    EXPECT_THROW(getText(), BaseException);
    for (int round = 0; round < 2; ++round) {
        void* const pLibrary = dlopen(VELMO_TEST_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(pLibrary, nullptr) << dlerror();
        EXPECT_TRUE(isRegistred());
        DynamicObjectPtr pObject = DynamicObjectFactory::getInstance().createShared(g_class);
        ASSERT_TRUE(pObject);
        EXPECT_EQ(pObject->getClassName(), g_class);
        pObject.reset();
        ASSERT_EQ(dlclose(pLibrary), 0) << dlerror();
        EXPECT_EQ(dlopen(VELMO_TEST_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr);
        EXPECT_FALSE(isRegistred());
        EXPECT_FALSE(DynamicObjectFactory::getInstance().createShared(g_class));
        EXPECT_EQ(getText(), "Failed to create raw image file %s");
    }
}

} // namespace test
} // namespace velmo
