// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// A program whose first call of the library fails; its arguments name what it does before.

// The first header has all that its functions need: an image's geometry and the exception.
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <iostream>
#include <string>

using namespace velmo;

int main(int argc, char** argv) {
    for (int index = 1; index < argc; ++index) {
        std::string const step(argv[index]);
        if (step == "capture") {
            image::file::captureTiffMessages();
        } else if (step == "silence") {
            silenceLog();
        } else if (step == "print") {
            logToStandardError();
        }
    }
    try {
        using namespace image::file;
        std::cout << loadTiffImageFile("missing.tif", eTDM_Volume, eTBM_Default)->getGeometry().getSizeX();
    } catch (image::file::VELMOImageFileException const& error) {
        std::cout << error.what();
    }
}
