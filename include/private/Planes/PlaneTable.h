// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <boost/shared_ptr.hpp>
#include <optional>

namespace velmo::image {

class BaseImageGeometry;

namespace file {

/// Where each plane of a headerless run of planes begins in its file: t outermost, then c, then z, no
/// padding. Finds a plane in constant time and holds no entry for it. Empty at construction. Reading is safe
/// from any thread.
class PlaneTable {
  public:
    /// Takes a copy of the geometry. Returns the offset behind the last plane; the largest 64-bit number,
    /// which no file reaches, where it does not fit in 64 bits.
    vlUInt64 process(vlUInt64 dataStartOffset, BaseImageGeometry const& geometry);

    /// First byte of a plane; empty for a plane that is not in the table.
    std::optional<vlUInt64> find(vlUInt64 z, vlUInt64 c, vlUInt64 t) const;

    /// Offset of the first plane.
    vlUInt64 getDataStartOffset() const { return _dataStartOffset; }

  private:
    vlUInt64 _dataStartOffset = 0;
    boost::shared_ptr<BaseImageGeometry const> _pGeometry;
};

} // namespace file
} // namespace velmo::image
