// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/SequentialFile.h"

#include "terminal/Failure.h"

#include <cerrno>

namespace velmo::tool {

SequentialFile::SequentialFile(boost::filesystem::path const& path)
    : _path(path), _pFile(std::fopen(path.c_str(), "wbe")) {
    if (_pFile == nullptr) {
        failAt("write", _path, errno);
    }
}

SequentialFile::~SequentialFile() {
    if (_pFile != nullptr) {
        static_cast<void>(std::fclose(_pFile));
    }
}

void SequentialFile::write(std::string const& bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), _pFile) != bytes.size()) {
        failAt("write", _path, errno);
    }
}

void SequentialFile::close() {
    std::FILE* const pFile = _pFile;
    _pFile = nullptr;
    if (std::fclose(pFile) != 0) {
        failAt("write", _path, errno);
    }
}

} // namespace velmo::tool
