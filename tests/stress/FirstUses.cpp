// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// first_uses FOLDER: the first uses that a fresh process makes of the library, on many threads at once. The
// folder holds an image of 4 x 3 bytes in 2 planes, "ABC...X", as image.raw, image.im6 and image.tif. What
// went wrong stands on the standard output, a line each, and the status is 1 then.

#include "StartingGate.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/FilePatternMatching.h>
#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/Im6ImageFileUtils.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOSerialization/DynamicObjectFactory.h>
#include <VELMOUtil/LogMessageManager.h>
#include <VELMOUtil/Logging.h>
#include <VELMOUtil/VELMOUtilLog.h>
#include <log4cplus/nullappender.h>

namespace {

using namespace velmo;
using namespace velmo::image;
using namespace velmo::image::file;

velmo::test::Complaints g_complaints;
std::string g_folder;

std::string at(std::string const& name) {
    return g_folder + "/" + name;
}

void expectPixels(char const* what, ImagePtr const& pImage) {
    std::string pixels(24, '\0');
    for (vlUInt64 z = 0; z < 2; ++z) {
        BoolResult const result = pImage->readPixels(z, 0, 0, 0, 12, &pixels[12 * z]);
        g_complaints.expect(bool(result), result.getMessage());
    }
    g_complaints.expect(pixels == "ABCDEFGHIJKLMNOPQRSTUVWX", std::string(what) + " gave " + pixels);
}

template <class Exception>
std::string getThrownText(std::function<void()> const& work) {
    try {
        work();
    } catch (Exception const& exception) {
        return exception.what();
    }
    return "nothing thrown";
}

void raiseOfRaw(unsigned int thread) {
    std::string const path = at("missing-" + std::to_string(thread));
    std::string const text = getThrownText<VELMOImageFileException>(
        [&] { loadRawImageFile(path, *geometry3d(eIBT_UInt8, 4, 3, 2)); });
    g_complaints.expect(text == "Error while loading raw image file \"" + path +
                                    "\"\nFailed to open raw image file " + path,
                        text);
}

std::string failTiff(std::string const& path) {
    std::string userProperties;
    return TiffImageFile()
        .openFile(path, eIAM_ReadOnly, eTDM_Volume, eTBM_Default, userProperties)
        .getMessage();
}

/// The handler is not set before the first failure has happened: what libtiff says of the ones at that moment
/// goes to the standard error, and their texts end with nothing.
void failTiffFirst(unsigned int thread) {
    std::string const path = at("missing-" + std::to_string(thread) + ".tif");
    std::string const head = "Failed to open tiff image file " + path + "\n";
    std::string const words = "Tiff Error : " + path + ": No such file or directory";
    std::string const first = failTiff(path);
    g_complaints.expect(first == head || first == head + words, first);
    std::string const second = failTiff(path);
    g_complaints.expect(second == head + words, second);
}

void loadTiff(unsigned int /*thread*/) {
    ImagePtr pImage;
    loadTiffImageFile(at("image.tif"), pImage, eTDM_Volume, eTBM_Default);
    expectPixels("image.tif", pImage);
}

void loadOthers(unsigned int /*thread*/) {
    expectPixels("image.im6", loadIm6ImageFile(at("image.im6")));
    expectPixels("image.raw", openRawImageFile(at("image.raw"), *geometry3d(eIBT_UInt8, 4, 3, 2)));
}

void createByName(unsigned int /*thread*/) {
    for (char const* const name : {"Raw", "Im6", "Tiff"}) {
        std::string const className = std::string("velmo::image::file::") + name + "ImageFile";
        DynamicObjectPtr const pObject = DynamicObjectFactory::getInstance().createShared(className);
        g_complaints.expect(pObject && pObject->getClassName() == className, "no " + className);
    }
    g_complaints.expect(RawImageFile::getVersion() == 2 && TiffImageFile::getVersion() == 1, "version");
}

void askLog(unsigned int /*thread*/) {
    g_complaints.expect(getVELMOImageFileLogger().getName() == getBaseLoggerName() + ".VELMOImageFile",
                        "logger");
    std::string const text = getVELMOImageFileLogMessageManager().getMessage(
        "N5velmo5image4file21eTiffImageFileMessage6domainE", 0);
    g_complaints.expect(!text.empty(), "an empty message");
    g_complaints.expect(getVELMOImageFileLoggerName() == getBaseLoggerName() + ".VELMOImageFile", "name");
}

void raiseOfHost(unsigned int /*thread*/) {
    std::string const text =
        getThrownText<VELMOImageException>([] { RawImageFile().hasBinary8BitsStorage(); });
    g_complaints.expect(text != "nothing thrown", "hasBinary8BitsStorage: " + text);
    std::string const copied = getThrownText<VELMOUtilException>([] { Im6ImageFile().duplicate(); });
    g_complaints.expect(copied.find("velmo::image::file::Im6ImageFile") != std::string::npos, copied);
}

void matchAndSave(unsigned int thread) {
    vlUInt64 index = 0;
    std::string const number = std::to_string(thread);
    g_complaints.expect(
        testFilePatternMatching("a<INDEX>.tif", "a" + number + ".tif", index) && index == thread, "pattern");
    auto const pImage = openRawImageFile(at("image.raw"), *geometry3d(eIBT_UInt8, 4, 3, 2));
    saveTiffImageFile(at("saved" + number + ".tif"), pImage, eTC_Deflate);
    ImagePtr const pSaved =
        openTiffImageFiles(g_folder, "saved" + number + ".tif", eTDM_Volume, eTBM_Default);
    g_complaints.expect(bool(pSaved), "no saved" + number + ".tif");
    expectPixels("what was saved", pSaved);
}

using Use = void (*)(unsigned int);
constexpr Use g_uses[] = {raiseOfRaw,   failTiffFirst, loadTiff,    loadOthers,
                          createByName, askLog,        raiseOfHost, matchAndSave};
constexpr unsigned int g_nbUses = 8;

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    g_folder = argv[1];
    // Made later, it would be set above loggers that other threads write to.
    g_complaints.expect(log4cplus::Logger::exists("VELMO"), "the base logger is not made at load");
    log4cplus::Logger::getRoot().addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender));
    // Each use is the first one of two threads, and all others follow in another order on each thread.
    velmo::test::raceThreads(2 * g_nbUses, [](unsigned int thread) {
        for (unsigned int use = 0; use < g_nbUses; ++use) {
            g_complaints.guard([&] { g_uses[(thread + use) % g_nbUses](thread); });
        }
    });
    return g_complaints.getStatus();
}
