// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// tiff_messages SCENARIO PATH: what a fresh process keeps of libtiff's messages, on its standard output; what
// libtiff itself writes goes to the standard error.

#include "Tiff/TiffImageFileTools.h"
#include "Tiff/handle/TiffErrorHandler.h"

#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <tiffio.h>

namespace {

using namespace velmo;
using namespace velmo::image;
using namespace velmo::image::file;

BoolResult openAndClose(std::string const& path) {
    TIFF* pTiff = nullptr;
    ImageGeometryPtr pGeometry;
    GeometricCalibrationPtr pCalibration;
    BoolResult const result =
        openTiffFile(path, eIAM_ReadOnly, eTDM_Volume, eTBM_Default, pTiff, pGeometry, pCalibration, nullptr);
    if (pTiff != nullptr) {
        TIFFClose(pTiff);
    }
    return result;
}

void failTwice(std::string const& path) {
    for (int time = 0; time < 2; ++time) {
        std::cout << openAndClose(path).getMessage() << "\n--\n";
    }
}

void succeed(std::string const& path) {
    std::cout << (openAndClose(path) ? "opened" : "failed") << "\n";
    TIFFError("tiff_messages", "said to the default output");
}

void askOnThreads(std::string const& path) {
    static_cast<void>(openAndClose(path));
    static_cast<void>(openAndClose(path));
    std::cout << "[" << lastTiffMessage() << "]\n";
    std::thread([] { std::cout << "[" << lastTiffMessage() << "]\n[" << lastTiffMessage() << "]\n"; }).join();
}

/// Built before the handler and therefore destroyed behind it.
struct LateFailure {
    ~LateFailure() {
        if (bArmed) {
            TIFFError("tiff_messages", "behind the end");
        }
    }
    bool bArmed = false;
};

void failAtExit(std::string const& /*path*/) {
    static LateFailure late;
    late.bArmed = true;
    lastTiffMessage();
    TIFFError("tiff_messages", "before the end");
    std::cout << "[" << lastTiffMessage() << "]\n";
}

void mergeOwnTag(TIFF* pTiff) {
    static char g_name[] = "Tag of another user";
    static TIFFFieldInfo const g_info[] = {
        {65001, TIFF_VARIABLE, TIFF_VARIABLE, TIFF_ASCII, FIELD_CUSTOM, 1, 0, g_name}};
    TIFFMergeFieldInfo(pTiff, g_info, 1);
}

void showBothTags(std::string const& path) {
    TIFFSetTagExtender(mergeOwnTag);
    static_cast<void>(openAndClose(path));
    TIFF* const pTiff = TIFFOpen(path.c_str(), "r");
    for (std::uint32_t const tag : {65001U, 65000U}) {
        char const* text = "absent";
        TIFFGetField(pTiff, tag, &text);
        std::cout << text << "\n";
    }
    TIFFClose(pTiff);
}

void throwText(TIFF* /*pTiff*/) {
    throw std::runtime_error("thrown by an extender");
}

void throwNumber(TIFF* /*pTiff*/) {
    throw 42;
}

void openThrowing(std::string const& path, TIFFExtendProc extender) {
    TIFFSetTagExtender(extender);
    std::cout << openAndClose(path).getMessage() << "\n";
}

} // namespace

int main(int argc, char** argv) {
    std::map<std::string, void (*)(std::string const&)> const scenarios = {
        {"failures", failTwice},
        {"success", succeed},
        {"thread", askOnThreads},
        {"exit", failAtExit},
        {"extender", showBothTags},
        {"throwing", [](std::string const& path) { openThrowing(path, throwText); }},
        {"throwing-a-number", [](std::string const& path) { openThrowing(path, throwNumber); }}};
    if (argc != 3 || scenarios.count(argv[1]) == 0) {
        return 2;
    }
    scenarios.at(argv[1])(argv[2]);
    return 0;
}
