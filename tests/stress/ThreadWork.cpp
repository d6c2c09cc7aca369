// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ThreadWork.h"

#include "Im6Sample.h"
#include "TemporaryFolder.h"

#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/Im6ImageFileUtils.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <boost/make_shared.hpp>
#include <gtest/gtest.h>
#include <thread>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

constexpr vlUInt64 g_sizeX = 33;
constexpr vlUInt64 g_sizeY = 17;
constexpr vlUInt64 g_sizeZ = 6;
constexpr vlUInt64 g_planeBytes = 2 * g_sizeX * g_sizeY;
constexpr unsigned int g_im6Bits16 = 18;

std::string makePrefix(unsigned int thread) {
    return "thread-" + std::to_string(100 + thread) + "-";
}

std::string catchText(std::function<void()> const& call) {
    try {
        call();
    } catch (VELMOImageFileException const& exception) {
        return exception.what();
    } catch (BaseException const& exception) {
        return std::string("of the host: ") + exception.what();
    }
    return "nothing thrown";
}

/// On a thread that has seen nothing of libtiff; the second time counts, since the first may install what
/// catches libtiff's words.
void learnTexts(std::vector<Failing>& failures) {
    std::thread([&] {
        for (int time = 0; time < 2; ++time) {
            for (Failing& failing : failures) {
                failing.text = failing.call();
            }
        }
    }).join();
}

void expectPixelsOf(ImagePtr const& pImage, std::string const& pixels, char const* what) {
    ASSERT_TRUE(pImage) << what;
    EXPECT_TRUE(readPixels(*pImage) == pixels) << what;
}

} // namespace

void expectPlane(Expected const& expected, unsigned int choice) {
    vlUInt64 const z = choice % expected.pImage->getGeometry().getSizeZ();
    vlUInt64 const start = choice % 2 == 0 ? 0 : choice % g_sizeX;
    vlUInt64 const nbPixels = g_sizeX * g_sizeY - start;
    std::string bytes(2 * nbPixels, '\0');
    BoolResult const result = expected.pImage->readPixels(z, 0, 0, start, nbPixels, bytes.data());
    EXPECT_TRUE(result) << expected.name << ": " << result.getMessage();
    EXPECT_TRUE(bytes == expected.pixels.substr(z * g_planeBytes + 2 * start, bytes.size()))
        << expected.name << ", plane " << z;
}

ThreadFiles::ThreadFiles(fs::path const& folder, unsigned int thread)
    : _folder(folder), _wrongPlane(1000 + thread), _prefix(makePrefix(thread)),
      _pGeometry(geometry3d(eIBT_UInt16, g_sizeX, g_sizeY, g_sizeZ)),
      _pixels(makePixels(*_pGeometry, 1 + thread)) {
    writeFiles();
    makeRaising(thread);
    makeFailing(thread);
}

void ThreadFiles::writeFiles() const {
    writeFile(at("whole.raw"), "head" + _pixels);
    writeFile(at("short.raw"), _pixels.substr(0, 11));
    Im6Sample sample;
    sample.sizeX = g_sizeX;
    sample.sizeY = g_sizeY;
    sample.sizeZ = g_sizeZ;
    sample.dataType = g_im6Bits16;
    sample.pixels = _pixels;
    sample.write(at("whole.im6"));
    sample.pixels.resize(100);
    sample.write(at("short.im6"));
    saveTiffImageFile(at("whole.tif"), makeMemoryImage(*_pGeometry, _pixels), eTC_Deflate);
    for (vlUInt64 part = 0; part < 3; ++part) {
        auto const pPart = geometry3d(eIBT_UInt16, g_sizeX, g_sizeY, g_sizeZ / 3);
        std::string const pixels =
            _pixels.substr(part * pPart->getFullMemorySize(), pPart->getFullMemorySize());
        saveTiffImageFile(at("part" + std::to_string(part) + ".tif"), makeMemoryImage(*pPart, pixels),
                          eTC_Lzw);
    }
}

BoolResult ThreadFiles::readWrongPlane(BaseDiskImageAccessor const& accessor) const {
    char pixel[2];
    return accessor.readRawData(_wrongPlane, 0, 0, 0, 1, pixel);
}

std::string ThreadFiles::getReadFailure(BaseDiskImageAccessor const& accessor) const {
    std::string text;
    std::string const thrown = catchText([&] { text = readWrongPlane(accessor).getMessage(); });
    return text.empty() ? thrown : text;
}

DiskImagePtr ThreadFiles::openRaw() const {
    return openRawImageFile(at("whole.raw"), *_pGeometry, 4);
}

DiskImagePtr ThreadFiles::openIm6() const {
    auto const pAccessor = boost::make_shared<Im6ImageFile>();
    BoolResult const result = pAccessor->openFile(at("whole.im6"), eIAM_ReadOnly);
    EXPECT_TRUE(result) << result.getMessage();
    return boost::make_shared<DiskImage>(pAccessor);
}

