// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace velmo::test {

using Arguments = std::vector<std::string>;

struct ToolResult {
    int status;  ///< exit status, or 1000 and the signal that ended the process
    long maxRss; ///< greatest resident size, in KiB
    std::string out;
    std::string err;
};

/// How long tests wait for an event before they fail: longer than the slowest machine takes.
constexpr std::chrono::seconds g_longestWait(120);

/// Asks again and again until the answer is true, at most for g_longestWait; whether it came to be true.
bool waitUntil(std::function<bool()> const& isReached);

/// Bytes that a process has asked the system to read, from the beginning on; it may have ended, but must not
/// have been waited for.
unsigned long countReadBytes(pid_t pid);

/// One run of velmo-image. It is killed when the test ends without waiting for it. Standard output and error
/// go to files of their own, unless descriptors are given.
class ToolProcess {
  public:
    /// The descriptors stay the caller's; -1 stands for a file.
    explicit ToolProcess(Arguments const& arguments, int outDescriptor = -1, std::string const& folder = {});
    /// Kills a process that was not waited for.
    ~ToolProcess();
    ToolProcess(ToolProcess const&) = delete;
    ToolProcess& operator=(ToolProcess const&) = delete;

    void send(int signal) const;
    /// Until the tool answers to SIGINT and sleeps without being woken up.
    bool waitForSleep() const;
    /// Until a signal has stopped the process; false if the process ends.
    bool waitForStop() const;
    /// Until the process ends, which is not waited for.
    bool waitForEnd() const;
    pid_t getPid() const { return _pid; }
    ToolResult wait();

  private:
    int _out;
    int _err;
    pid_t _pid;
};

/// A run from the start to the end, in `folder` if that is given.
ToolResult runTool(Arguments const& arguments, std::string const& folder = {});

/// A run whose three standard streams are a terminal; of the tool, unless another program is given.
class TerminalProcess {
  public:
    /// A terminal of no columns is one that does not tell how wide it is.
    explicit TerminalProcess(Arguments const& arguments, unsigned short nbColumns = 80,
                             std::string const& type = "xterm", char const* program = nullptr);
    ~TerminalProcess();
    TerminalProcess(TerminalProcess const&) = delete;
    TerminalProcess& operator=(TerminalProcess const&) = delete;

    /// Reads what the terminal shows until the text was in it, or the process has ended.
    bool waitFor(std::string const& text);
    void send(int signal) const;
    pid_t getPid() const { return _pid; }
    /// As a user presses keys.
    void type(std::string const& keys) const;
    /// As a user changes the window; the process is told with SIGWINCH.
    void resize(unsigned short nbColumns) const;
    /// What was shown since the beginning or the last call; it does not count any more.
    std::string takeShown();
    /// Exit status, and everything that was shown.
    ToolResult wait();

  private:
    bool readSome();

    int _terminal = -1;
    pid_t _pid;
    std::string _shown;
};

} // namespace velmo::test
