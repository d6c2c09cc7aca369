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
/// A shared image; the last pointer frees it, and closes its file. The second form reads alone.
using ImagePtr = boost::shared_ptr<BaseImage>;
using ImageConstPtr = boost::shared_ptr<BaseImage const>;
/// @}

/// An image: planes of pixels, wherever they lie, reached by runs of pixels of one plane.
///
/// Different threads may read and write different pixels of one image at once; everything else needs
/// exclusive use.
class VELMO_HOST_EXPORT BaseImage {
  public:
    virtual ~BaseImage();
    BaseImage(BaseImage const&) = delete;
    BaseImage& operator=(BaseImage const&) = delete;

    /// Gives the image a geometry and room for its pixels, all zero; what it held is gone, its calibration
    /// and its user properties too. A failure leaves the image as it was. Kinds of image that take their
    /// geometry at construction refuse.
    virtual BoolResult init(BaseImageGeometry const& geometry);

    /// Throws VELMOImageException as long as the image has no geometry.
    BaseImageGeometry const& getGeometry() const;
    /// @{
    /// Those of the geometry; throws as `getGeometry`.
    eImageBufferType getBufferType() const;
    eTemporalGeometryType getTemporalGeometryType() const;
    /// @}

    /// @{
    /// Physical size of a pixel; may be empty, and is then not saved. Shared, and not changed by the image.
    bool hasGeometricCalibration() const { return _pCalibration != nullptr; }
    GeometricCalibrationConstPtr getGeometricCalibrationConstPtr() const { return _pCalibration; }
    void setGeometricCalibration(GeometricCalibrationConstPtr const& pCalibration) {
        _pCalibration = pCalibration;
    }
    /// @}
    /// @{
    /// A text of the application, which TIFF files keep; without zero bytes. Empty unless it is set.
    std::string const& getUserPropertiesStr() const { return _userProperties; }
    void setUserPropertiesStr(std::string const& text) { _userProperties = text; }
    /// @}

    /// Whether pixels of the image lie in that file, so that writing the file would change the image.
    virtual bool isStoredIn(boost::filesystem::path const& path) const;

    /// Whether the image must be replaced by a copy in memory before it is saved plane by plane, and that
    /// copy, with calibration and user properties. The copy is thrown as VELMOImageException where it fails.
    virtual bool requiresCpuCopy() const;
    /// A new image in memory that the caller owns; the image itself is not touched.
    virtual ImageConstPtr createCpuCopy() const;

    /// Reads `nbPixels` pixels of one plane into `buffer`, from pixel `pixelStart` on: row y, column x is
    /// pixel y * sizeX + x. The buffer must have room for that many pixels of the plane's pixel type, which
    /// is not checked: PixelAccess.h has functions that check it. A run outside of the image is thrown as
    /// VELMOImageException.
    BoolResult readPixels(PlanIndexes const& plane, vlUInt64 pixelStart, vlUInt64 nbPixels,
                          void* buffer) const {
        return readPixels(plane.z, plane.c, plane.t, pixelStart, nbPixels, buffer);
    }
    /// The same with the indexes of the plane one by one.
    BoolResult readPixels(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                          void* buffer) const;
    /// Writes pixels of one plane; otherwise as `readPixels`. An error may leave the run written in part.
    BoolResult writePixels(PlanIndexes const& plane, vlUInt64 pixelStart, vlUInt64 nbPixels,
                           void const* buffer) {
        return writePixels(plane.z, plane.c, plane.t, pixelStart, nbPixels, buffer);
    }
    /// The same with the indexes of the plane one by one.
    BoolResult writePixels(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                           void const* buffer);

    /// Throws VELMOImageException for a run outside of the image.
    void requireInside(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels) const;

    /// The pixels of a plane where they lie one after the other in this process's memory, else null. Owned by
    /// the image, valid until its next `init`. Throws VELMOImageException for a plane outside of the image.
    void* accessPlan(vlUInt64 z, vlUInt64 c, vlUInt64 t);
    /// The same for reading.
    void const* accessPlan(vlUInt64 z, vlUInt64 c, vlUInt64 t) const;

  protected:
    BaseImage() = default;
    /// Keeps a copy, and drops the calibration and the user properties, which described another image. Pixels
    /// are not touched.
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
