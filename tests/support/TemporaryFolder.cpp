// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TemporaryFolder.h"

#include <boost/filesystem/operations.hpp>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace velmo::test {

namespace fs = boost::filesystem;

TemporaryFolder::TemporaryFolder()
    : _path(fs::temp_directory_path() / fs::unique_path("velmo-test-%%%%-%%%%-%%%%")) {
    fs::create_directory(_path);
}

TemporaryFolder::~TemporaryFolder() {
    boost::system::error_code ignored;
    fs::remove_all(_path, ignored);
}

std::string readFile(fs::path const& path) {
    std::ifstream stream(path.string(), std::ios::binary);
    EXPECT_TRUE(stream.good()) << path;
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

void writeFile(fs::path const& path, std::string const& bytes) {
    std::ofstream stream(path.string(), std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    EXPECT_TRUE(stream.good()) << path;
}

} // namespace velmo::test
