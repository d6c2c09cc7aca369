// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <cstddef>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace velmo::test {

/// What `work` returns in a child process, which is killed when it takes a minute; "killed" where it did not
/// come to its end.
std::string inChild(std::function<std::string()> const& work);
/// The same for a user without rights on other users' files; "no such user" where the process cannot become
/// one.
std::string asOrdinaryUser(std::function<std::string()> const& work);
constexpr char const* g_noSuchUser = "no such user";

/// Descriptors of this process on a file, which may have been removed since.
std::size_t countDescriptors(boost::filesystem::path const& path);

inline void inOtherThread(std::function<void()> const& work) {
    std::thread(work).join();
}

/// Calls `work` with 0 to `nbThreads` - 1, each on a thread of its own, which all exist before the first
/// begins.
template <class Work>
void onThreads(unsigned int nbThreads, Work const& work) {
    std::promise<void> start;
    std::shared_future<void> const started(start.get_future());
    std::vector<std::thread> threads;
    for (unsigned int index = 0; index < nbThreads; ++index) {
        threads.emplace_back([&work, started, index] {
            started.wait();
            work(index);
        });
    }
    start.set_value();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace velmo::test
