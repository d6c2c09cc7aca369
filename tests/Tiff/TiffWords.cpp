// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// tiff_words SCENARIO PATH: what a fresh process keeps of libtiff's words, on its standard output; what
// libtiff itself writes goes to the standard error.

#include "Tiff/TiffErrorHandler.h"
#include "Tiff/TiffImageFileTools.h"

#include <iostream>
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
    std::cout << "[" << getTiffWords() << "]\n";
    std::thread([] { std::cout << "[" << getTiffWords() << "]\n[" << getTiffWords() << "]\n"; }).join();
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
    getTiffWords();
    TIFFError("tiff_words", "before the end");
    std::cout << "[" << getTiffWords() << "]\n";
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
    } else {
        return 2;
    }
    return 0;
}
