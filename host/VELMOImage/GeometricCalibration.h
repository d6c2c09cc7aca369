// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/CopyableObject.h"

#include <array>
#include <boost/shared_ptr.hpp>

namespace velmo::image {

/// Physical size of a pixel along X, Y and, in 3d, Z, in a named unit, and further terms that are stored
/// unchanged.
class VELMO_HOST_EXPORT GeometricCalibration
    : public CopyableObject<GeometricCalibration, BaseSerializationObject> {
  public:
    /// Name of the class in archives and in the object factory.
    static std::string const& getTypeName();

    /// Two dimensions, pixel size 1, no unit.
    GeometricCalibration() = default;

    /// @{
    /// Replaces all values. Sizes are those of one pixel in `unit`, which may be any text. Values are not
    /// checked.
    void init2d(float sizeX, float sizeY, std::string const& unit, float first, float second, float third,
                float fourth, float fifth);
    void init3d(float sizeX, float sizeY, float sizeZ, std::string const& unit, float first, float second,
                float third, float fourth, float fifth, float sixth, float seventh);
    /// @}

    /// Whether the calibration has a size along Z.
    bool is3d() const { return _b3d; }
    /// @{
    /// Size of a pixel in the unit; 1 by default.
    float getPixelSizeX() const { return _sizeX; }
    float getPixelSizeY() const { return _sizeY; }
    /// @}
    /// Size along Z in the unit; 1 in two dimensions.
    float getPixelSizeZ() const { return _sizeZ; }
    /// Name of the unit: "um", "inch", "cm" or any other text; empty if unknown.
    std::string const& getUnit() const { return _unit; }
    /// The further terms in the order of the init operations; in two dimensions the last two are 0.
    std::array<float, 7> const& getFurtherTerms() const { return _furtherTerms; }

    /// @{
    /// Store and restore all values, bit-exact.
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
/// Shared calibration. Images and accessors hold the const form.
using GeometricCalibrationPtr = boost::shared_ptr<GeometricCalibration>;
using GeometricCalibrationConstPtr = boost::shared_ptr<GeometricCalibration const>;
/// @}

/// Creates a calibration with the arguments of `GeometricCalibration::init2d`.
VELMO_HOST_EXPORT GeometricCalibrationPtr createGeometricCalibration2d(float sizeX, float sizeY,
                                                                       std::string const& unit, float first,
                                                                       float second, float third,
                                                                       float fourth, float fifth);

} // namespace velmo::image
