// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/ImageEnums.h"

#include <map>
#include <string>

namespace velmo::image {

/// Whether an image is a plane or a volume, and its number of planes. By default 2d with one plane.
class VELMO_HOST_EXPORT VolumeGeometry {
  public:
    /// Sets a single plane.
    void init2d();
    /// Sets a volume of `sizeZ` planes, which may be 0 or 1.
    void init3d(vlUInt64 sizeZ);
    /// Whether it is a single plane; a volume of one plane is 3d.
    bool is2d() const { return _type == eVGT_2d; }
    /// @{
    /// Values of the last `init`.
    eVolumeGeometryType getVolumeGeometryType() const { return _type; }
    vlUInt64 getSizeZ() const { return _sizeZ; }
    /// @}

  private:
    eVolumeGeometryType _type = eVGT_2d;
    vlUInt64 _sizeZ = 1;
};

/// Whether an image is a single time step or a sequence, and its number of time steps. Single by default.
class VELMO_HOST_EXPORT TemporalGeometry {
  public:
    /// Sets a single time step.
    void initSingle();
    /// Sets a sequence of `sizeT` time steps, which may be 0 or 1.
    void initSequence(vlUInt64 sizeT);
    /// @{
    /// Values of the last `init`.
    eTemporalGeometryType getTemporalGeometryType() const { return _type; }
    vlUInt64 getSizeT() const { return _sizeT; }
    /// @}

  private:
    eTemporalGeometryType _type = eTGT_Single;
    vlUInt64 _sizeT = 1;
};

/// The channels of an image. Number of channels by type:
///
/// | type                                                             | channels                      |
/// |------------------------------------------------------------------|-------------------------------|
/// | `eCGT_Grey`                                                      | 1                             |
/// | `eCGT_Rgb`                                                       | 3                             |
/// | `eCGT_Rgba`                                                      | 4                             |
/// | `eCGT_XYZ`, `YPbPr`, `YCbCr`, `CieLab`, `CieLuv`, `HLS`, `HSV`   | 3                             |
/// | `eCGT_User`                                                      | 1, or set by `initUser`       |
///
/// An unknown type has 1 channel. By default grey, with 0 as black.
class VELMO_HOST_EXPORT ColorGeometry {
  public:
    /// @{
    /// Sets the type and its number of channels, and removes the names. Keeps `minIsBlack`.
    void initGrey();
    void initRgb();
    void init(eColorGeometryType const& type);
    /// @}
    /// Sets `eCGT_User` with `sizeC` channels.
    void initUser(vlUInt64 sizeC);

    /// @{
    /// Values of the last `init`.
    eColorGeometryType getColorGeometryType() const { return _type; }
    vlUInt64 getSizeC() const { return _sizeC; }
    /// @}
    /// Whether 0 is black; otherwise 0 is white.
    bool minIsBlack() const { return _bMinIsBlack; }
    /// Sets how values are displayed. Pixels do not change.
    void setMinIsBlack(bool bMinIsBlack) { _bMinIsBlack = bMinIsBlack; }
    /// Sets the name of a channel. Throws VELMOImageException if the index (from 0) does not exist.
    void setChannelName(std::string const& name, vlUInt64 index);
    /// The name of a channel; empty if it has none.
    std::string getChannelName(vlUInt64 index) const;
    /// The names of the channels that have one, by index.
    std::map<vlUInt64, std::string> const& getChannelNames() const { return _channelNames; }

  private:
    void initChannels(eColorGeometryType type, vlUInt64 sizeC);

    eColorGeometryType _type = eCGT_Grey;
    vlUInt64 _sizeC = 1;
    bool _bMinIsBlack = true;
    std::map<vlUInt64, std::string> _channelNames;
};

/// A plane, in row-major order.
class VELMO_HOST_EXPORT ImagePlanGeometry {
  public:
    /// The number of pixels and of bytes must not overflow 64 bits.
    ImagePlanGeometry(vlUInt64 sizeX, vlUInt64 sizeY, eImageBufferType bufferType)
        : _sizeX(sizeX), _sizeY(sizeY), _bufferType(bufferType) {}
    /// @{
    /// Pixels per row, number of rows, number of pixels, and pixel type.
    vlUInt64 getSizeX() const { return _sizeX; }
    vlUInt64 getSizeY() const { return _sizeY; }
    vlUInt64 getNbPixels() const { return _sizeX * _sizeY; }
    eImageBufferType getBufferType() const { return _bufferType; }
    /// @}
    /// Bytes of one pixel.
    vlUInt64 getPixelSize() const { return getImageBufferBaseSize(_bufferType); }

  private:
    vlUInt64 _sizeX;
    vlUInt64 _sizeY;
    eImageBufferType _bufferType;
};

} // namespace velmo::image
