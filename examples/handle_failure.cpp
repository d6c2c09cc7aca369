// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// What a failure looks like: thrown by the public functions, logged once, with the file and the reason.

#include "Example.h"

#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOUtil/Logging.h>
#include <fstream>

using namespace velmo;
using namespace velmo::image;

void handleFailure() {
    // [silence the log]
    // Each error is logged at ERROR before it is thrown. In an application that sets no appender, log4cplus
    // prints a complaint about that once; an application that reports errors itself turns the log off.
    getBaseLogger().setLogLevel(log4cplus::OFF_LOG_LEVEL);
    // [silence the log]
    std::string text;
    // [catch a failure]
    try {
        file::loadRawImageFile("short.raw", *geometry3d(eIBT_UInt8, 64, 48, 8));
    } catch (file::VELMOImageFileException const& failure) {
        text = failure.what(); // the first line names the file, the last line is the reason
        std::cerr << text << '\n';
    }
    // [catch a failure]
    require(
        text ==
            "Error while loading raw image file \"short.raw\"\n"
            "Input geometry with total size 24576 and starting offset 0 is greater than global file size 100 "
            "for raw image file short.raw",
        "the text of the failure");
}

int main() {
    return runExample([] {
        std::ofstream("short.raw", std::ios::binary) << std::string(100, 'x');
        handleFailure();
    });
}
