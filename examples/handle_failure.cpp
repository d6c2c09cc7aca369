// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Errors: thrown by the public functions, with the file and the reason in their text, and with ids for
// programs.

#include "Example.h"

#include <fstream>

using namespace velmo::image;

void prepare() {
    // [prepare for errors]
    // Once, at the start of the program:
    file::captureTiffMessages(); // libtiff's reason goes into the message, from the first error on
    velmo::silenceLog();         // or velmo::logToStandardError(): each error is also logged
    // [prepare for errors]
}

void catchFailure() {
    // [catch a failure]
    try {
        file::loadRawImageFile("short.raw", *geometry3d(eIBT_UInt8, 64, 48, 8));
    } catch (velmo::BaseException const& error) {
        std::cerr << error.what() << '\n';
    }
    // [catch a failure]
}

void decideById() {
    bool bTooShort = false;
    std::string reason;
    std::string text;
    // [decide by an id]
    try {
        file::loadRawImageFile("short.raw", *geometry3d(eIBT_UInt8, 64, 48, 8));
    } catch (velmo::BaseException const& error) {
        velmo::MessageIds const& ids = error.getMessageIds();
        bTooShort = ids.contains(file::eRawImageFileMessage::eRIFM_GeometryExceedsFileSize);
        velmo::MessageId const& innermost = ids.getInnermost();
        reason = innermost.domain + " " + std::to_string(innermost.id); // eRawImageFileMessage 4
        text = error.what();
    }
    // [decide by an id]
    require(bTooShort, "the file is too short");
    require(reason == "eRawImageFileMessage 4", "the id of the reason");
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
        prepare();
        catchFailure();
        decideById();
    });
}
