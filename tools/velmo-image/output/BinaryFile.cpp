// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/BinaryFile.h"

#include "terminal/Failure.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmo::tool {

BinaryFile::BinaryFile(boost::filesystem::path const& path)
    : _path(path), _descriptor(open(path.c_str(), O_RDWR | O_CLOEXEC)) {
    if (_descriptor < 0) {
        failAt("open", _path, errno);
    }
    struct stat state = {};
    if (fstat(_descriptor, &state) != 0) {
        int const error = errno;
        ::close(_descriptor);
        failAt("read", _path, error);
    }
    _size = static_cast<vlUInt64>(state.st_size);
}

BinaryFile::~BinaryFile() {
    if (_descriptor >= 0) {
        ::close(_descriptor);
    }
}

std::string BinaryFile::read(vlUInt64 offset, std::size_t nbBytes) const {
    std::string bytes(nbBytes, '\0');
    std::size_t done = 0;
    while (done < nbBytes) {
        ssize_t const nbRead =
            pread(_descriptor, bytes.data() + done, nbBytes - done, static_cast<off_t>(offset + done));
        if (nbRead == 0) {
            break;
        }
        if (nbRead > 0) {
            done += static_cast<std::size_t>(nbRead);
        } else if (errno != EINTR) {
            failAt("read", _path, errno);
        }
    }
    bytes.resize(done);
    return bytes;
}

void BinaryFile::write(vlUInt64 offset, std::string const& bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        ssize_t const nbWritten =
            pwrite(_descriptor, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
        if (nbWritten > 0) {
            done += static_cast<std::size_t>(nbWritten);
        } else if (nbWritten == 0 || errno != EINTR) {
            failAt("write", _path, errno);
        }
    }
}

void BinaryFile::close() {
    int const descriptor = _descriptor;
    _descriptor = -1;
    if (::close(descriptor) != 0 && errno != EINTR) {
        failAt("write", _path, errno);
    }
}

} // namespace velmo::tool
