// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOBase/PageBuffer.h"

#include "VELMOBase/CheckedArithmetic.h"

#include <cstdint>
#include <new>
#include <sys/mman.h>
#include <utility>

namespace velmo {

namespace {

constexpr std::uint64_t g_hugePageSize = std::uint64_t{2} << 20;
constexpr std::uint64_t g_hugePagesFrom = std::uint64_t{4} << 20;

} // namespace

PageBuffer::PageBuffer(std::uint64_t nbBytes) {
    if (nbBytes == 0) {
        return;
    }
    bool const bHuge = nbBytes >= g_hugePagesFrom;
    auto const mappingSize = checkedAdd(nbBytes, bHuge ? g_hugePageSize : 0);
    if (!mappingSize) {
        throw std::bad_alloc();
    }
    void* const pMapping = mmap(nullptr, *mappingSize, PROT_READ | PROT_WRITE,
                                MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (pMapping == MAP_FAILED) {
        throw std::bad_alloc();
    }
    _pMapping = pMapping;
    _mappingSize = *mappingSize;
    _pData = static_cast<std::byte*>(pMapping);
    _size = nbBytes;
    if (bHuge) {
        auto const misalignment = reinterpret_cast<std::uintptr_t>(pMapping) % g_hugePageSize;
        _pData += misalignment == 0 ? 0 : g_hugePageSize - misalignment;
        madvise(_pData, _size, MADV_HUGEPAGE); // advice: without it the buffer is slower, not wrong
    }
}

PageBuffer::~PageBuffer() {
    if (_pMapping != nullptr) {
        munmap(_pMapping, _mappingSize);
    }
}

PageBuffer::PageBuffer(PageBuffer&& other) noexcept {
    swap(other);
}

PageBuffer& PageBuffer::operator=(PageBuffer&& other) noexcept {
    PageBuffer released(std::move(other));
    swap(released);
    return *this;
}

void PageBuffer::swap(PageBuffer& other) noexcept {
    std::swap(_pData, other._pData);
    std::swap(_size, other._size);
    std::swap(_pMapping, other._pMapping);
    std::swap(_mappingSize, other._mappingSize);
}

} // namespace velmo
