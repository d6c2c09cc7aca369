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

/// The bridge between an image and pixels that lie outside of memory. `readRawData` and `writeRawData` are
/// called from many threads at once; every other change needs exclusive use of the object.
class VELMO_HOST_EXPORT BaseImageAccessor : public BaseSerializationObject {
  public:
    /// Whether binary pixels are exchanged as one byte each, not as packed bits. Only the former make a disk
    /// image.
    virtual bool hasBinary8BitsStorage() const = 0;
    /// A description in words: class, sizes, pixel type.
    virtual std::string getImageInfoStr() const;
    /// Gives the pixels room for a geometry. The geometry that the accessor answers with is not touched.
    virtual BoolResult resizeData(BaseImageGeometry const& geometry) = 0;
    /// Reads `nbPixels` pixels of one plane from pixel `pixelStartOffset` on, in row-major order, into a
    /// buffer of that many pixels.
    virtual BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                   vlUInt64 nbPixels, void* buffer) const = 0;
    /// As `readRawData`, from a buffer that is not changed. A failure may leave the run written in part.
    virtual BoolResult writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                    vlUInt64 nbPixels, void const* buffer) = 0;
    /// Drops what the subclass holds.
    virtual void clearDerived() = 0;

    /// Drops everything: what the subclass holds, then the state of the base.
    void clear();
    /// Whether there are a geometry and pixels behind it.
    bool isInit() const { return _bInit; }
    /// Throws VELMOImageException as long as the accessor is not initialised.
    BaseImageGeometry const& getGeometry() const;
    /// May be empty.
    GeometricCalibrationConstPtr getGeometricCalibrationConstPtr() const { return _pCalibration; }

  protected:
    BaseImageAccessor() = default;
    /// Keeps both by value or shared, and marks the accessor as initialised.
    void initImage(BaseImageGeometry const& geometry, GeometricCalibrationConstPtr const& pCalibration);
    /// Drops the state of the base, not that of the subclass.
    virtual void clearBase();

  private:
    boost::shared_ptr<BaseImageGeometry const> _pGeometry;
    GeometricCalibrationConstPtr _pCalibration;
    bool _bInit = false;
};

/// An accessor of a file.
class VELMO_HOST_EXPORT BaseDiskImageAccessor : public BaseImageAccessor {
  public:
    /// As it was given; empty without a file.
    boost::filesystem::path const& getFilePath() const { return _path; }
    /// Reading alone without a file.
    eImageAccessMode getAccessMode() const { return _accessMode; }
    /// Whether other processes are to open the same file; accesses are the same either way.
    bool hasSharedRemoteAccess() const { return _bSharedRemote; }
    /// Whether pixels lie in that file, by whatever path it is named.
    virtual bool isStoredIn(boost::filesystem::path const& path) const;

    /// Whether an archive can rebuild the accessor from its record in this process: its class is registered
    /// with DynamicObjectFactory.
    virtual bool canBeRebuilt() const;

    /// Whether the accessor is initialised and, if so, path, access mode, shared-remote flag, geometry and
    /// calibration.
    BoolResult write(BaseOArchive& archive) const override;
    BoolResult read(BaseIArchive& archive) override;

  protected:
    BaseDiskImageAccessor() = default;
    /// Stores the five, by value, and marks the accessor as initialised. The arguments may be what the object
    /// holds.
    void initBase(boost::filesystem::path const& path, eImageAccessMode const& accessMode,
                  BaseImageGeometry const& geometry, GeometricCalibrationConstPtr const& calibration,
                  bool sharedRemote);
    /// Drops path and mode as well.
    void clearBase() override;

  private:
    boost::filesystem::path _path;
    eImageAccessMode _accessMode = eIAM_ReadOnly;
    bool _bSharedRemote = false;
};

} // namespace velmo::image
