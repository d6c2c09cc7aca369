// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/GeometricCalibration.h"
#include "VELMOImage/ImageEnums.h"
#include "VELMOSerialization/BaseSerializationObject.h"

#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>

namespace velmo::image {

class BaseImageGeometry;

/// Access to the pixels of an image that are not in memory. `readRawData` and `writeRawData` are called from
/// several threads concurrently; all other changes need exclusive access.
class VELMO_HOST_EXPORT BaseImageAccessor : public BaseSerializationObject {
  public:
    /// Whether binary pixels are exchanged as one byte each and not as packed bits. A disk image of binary
    /// pixels requires it.
    virtual bool hasBinary8BitsStorage() const = 0;
    /// Text with class, sizes and pixel type.
    virtual std::string getImageInfoStr() const;
    /// Reserves space for the pixels of a geometry. `getGeometry` does not change.
    virtual BoolResult resizeData(BaseImageGeometry const& geometry) = 0;
    /// Reads `nbPixels` pixels of one plane in row-major order, from pixel `pixelStartOffset`, to a buffer of
    /// that many pixels.
    virtual BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                   vlUInt64 nbPixels, void* buffer) const = 0;
    /// Writes pixels; see `readRawData`. A failed write may have written a part of the run.
    virtual BoolResult writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                    vlUInt64 nbPixels, void const* buffer) = 0;
    /// Releases the state of the derived class.
    virtual void clearDerived() = 0;

    /// Releases all state: that of the derived class, then that of the base.
    void clear();
    /// Whether the accessor is initialised.
    bool isInit() const { return _bInit; }
    /// The geometry. Throws VELMOImageException if the accessor is not initialised.
    BaseImageGeometry const& getGeometry() const;
    /// The calibration; may be null.
    GeometricCalibrationConstPtr getGeometricCalibrationConstPtr() const { return _pCalibration; }

  protected:
    BaseImageAccessor() = default;
    /// Stores a copy of the geometry and the shared calibration, and marks the accessor as initialised.
    void initImage(BaseImageGeometry const& geometry, GeometricCalibrationConstPtr const& pCalibration);
    /// Releases the state of the base, not that of the derived class.
    virtual void clearBase();

  private:
    boost::shared_ptr<BaseImageGeometry const> _pGeometry;
    GeometricCalibrationConstPtr _pCalibration;
    bool _bInit = false;
};

/// An accessor to a file.
class VELMO_HOST_EXPORT BaseDiskImageAccessor : public BaseImageAccessor {
  public:
    /// The path as given; empty without a file.
    boost::filesystem::path const& getFilePath() const { return _path; }
    /// The access mode; read-only without a file.
    eImageAccessMode getAccessMode() const { return _accessMode; }
    /// Whether other processes open the same file. Does not change how the file is accessed.
    bool hasSharedRemoteAccess() const { return _bSharedRemote; }
    /// Whether pixels are in that file. Another path of the same file, such as a link, gives the same result.
    virtual bool isStoredIn(boost::filesystem::path const& path) const;

    /// Whether an archive can restore the accessor in this process: its class is registered with
    /// DynamicObjectFactory.
    virtual bool canBeRebuilt() const;

    /// Store and restore the initialised flag and, if it is set, path, access mode, shared-remote flag,
    /// geometry and calibration.
    BoolResult write(BaseOArchive& archive) const override;
    BoolResult read(BaseIArchive& archive) override;

  protected:
    BaseDiskImageAccessor() = default;
    /// Stores the arguments and marks the accessor as initialised. Arguments may refer to state of the object
    /// itself.
    void initBase(boost::filesystem::path const& path, eImageAccessMode const& accessMode,
                  BaseImageGeometry const& geometry, GeometricCalibrationConstPtr const& calibration,
                  bool sharedRemote);
    /// Also releases path and access mode.
    void clearBase() override;

  private:
    boost::filesystem::path _path;
    eImageAccessMode _accessMode = eIAM_ReadOnly;
    bool _bSharedRemote = false;
};

} // namespace velmo::image
