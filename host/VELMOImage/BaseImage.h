// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/GeometricCalibration.h"
#include "VELMOImage/ImageEnums.h"
#include "VELMOImage/ImageGeometry.h"
#include "VELMOUtil/BoolResult.h"

#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>
#include <string>

namespace velmo::image {

class BaseImage;
/// @{
/// Shared image; the last pointer frees it and closes its file. The second form is read-only.
using ImagePtr = boost::shared_ptr<BaseImage>;
using ImageConstPtr = boost::shared_ptr<BaseImage const>;
/// @}

/// An image: planes of pixels, in memory or elsewhere. Pixels are read and written in runs of one plane.
///
/// Threads may read and write different pixels of one image concurrently. All other operations need exclusive
/// access.
class VELMO_HOST_EXPORT BaseImage {
  public:
    virtual ~BaseImage();
    BaseImage(BaseImage const&) = delete;
    BaseImage& operator=(BaseImage const&) = delete;

    /// Sets the geometry and allocates zeroed pixels. Removes the former pixels, calibration and user
    /// properties. After a failure the image is unchanged. Fails for kinds of images that get their geometry
    /// at construction.
    virtual BoolResult init(BaseImageGeometry const& geometry);

    /// The geometry. Throws VELMOImageException if the image has none yet.
    BaseImageGeometry const& getGeometry() const;
    /// @{
    /// Values of the geometry; throws like `getGeometry`.
    eImageBufferType getBufferType() const;
    eTemporalGeometryType getTemporalGeometryType() const;
    /// @}

    /// @{
    /// Physical size of a pixel. May be null, and is not saved then. Shared; the image does not change it.
    bool hasGeometricCalibration() const { return _pCalibration != nullptr; }
    GeometricCalibrationConstPtr getGeometricCalibrationConstPtr() const { return _pCalibration; }
    void setGeometricCalibration(GeometricCalibrationConstPtr const& pCalibration) {
        _pCalibration = pCalibration;
    }
    /// @}
    /// @{
    /// A text for any use by the application. TIFF files store it. Must not contain zero bytes. Empty by
    /// default.
    std::string const& getUserPropertiesStr() const { return _userProperties; }
    void setUserPropertiesStr(std::string const& text) { _userProperties = text; }
    /// @}

    /// Whether pixels of the image are in that file, so that writing the file would change the image.
    virtual bool isStoredIn(boost::filesystem::path const& path) const;

    /// Whether the image must be copied to memory before it is saved plane by plane; and that copy, with
    /// calibration and user properties. Throws VELMOImageException if the copy fails.
    virtual bool requiresCpuCopy() const;
    /// Creates the copy. The image itself does not change.
    virtual ImageConstPtr createCpuCopy() const;

    /// Reads `nbPixels` pixels of one plane into `buffer`, from pixel `pixelStart` on: row y, column x is
    /// pixel y * sizeX + x. The buffer must have room for that many pixels of the plane's pixel type, which
    /// is not checked: PixelAccess.h has functions that check it. A run outside of the image is thrown as
    /// VELMOImageException.
    BoolResult readPixels(PlanIndexes const& plane, vlUInt64 pixelStart, vlUInt64 nbPixels,
                          void* buffer) const {
        return readPixels(plane.z, plane.c, plane.t, pixelStart, nbPixels, buffer);
    }
    /// The same with the indexes of the plane as separate arguments.
    BoolResult readPixels(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                          void* buffer) const;
    /// Writes pixels of one plane; the arguments are those of `readPixels`. After an error a part of the run
    /// may be written.
    BoolResult writePixels(PlanIndexes const& plane, vlUInt64 pixelStart, vlUInt64 nbPixels,
                           void const* buffer) {
        return writePixels(plane.z, plane.c, plane.t, pixelStart, nbPixels, buffer);
    }
    /// The same with the indexes of the plane as separate arguments.
    BoolResult writePixels(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                           void const* buffer);

    /// Throws VELMOImageException for a run outside the image.
    void requireInside(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels) const;

    /// The pixels of a plane if they are contiguous in the memory of this process, otherwise null. The image
    /// owns them; they are valid until its next `init`. Throws VELMOImageException for a plane outside the
    /// image.
    void* accessPlan(vlUInt64 z, vlUInt64 c, vlUInt64 t);
    /// Same, read-only.
    void const* accessPlan(vlUInt64 z, vlUInt64 c, vlUInt64 t) const;

  protected:
    BaseImage() = default;
    /// Stores a copy of the geometry and removes calibration and user properties. Pixels do not change.
    void setGeometry(BaseImageGeometry const& geometry);

  private:
    virtual BoolResult readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart,
                                         vlUInt64 nbPixels, void* buffer) const = 0;
    virtual BoolResult writePixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart,
                                          vlUInt64 nbPixels, void const* buffer) = 0;
    virtual void* accessPlanDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t) const;

    boost::shared_ptr<BaseImageGeometry const> _pGeometry;
    GeometricCalibrationConstPtr _pCalibration;
    std::string _userProperties;
};

} // namespace velmo::image
