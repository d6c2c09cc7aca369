// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "AllocationCount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<velmo::vlUInt64> g_nbBytesAllocated{0};

} // namespace

void* operator new(std::size_t nbBytes) {
    g_nbBytesAllocated += nbBytes;
    if (void* const pBytes = std::malloc(nbBytes == 0 ? 1 : nbBytes)) {
        return pBytes;
    }
    throw std::bad_alloc();
}

void operator delete(void* pBytes) noexcept {
    std::free(pBytes);
}

void operator delete(void* pBytes, std::size_t /*nbBytes*/) noexcept {
    std::free(pBytes);
}

namespace velmo::test {

vlUInt64 countAllocatedBytes(std::function<void()> const& work) {
    vlUInt64 const before = g_nbBytesAllocated;
    work();
    return g_nbBytesAllocated - before;
}

} // namespace velmo::test
