// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/CopyableObject.h"

#include <array>
#include <boost/shared_ptr.hpp>

namespace velmo::image {

/// Physical size of a pixel: along X, Y and, in 3d, Z in a named unit, and further terms of the
/// calibration that are kept as they are.
class VELMO_HOST_EXPORT GeometricCalibration
    : public CopyableObject<GeometricCalibration, BaseSerializationObject> {
  public:
    /// The name under which archives and the object factory know the class.
    static std::string const& getTypeName();

    /// Two dimensions, pixel size 1 and no unit.
    GeometricCalibration() = default;

    /// @{
    /// Replaces everything. Sizes are those of one pixel in `unit`, which may be any text; no value is
    /// checked.
    void init2d(float sizeX, float sizeY, std::string const& unit, float first, float second, float third,
                float fourth, float fifth);
    void init3d(float sizeX, float sizeY, float sizeZ, std::string const& unit, float first, float second,
                float third, float fourth, float fifth, float sixth, float seventh);
    /// @}

    /// Whether Z has a size.
    bool is3d() const { return _b3d; }
    /// @{
    /// In the unit; 1 unless set.
    float getPixelSizeX() const { return _sizeX; }
    float getPixelSizeY() const { return _sizeY; }
    /// @}
    /// 1 in two dimensions.
    float getPixelSizeZ() const { return _sizeZ; }
    /// As given: "um", "inch", "cm" or any other text; empty where none is known.
    std::string const& getUnit() const { return _unit; }
    /// In the order of the init operations; in two dimensions the last two are 0.
    std::array<float, 7> const& getFurtherTerms() const { return _furtherTerms; }

    /// @{
    /// All of it, to the bit.
    BoolResult write(BaseOArchive& archive) const override;
    BoolResult read(BaseIArchive& archive) override;
    /// @}

  private:
    bool _b3d = false;
    float _sizeX = 1.0F;
    float _sizeY = 1.0F;
    float _sizeZ = 1.0F;
    std::string _unit;
    std::array<float, 7> _furtherTerms{};
};

/// @{
/// A shared calibration; images and accessors hold the second form and do not change it.
using GeometricCalibrationPtr = boost::shared_ptr<GeometricCalibration>;
using GeometricCalibrationConstPtr = boost::shared_ptr<GeometricCalibration const>;
/// @}

/// A new calibration with the arguments of `GeometricCalibration::init2d`.
VELMO_HOST_EXPORT GeometricCalibrationPtr createGeometricCalibration2d(float sizeX, float sizeY,
                                                                       std::string const& unit, float first,
                                                                       float second, float third,
                                                                       float fourth, float fifth);

} // namespace velmo::image
