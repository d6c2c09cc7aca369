// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// This program is not linked with the image file library: it loads and unloads it.

#include "TemporaryFolder.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/DynamicObjectFactory.h>
#include <VELMOUtil/BaseException.h>
#include <VELMOUtil/LogMessageManager.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <tiffio.h>

namespace velmo::test {

namespace fs = boost::filesystem;

namespace {

std::string const g_im6Class("velmo::image::file::Im6ImageFile");
std::string const g_rawClass("velmo::image::file::RawImageFile");
std::string const g_tiffClass("velmo::image::file::TiffImageFile");

/// The library for as long as this object lives, and no longer.
class LoadedLibrary {
  public:
    LoadedLibrary() : _pLibrary(dlopen(VELMO_TEST_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_NE(_pLibrary, nullptr) << dlerror();
    }
    ~LoadedLibrary() {
        EXPECT_EQ(dlclose(_pLibrary), 0) << dlerror();
        EXPECT_EQ(dlopen(VELMO_TEST_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr);
    }
    LoadedLibrary(LoadedLibrary const&) = delete;
    LoadedLibrary& operator=(LoadedLibrary const&) = delete;

  private:
    void* _pLibrary;
};

bool isRegistred(std::string const& className) {
    return DynamicObjectFactory::getInstance().isClassRegistred(className);
}

std::string getText(std::string const& domainKey) {
    return LogMessageManager::getInstance("VELMOImageFile").getMessage(domainKey, 0);
}

/// Has an accessor of the library open a file, which sets it up in libtiff; whether that succeeds.
bool openTiff(fs::path const& path) {
    std::stringstream stream;
    BinaryOArchive record(stream);
    record << oItem("isInit", 1) << oItem("filePath", path.string());
    record << oItem("accessMode", vlUInt64(0)) << oItem("sharedRemote", 0);
    record.writeObject("geometry", image::geometry3d(image::eIBT_UInt8, 1, 1, 1));
    record.writeObject("calibration", DynamicObjectPtr());
    record << oItem("version", 1U) << oItem("_tiffDirectoryMode", 0) << oItem("_tiffBufferMode", 0);
    auto const pAccessor = boost::dynamic_pointer_cast<BaseSerializationObject>(
        DynamicObjectFactory::getInstance().createShared(g_tiffClass));
    BinaryIArchive archive(stream);
    return pAccessor && pAccessor->read(archive);
}

// What another user of libtiff in this process has set.

int g_nbErrors = 0;
int g_nbWarnings = 0;
int g_nbExtended = 0;

void countError(char const*, char const*, va_list) {
    ++g_nbErrors;
}
void countWarning(char const*, char const*, va_list) {
    ++g_nbWarnings;
}
void countExtended(TIFF*) {
    ++g_nbExtended;
}

using Handle = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

void writePlainTiff(fs::path const& path) {
    Handle const pTiff(TIFFOpen(path.c_str(), "w"), &TIFFClose);
    ASSERT_TRUE(pTiff);
    TIFFSetField(pTiff.get(), TIFFTAG_IMAGEWIDTH, 1);
    TIFFSetField(pTiff.get(), TIFFTAG_IMAGELENGTH, 1);
    TIFFSetField(pTiff.get(), TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(pTiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(pTiff.get(), TIFFTAG_ROWSPERSTRIP, 1);
    char pixel = 'x';
    EXPECT_EQ(TIFFWriteEncodedStrip(pTiff.get(), 0, &pixel, 1), 1);
}

} // namespace

TEST(LibraryUnload, TheClassesAreRegisteredFromLoadToUnloadAndTheMessagesStay) {
    struct {
        std::string className;
        std::string domainKey;
    } const classes[] = {{g_rawClass, "N5velmo5image4file20eRawImageFileMessage6domainE"},
                         {g_im6Class, "N5velmo5image4file20eIm6ImageFileMessage6domainE"},
                         {g_tiffClass, "N5velmo5image4file21eTiffImageFileMessage6domainE"}};
    for (auto const& entry : classes) {
        EXPECT_FALSE(isRegistred(entry.className));
        EXPECT_FALSE(DynamicObjectFactory::getInstance().createShared(entry.className));
        EXPECT_THROW(getText(entry.domainKey), BaseException);
    }
    for (int round = 0; round < 2; ++round) {
        {
            LoadedLibrary const library;
            for (auto const& entry : classes) {
                EXPECT_TRUE(isRegistred(entry.className));
                DynamicObjectPtr const pObject =
                    DynamicObjectFactory::getInstance().createShared(entry.className);
                ASSERT_TRUE(pObject);
                EXPECT_EQ(pObject->getClassName(), entry.className);
            }
        }
        for (auto const& entry : classes) {
            EXPECT_FALSE(isRegistred(entry.className));
            EXPECT_FALSE(DynamicObjectFactory::getInstance().createShared(entry.className));
        }
        EXPECT_EQ(getText(classes[0].domainKey), "Failed to create raw image file %s");
    }
}

TEST(LibraryUnload, AnotherUserOfLibtiffHasItsHandlersAndItsExtenderBack) {
    TemporaryFolder const folder;
    fs::path const path = folder / "image.tif";
    fs::path const missing = folder / "missing.tif";
    writePlainTiff(path);
    TIFFSetErrorHandler(countError);
    TIFFSetWarningHandler(countWarning);
    TIFFSetTagExtender(countExtended);
    for (int round = 0; round < 2; ++round) {
        {
            LoadedLibrary const library;
            EXPECT_TRUE(openTiff(path));
            EXPECT_FALSE(openTiff(missing));
            EXPECT_GT(std::exchange(g_nbExtended, 0), 0); // the extender is called behind the library's own
            g_nbErrors = 0;
            EXPECT_FALSE(openTiff(missing));
            EXPECT_EQ(g_nbErrors, 0); // the library has its handlers set
        }
        EXPECT_EQ(TIFFSetErrorHandler(countError), countError);
        EXPECT_EQ(TIFFSetWarningHandler(countWarning), countWarning);
        EXPECT_EQ(TIFFSetTagExtender(countExtended), countExtended);
        EXPECT_EQ(TIFFOpen(missing.c_str(), "r"), nullptr);
        EXPECT_EQ(g_nbErrors, 1);
        Handle const pTiff(TIFFOpen(path.c_str(), "r"), &TIFFClose);
        ASSERT_TRUE(pTiff);
        EXPECT_GT(std::exchange(g_nbExtended, 0), 0);
        TIFFWarning("test", "a warning");
        EXPECT_EQ(g_nbWarnings, round + 1);
    }
}

TEST(LibraryUnload, AnExtenderAndHandlersSetSinceStay) {
    TemporaryFolder const folder;
    fs::path const path = folder / "image.tif";
    writePlainTiff(path);
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    TIFFSetTagExtender(nullptr);
    {
        LoadedLibrary const library;
        EXPECT_TRUE(openTiff(path));
        EXPECT_FALSE(openTiff(folder / "missing.tif"));
        TIFFSetErrorHandler(countError);
        TIFFSetWarningHandler(countWarning);
        TIFFSetTagExtender(countExtended);
    }
    EXPECT_EQ(TIFFSetErrorHandler(nullptr), countError);
    EXPECT_EQ(TIFFSetWarningHandler(nullptr), countWarning);
    EXPECT_EQ(TIFFSetTagExtender(nullptr), countExtended);
}

} // namespace velmo::test
