// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <boost/shared_ptr.hpp>
#include <optional>

namespace velmo::image {

class BaseImageGeometry;

namespace file {

/// Computes where each plane begins in a file of uncompressed planes: order t, c, z with z fastest, no
/// padding. It finds a plane in constant time and stores no entry for it. Empty after construction. Const
/// functions are thread-safe.
class PlaneTable {
  public:
    /// Sets the layout; copies the geometry. Returns the offset after the last plane. If it overflows 64
    /// bits, returns the largest 64-bit number, which no file reaches.
    vlUInt64 process(vlUInt64 dataStartOffset, BaseImageGeometry const& geometry);

    /// Offset of the first byte of a plane; empty for a plane that is not in the table.
    std::optional<vlUInt64> find(vlUInt64 z, vlUInt64 c, vlUInt64 t) const;

    /// Offset of the first plane.
    vlUInt64 getDataStartOffset() const { return _dataStartOffset; }

  private:
    vlUInt64 _dataStartOffset = 0;
    boost::shared_ptr<BaseImageGeometry const> _pGeometry;
};

} // namespace file
} // namespace velmo::image
