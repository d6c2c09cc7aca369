// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// A program whose first call of the library fails; its arguments name what it does before.

#include <VELMOImageFile/VELMOImageFile.h>
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
        image::file::loadTiffImageFile("missing.tif", image::file::eTDM_Volume, image::file::eTBM_Default);
    } catch (BaseException const& error) {
        std::cout << error.what();
    }
}
