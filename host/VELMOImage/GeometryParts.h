// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/ImageEnums.h"

#include <map>
#include <string>

namespace velmo::image {

/// Whether an image is one plane or a volume, and of how many planes. 2d with one plane by default.
class VELMO_HOST_EXPORT VolumeGeometry {
  public:
    /// One plane.
    void init2d();
    /// A volume of `sizeZ` planes, also of one or none.
    void init3d(vlUInt64 sizeZ);
    /// A volume of one plane is 3d all the same.
    bool is2d() const { return _type == eVGT_2d; }
    /// @{
    /// As the last `init` set them.
    eVolumeGeometryType getVolumeGeometryType() const { return _type; }
    vlUInt64 getSizeZ() const { return _sizeZ; }
    /// @}

  private:
    eVolumeGeometryType _type = eVGT_2d;
    vlUInt64 _sizeZ = 1;
};

/// Whether an image is one time step or a sequence, and of how many. Single by default.
class VELMO_HOST_EXPORT TemporalGeometry {
  public:
    /// One time step.
    void initSingle();
    /// A sequence of `sizeT` time steps, also of one or none.
    void initSequence(vlUInt64 sizeT);
    /// @{
    /// As the last `init` set them.
    eTemporalGeometryType getTemporalGeometryType() const { return _type; }
    vlUInt64 getSizeT() const { return _sizeT; }
    /// @}

  private:
    eTemporalGeometryType _type = eTGT_Single;
    vlUInt64 _sizeT = 1;
};

/// What the channels of an image are. Number of channels by type:
///
/// | type                                                             | channels                      |
/// |------------------------------------------------------------------|-------------------------------|
/// | `eCGT_Grey`                                                      | 1                             |
/// | `eCGT_Rgb`                                                       | 3                             |
/// | `eCGT_Rgba`                                                      | 4                             |
/// | `eCGT_XYZ`, `YPbPr`, `YCbCr`, `CieLab`, `CieLuv`, `HLS`, `HSV`   | 3                             |
/// | `eCGT_User`                                                      | 1, or as `initUser` says      |
///
/// A value outside of the enumeration has 1. Grey by default, with 0 as black.
class VELMO_HOST_EXPORT ColorGeometry {
  public:
    /// @{
    /// Sets the type, and the channels as the table says; drops the names. What black is stays.
    void initGrey();
    void initRgb();
    void init(eColorGeometryType const& type);
    /// @}
    /// `eCGT_User` with `sizeC` channels.
    void initUser(vlUInt64 sizeC);

    /// @{
    /// As the last `init` set them.
    eColorGeometryType getColorGeometryType() const { return _type; }
    vlUInt64 getSizeC() const { return _sizeC; }
    /// @}
    /// False where the greatest value is black and 0 is white.
    bool minIsBlack() const { return _bMinIsBlack; }
    /// Says how values are to be shown; no pixel is changed.
    void setMinIsBlack(bool bMinIsBlack) { _bMinIsBlack = bMinIsBlack; }
    /// Throws VELMOImageException if there is no channel of that index (from 0).
    void setChannelName(std::string const& name, vlUInt64 index);
    /// Empty for a channel without a name.
    std::string getChannelName(vlUInt64 index) const;
    /// The names by channel index, of those that have one.
    std::map<vlUInt64, std::string> const& getChannelNames() const { return _channelNames; }

  private:
    void initChannels(eColorGeometryType type, vlUInt64 sizeC);

    eColorGeometryType _type = eCGT_Grey;
    vlUInt64 _sizeC = 1;
    bool _bMinIsBlack = true;
    std::map<vlUInt64, std::string> _channelNames;
};

/// One plane: rows from first to last, pixels of a row from first to last.
class VELMO_HOST_EXPORT ImagePlanGeometry {
  public:
    /// The product of the sizes must fit in 64 bits, also in bytes.
    ImagePlanGeometry(vlUInt64 sizeX, vlUInt64 sizeY, eImageBufferType bufferType)
        : _sizeX(sizeX), _sizeY(sizeY), _bufferType(bufferType) {}
    /// @{
    /// Pixels of a row, rows, pixels of the plane, and their type.
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
