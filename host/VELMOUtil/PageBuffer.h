// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Export.h"
#include "VELMOUtil/Types.h"

#include <cstddef>

namespace velmo {

/// One anonymous mapping of zeroed bytes, aligned to a page. From 4 MiB up it begins on a huge page and asks
/// the kernel for huge pages: a first touch is then several times cheaper than with pages of 4 KiB.
class VELMO_HOST_EXPORT PageBuffer {
  public:
    PageBuffer() = default;
    /// Throws `std::bad_alloc` if the system gives no address space. Pages are taken at their first touch.
    explicit PageBuffer(vlUInt64 nbBytes);
    ~PageBuffer();
    /// @{
    /// The mapping moves along; what is moved from has no bytes.
    PageBuffer(PageBuffer&& other) noexcept;
    PageBuffer& operator=(PageBuffer&& other) noexcept;
    /// @}
    PageBuffer(PageBuffer const&) = delete;
    PageBuffer& operator=(PageBuffer const&) = delete;

    /// Null if the buffer has no bytes.
    std::byte* getData() const { return _pData; }
    /// Bytes.
    vlUInt64 getSize() const { return _size; }

  private:
    void swap(PageBuffer& other) noexcept;

    std::byte* _pData = nullptr;
    vlUInt64 _size = 0;
    void* _pMapping = nullptr;
    vlUInt64 _mappingSize = 0;
};

} // namespace velmo
