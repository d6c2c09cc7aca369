// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CountedMemory.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <malloc.h>
#include <new>
#include <stdexcept>
#include <string>

namespace velmo::bench {

namespace {

std::atomic<bool> g_bCounting{false};
std::atomic<std::int64_t> g_nbBytes{0};
std::atomic<std::int64_t> g_nbPeakBytes{0};

void count(void* pMemory, std::int64_t sign) {
    if (!g_bCounting.load(std::memory_order_relaxed)) {
        return;
    }
    std::int64_t const change = sign * static_cast<std::int64_t>(malloc_usable_size(pMemory));
    std::int64_t const now = g_nbBytes.fetch_add(change) + change;
    std::int64_t peak = g_nbPeakBytes.load();
    while (now > peak && !g_nbPeakBytes.compare_exchange_weak(peak, now)) {
    }
}

/// Reads a line of the kernel's status of this process, in bytes.
vlUInt64 readStatus(std::string const& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, name.size(), name) == 0) {
            return std::stoull(line.substr(name.size() + 1)) * 1024;
        }
    }
    throw std::runtime_error("The kernel does not report " + name);
}

} // namespace

vlUInt64 countPeakResident(std::function<void()> const& work) {
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << '5'; // resets the peak
    vlUInt64 const before = readStatus("VmRSS");
    work();
    return readStatus("VmHWM") - before;
}

vlUInt64 countPeakBytes(std::function<void()> const& work) {
    g_nbBytes = 0;
    g_nbPeakBytes = 0;
    g_bCounting = true;
    work();
    g_bCounting = false;
    return static_cast<vlUInt64>(g_nbPeakBytes.load());
}

void* allocateCounted(std::size_t nbBytes) {
    void* const pMemory = std::malloc(nbBytes == 0 ? 1 : nbBytes);
    if (pMemory == nullptr) {
        throw std::bad_alloc();
    }
    count(pMemory, 1);
    return pMemory;
}

void releaseCounted(void* pMemory) noexcept {
    count(pMemory, -1);
    std::free(pMemory);
}

} // namespace velmo::bench

// Replacements of the global operators, which the libraries use too. The array and nothrow forms of the
// standard library call them.

void* operator new(std::size_t nbBytes) {
    return velmo::bench::allocateCounted(nbBytes);
}

void operator delete(void* pMemory) noexcept {
    velmo::bench::releaseCounted(pMemory);
}

void operator delete(void* pMemory, std::size_t /*nbBytes*/) noexcept {
    velmo::bench::releaseCounted(pMemory);
}
