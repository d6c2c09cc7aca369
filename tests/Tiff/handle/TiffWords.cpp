// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// tiff_words SCENARIO PATH: what a fresh process keeps of libtiff's words, on its standard output; what
// libtiff itself writes goes to the standard error.

#include "Tiff/TiffImageFileTools.h"
#include "Tiff/handle/TiffErrorHandler.h"

#include <iostream>
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
    TIFFError("tiff_words", "said to the default output");
}

void askOnThreads(std::string const& path) {
    openAndClose(path);
    openAndClose(path);
    std::cout << "[" << lastTiffMessage() << "]\n";
    std::thread([] { std::cout << "[" << lastTiffMessage() << "]\n[" << lastTiffMessage() << "]\n"; }).join();
}

/// Built before the handler and therefore destroyed behind it.
struct LateFailure {
    ~LateFailure() {
        if (bArmed) {
            TIFFError("tiff_words", "behind the end");
        }
    }
    bool bArmed = false;
};

void failAtExit() {
    static LateFailure late;
    late.bArmed = true;
    lastTiffMessage();
    TIFFError("tiff_words", "before the end");
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
    openAndClose(path);
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
    if (argc != 3) {
        return 2;
    }
    std::string const scenario(argv[1]);
    std::string const path(argv[2]);
    if (scenario == "failures") {
        failTwice(path);
    } else if (scenario == "success") {
        succeed(path);
    } else if (scenario == "thread") {
        askOnThreads(path);
    } else if (scenario == "exit") {
        failAtExit();
    } else if (scenario == "extender") {
        showBothTags(path);
    } else if (scenario == "throwing") {
        openThrowing(path, throwText);
    } else if (scenario == "throwing-a-number") {
        openThrowing(path, throwNumber);
    } else {
        return 2;
    }
    return 0;
}