DiskImagePtr ThreadFiles::openTiff() const {
    auto const pAccessor = boost::make_shared<TiffImageFile>();
    std::string userProperties;
    BoolResult const result =
        pAccessor->openFile(at("whole.tif"), eIAM_ReadOnly, eTDM_Volume, eTBM_Default, userProperties);
    EXPECT_TRUE(result) << result.getMessage();
    return boost::make_shared<DiskImage>(pAccessor);
}

ImagePtr ThreadFiles::openJoined() const {
    return openTiffImageFiles(_folder, _prefix + "part<INDEX>.tif", eTDM_Volume, eTBM_Default);
}

void ThreadFiles::expectPixels() const {
    expectPixelsOf(openRaw(), _pixels, "raw, opened");
    expectPixelsOf(loadRawImageFile(at("whole.raw"), *_pGeometry, 4), _pixels, "raw, loaded");
    expectPixelsOf(openIm6(), _pixels, "im6, opened");
    expectPixelsOf(loadIm6ImageFile(at("whole.im6")), _pixels, "im6, loaded");
    expectPixelsOf(openTiff(), _pixels, "tiff, opened");
    ImagePtr pLoaded;
    loadTiffImageFile(at("whole.tif"), pLoaded, eTDM_Volume, eTBM_Default);
    expectPixelsOf(pLoaded, _pixels, "tiff, loaded");
    expectPixelsOf(loadDistributedRawImageFile(at("whole.raw"), *_pGeometry, 4, true), _pixels,
                   "raw, distributed");
    expectPixelsOf(loadDistributedTiffImageFile(at("whole.tif"), eTDM_Volume, eTBM_Default, true), _pixels,
                   "tiff, distributed");
    expectPixelsOf(openJoined(), _pixels, "joined, opened");
    expectPixelsOf(loadTiffImageFiles(_folder, _prefix + "part<INDEX>.tif", eTDM_Volume, eTBM_Default),
                   _pixels, "joined, loaded");
}

void ThreadFiles::expectSaves() const {
    ImagePtr const pImage = makeMemoryImage(*_pGeometry, _pixels);
    saveRawImageFile(at("whole.raw"), pImage, "head");
    saveTiffImageFile(at("whole.tif"), pImage, eTC_Lzw);
    expectPixelsOf(openRaw(), _pixels, "raw, saved");
    expectPixelsOf(openTiff(), _pixels, "tiff, saved");
}

void ThreadFiles::makeRaising(unsigned int thread) {
    writeFile(at("broken.tif"), std::string("T") + static_cast<char>('A' + thread) + "no TIFF file");
    auto const pTarget = makeMemoryImage(*_pGeometry, _pixels);
    auto const add = [this](std::function<void()> call) {
        _raising.push_back({[call] { return catchText(call); }, {}});
    };
    auto const loadTiff = [this](std::string const& name) {
        ImagePtr pImage;
        loadTiffImageFile(at(name), pImage, eTDM_Volume, eTBM_Default);
    };
    add([=] { loadRawImageFile(at("missing.raw"), *_pGeometry, pTarget, 4); });
    add([=] { openRawImageFile(at("short.raw"), *_pGeometry, thread); });
    add([=] { loadIm6ImageFile(at("missing.im6")); });
    add([=] { loadIm6ImageFile(at("short.im6")); });
    add([=] { loadTiff("missing.tif"); });
    add([=] { loadTiff("broken.tif"); });
    add([=] { saveTiffImageFile(at("none/out.tif"), pTarget, eTC_None); });
    add([=] { saveRawImageFile(at("none/out.raw"), pTarget); });
    add([=] { readWrongPlane(*openRaw()->getAccessor()); });
    learnTexts(_raising);
}

void ThreadFiles::makeFailing(unsigned int thread) {
    auto const pRaw = boost::make_shared<RawImageFile>();
    _failing.push_back(
        {[=] {
             return pRaw->openFile(at("short.raw"), eIAM_ReadWrite, 10 + thread, *_pGeometry).getMessage();
         },
         {}});
    auto const pTiff = boost::make_shared<TiffImageFile>();
    for (char const* const name : {"missing.tif", "broken.tif"}) {
        _failing.push_back(
            {[=] {
                 std::string userProperties;
                 return pTiff->openFile(at(name), eIAM_ReadOnly, eTDM_Volume, eTBM_Default, userProperties)
                     .getMessage();
             },
             {}});
    }
    _failing.push_back({[=] { return getReadFailure(*openTiff()->getAccessor()); }, {}});
    _failing.push_back(
        {[=] { return openTiff()->getAccessor()->writeRawData(0, 0, 0, 0, 1, "px").getMessage(); }, {}});
    learnTexts(_failing);
}

} // namespace velmo::test
