// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ToolProcess.h"

#include <TemporaryFolder.h>
#include <boost/filesystem/operations.hpp>
#include <cstring>
#include <gmock/gmock.h>

namespace velmo::test {

/// Bytes that no compression makes smaller.
inline std::string createNoise(std::size_t nbBytes) {
    std::string bytes(nbBytes, '\0');
    std::uint32_t state = 1;
    for (char& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

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
    bool exists(std::string const& name) const { return boost::filesystem::exists(_folder / name); }
    void link(std::string const& target, std::string const& name) const {
        boost::filesystem::create_symlink(target, _folder / name);
    }

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

/// What shows a parameter with a `name` in messages.
template <class Parameter>
auto operator<<(std::ostream& os, Parameter const& parameter) -> decltype(os << parameter.name) {
    return os << parameter.name;
}

/// What a test of a signal is called.
inline std::string getSignalName(testing::TestParamInfo<int> const& info) {
    return "SIG" + std::string(sigabbrev_np(info.param));
}

/// A text in which all of these words are.
template <class... Words>
auto hasWords(Words const&... words) {
    return testing::AllOf(testing::HasSubstr(std::string(words))...);
}

/// A text with one message of the tool, in which all of these words are.
template <class... Words>
auto isMessage(Words const&... words) {
    return testing::AllOf(testing::StartsWith("velmo-image: "), testing::EndsWith("\n"),
                          testing::Not(testing::HasSubstr("\nvelmo-image: ")), hasWords(words...));
}

/// One failure is one message; it has all of these words.
template <class... Words>
void expectFailure(ToolResult const& result, int status, Words const&... words) {
    EXPECT_EQ(status, result.status);
    EXPECT_THAT(result.err, isMessage(words...));
}

/// A run that is done, with one warning that has all of these words.
template <class... Words>
void expectWarning(ToolResult const& result, Words const&... words) {
    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.err, isMessage("velmo-image: warning: ", words...));
}

inline void expectDone(ToolResult const& result) {
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.err);
}

} // namespace velmo::test
