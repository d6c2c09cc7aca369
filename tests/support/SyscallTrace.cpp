// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SyscallTrace.h"

#include <csignal>
#include <sys/ptrace.h>
#include <sys/uio.h>
#include <sys/wait.h>

namespace velmo::test {

namespace {

/// Whether the process has this text, with its final zero, at the address.
bool holdsText(pid_t pid, unsigned long address, std::string const& text) {
    std::string held(text.size() + 1, 'x');
    iovec const local = {held.data(), held.size()};
    iovec const remote = {reinterpret_cast<void*>(address), held.size()};
    return process_vm_readv(pid, &local, 1, &remote, 1, 0) == static_cast<ssize_t>(held.size()) &&
           held == text + '\0';
}

/// Waits for a stop; an end of the process is left to be waited for.
bool waitForStop(pid_t pid) {
    siginfo_t info = {};
    waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WSTOPPED | WNOWAIT);
    return info.si_code == CLD_TRAPPED && waitpid(pid, nullptr, 0) == pid;
}

} // namespace

SyscallTrace::SyscallTrace(pid_t pid)
    : _pid(pid), _bAttached(ptrace(PTRACE_SEIZE, pid, nullptr, PTRACE_O_TRACESYSGOOD) == 0) {
    if (_bAttached) {
        ptrace(PTRACE_INTERRUPT, pid, nullptr, nullptr);
        waitForStop(pid);
    }
}

long SyscallTrace::getNumberOfCallWith(std::string const& path) const {
    __ptrace_syscall_info info = {};
    if (ptrace(PTRACE_GET_SYSCALL_INFO, _pid, sizeof info, &info) > 0 &&
        info.op == PTRACE_SYSCALL_INFO_ENTRY) {
        for (unsigned long const argument : info.entry.args) {
            if (holdsText(_pid, argument, path)) {
                return static_cast<long>(info.entry.nr);
            }
        }
    }
    return -1;
}

long SyscallTrace::runToUseOf(std::string const& path) {
    long number = -1;
    do {
        ptrace(PTRACE_SYSCALL, _pid, nullptr, nullptr);
        if (!waitForStop(_pid)) {
            return -1;
        }
        number = getNumberOfCallWith(path);
    } while (number < 0);
    return number;
}

void SyscallTrace::detach() {
    ptrace(PTRACE_DETACH, _pid, nullptr, nullptr);
    _bAttached = false;
}

} // namespace velmo::test
