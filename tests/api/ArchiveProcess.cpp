// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ArchiveProcess.h"

#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/XmlArchive.h>
#include <boost/filesystem/operations.hpp>
#include <fcntl.h>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;

namespace {

[[noreturn]] void becomeReader(std::string const& format, fs::path const& record, fs::path const& pixels,
                               fs::path const& output) {
    int const descriptor = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (descriptor >= 0 && dup2(descriptor, STDOUT_FILENO) >= 0) {
        execl(VELMO_TEST_READER, VELMO_TEST_READER, format.c_str(), record.c_str(), pixels.c_str(), nullptr);
    }
    _exit(127);
}

} // namespace

void ArchiveProcess::writeRecord(boost::shared_ptr<BaseDiskImageAccessor> const& pAccessor) const {
    std::ofstream stream((_folder / "record").string(), std::ios::binary);
    if (GetParam() == "xml") {
        XmlOArchive archive(stream);
        archive.writeObject("accessor", pAccessor);
        archive.finish();
    } else {
        BinaryOArchive archive(stream);
        archive.writeObject("accessor", pAccessor);
    }
}

Outcome ArchiveProcess::runReader() const {
    fs::remove(_folder / "pixels");
    pid_t const child = fork();
    if (child == 0) {
        becomeReader(GetParam(), _folder / "record", _folder / "pixels", _folder / "output");
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    return {WEXITSTATUS(status), readFile(_folder / "output")};
}

} // namespace velmo::test
