// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ToolProcess.h"

#include <TemporaryFolder.h>
#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>

namespace velmo::test {

/// The bytes of values as they lie in memory.
template <class Value>
std::string toBytes(std::vector<Value> const& values) {
    return std::string(reinterpret_cast<char const*>(values.data()), values.size() * sizeof(Value));
}

/// The options of a raw input.
inline Arguments raw(std::string const& size, std::string const& type) {
    return {"--size", size, "--type", type};
}

inline Arguments operator+(Arguments left, Arguments const& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// Runs the tool on files of a folder of its own.
class CliTest : public testing::Test {
  protected:
    std::string path(std::string const& name) const { return (_folder / name).string(); }

    std::string create(std::string const& name, std::string const& bytes) const {
        writeFile(_folder / name, bytes);
        return path(name);
    }

    /// A file of zeros that takes no room on the disk.
    std::string createSparse(std::string const& name, unsigned long nbBytes) const {
        create(name, "");
        boost::filesystem::resize_file(_folder / name, nbBytes);
        return path(name);
    }

    std::string read(std::string const& name) const { return readFile(_folder / name); }

    /// The names in the folder, sorted.
    std::vector<std::string> list() const {
        std::vector<std::string> names;
        for (auto const& entry : boost::filesystem::directory_iterator(_folder.getPath())) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    TemporaryFolder _folder;
};

/// What a test of a parameter with a `name` is called.
template <class Parameter>
std::string getName(testing::TestParamInfo<Parameter> const& info) {
    return info.param.name;
}

/// One failure, one message: the whole of standard error.
inline void expectFailure(ToolResult const& result, int status, std::string const& message) {
    EXPECT_EQ(status, result.status);
    EXPECT_EQ("velmo-image: " + message + '\n', result.err);
}

inline void expectDone(ToolResult const& result) {
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.err);
}

} // namespace velmo::test
