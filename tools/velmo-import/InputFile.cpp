// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "InputFile.h"

#include "Refusal.h"

#include <VELMOBase/FileKind.h>
#include <VELMOBase/TransferAll.h>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace velmo::importer {

namespace {

[[noreturn]] void failToRead(boost::filesystem::path const& path, std::error_code const& error) {
    refuse("cannot read \"" + path.string() + "\": " + error.message());
}

} // namespace

InputFile::InputFile(boost::filesystem::path const& path) : _path(path) {
    std::error_code const seekError = getSeekError(path);
    if (seekError) {
        failToRead(path, seekError);
    }
    _descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (_descriptor < 0) {
        failToRead(path, std::error_code(errno, std::generic_category()));
    }
    struct stat status = {};
    _size = fstat(_descriptor, &status) == 0 ? static_cast<vlUInt64>(status.st_size) : 0;
}

InputFile::~InputFile() {
    if (_descriptor >= 0) {
        ::close(_descriptor);
    }
}

vlUInt64 InputFile::readAt(vlUInt64 offset, void* pBuffer, vlUInt64 nbBytes) const {
    return transferAll(nbBytes,
                       [&](vlUInt64 done) {
                           return pread(_descriptor, static_cast<std::byte*>(pBuffer) + done, nbBytes - done,
                                        static_cast<off_t>(offset + done));
                       })
        .nbBytes;
}

} // namespace velmo::importer
