// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <functional>
#include <string>

namespace velmo::test {

constexpr char const* g_noMount = "no mount";

/// What `work` returns in a child process that alone sees a new disk of `nbBytes` in `folder`; `g_noMount`
/// where this process cannot make one.
std::string onPrivateDisk(boost::filesystem::path const& folder, std::size_t nbBytes,
                          std::function<std::string()> const& work);

/// Makes that disk one that can be read alone.
bool forbidWrites(boost::filesystem::path const& folder);

/// Fills the disk that `filler` is to lie on, but for the last `nbBytesLeft`.
void fillDisk(boost::filesystem::path const& filler, std::size_t nbBytesLeft);

/// What `work` returns in a child process with a limit of setrlimit's.
std::string withLimit(int resource, std::size_t limit, std::function<std::string()> const& work);

/// Bytes of address space that this process has.
std::size_t measureAddressSpace();

} // namespace velmo::test
