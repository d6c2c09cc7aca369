// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Planes/PlaneRun.h"
#include "Tiff/TiffPolicy.h"
#include "Tiff/handle/StripEncoder.h"
#include "Tiff/handle/TiffStrips.h"

#include <VELMOImage/ImageGeometry.h>
#include <boost/filesystem/path.hpp>
#include <map>
#include <memory>
#include <optional>
#include <vector>

using TIFF = struct tiff;

namespace velmo::image::file {

/// How the strips of the directories of a new file are encoded, for each of its pixel types.
class PlaneEncoding {
  public:
    /// Reads the tags of one directory of each pixel type. A type whose directory cannot be read is left out.
    PlaneEncoding(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                  eTiffPolicy policy);

  private:
    friend class PlaneEncoder;
    struct Directory {
        StripTags tags;
        StripLayout layout;
    };
    BaseImageGeometry const& _geometry;
    vlUInt64 _nbChannels;
    std::map<eImageBufferType, Directory> _directories;
};

/// Encodes planes for `writePlanes`. Each thread has its own encoder.
class PlaneEncoder {
  public:
    /// Keeps a reference to `encoding`.
    explicit PlaneEncoder(PlaneEncoding const& encoding) : _encoding(encoding) {}

    /// Encodes all strips of a directory of time step `t`. `planes` contains the planes of its channels.
    /// Empty if libtiff cannot encode them.
    std::optional<EncodedStrips> encode(vlUInt64 t, std::vector<void const*> const& planes);

  private:
    PlaneEncoding const& _encoding;
    std::map<eImageBufferType, std::unique_ptr<StripEncoder>> _encoders;
    std::vector<std::byte> _pixels; ///< of a strip with several channels
};

} // namespace velmo::image::file
