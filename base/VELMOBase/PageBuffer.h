// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <cstdint>

namespace velmo {

/// An anonymous mapping of zeroed bytes, aligned to a page. A buffer of 4 MiB or more is aligned to a huge
/// page and requests huge pages from the kernel: a first access is then several times cheaper than with pages
/// of 4 KiB.
class PageBuffer {
  public:
    PageBuffer() = default;
    /// Throws `std::bad_alloc` if the system refuses the address space. Pages are allocated at their first
    /// access.
    explicit PageBuffer(std::uint64_t nbBytes);
    ~PageBuffer();
    /// @{
    /// The mapping moves; the source is empty afterwards.
    PageBuffer(PageBuffer&& other) noexcept;
    PageBuffer& operator=(PageBuffer&& other) noexcept;
    /// @}
    PageBuffer(PageBuffer const&) = delete;
    PageBuffer& operator=(PageBuffer const&) = delete;

    /// Null for an empty buffer.
    std::byte* getData() const { return _pData; }
    /// Size in bytes.
    std::uint64_t getSize() const { return _size; }

  private:
    void swap(PageBuffer& other) noexcept;

    std::byte* _pData = nullptr;
    std::uint64_t _size = 0;
    void* _pMapping = nullptr;
    std::uint64_t _mappingSize = 0;
};

} // namespace velmo
