// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/BaseImage.h>
#include <array>
#include <optional>
#include <pybind11/numpy.h>
#include <string>
#include <vector>

namespace velmo::python {

/// All properties of an image except its pixels. Immutable.
struct Description {
    boost::shared_ptr<image::BaseImageGeometry const> pGeometry;
    image::GeometricCalibrationConstPtr pCalibration; ///< may be null
    std::string userProperties;
};

/// The description of an image. Raises VelmoImageError if its planes have different number types, because a
/// numpy array has one. `path` names the file in that error.
Description describe(image::BaseImage const& image, std::string const& path);

/// The description of an array of the shape (T, C, Z, Y, X). `pixelType` and `color` are names of
/// PixelTypeNames.h; the color "user" has any number of channels. Throws std::invalid_argument for an unknown
/// name and for a number of channels that does not fit the color.
Description describeArray(std::array<vlUInt64, 5> const& shape, std::string const& pixelType,
                          std::string const& color);

/// A copy with other values. Those without a value are kept. `pixelSize` has the order (Y, X) or (Z, Y, X).
/// Throws std::invalid_argument for a unit of an image without pixel size, and for a number of names that is
/// not that of the channels.
Description changeDescription(Description const& description,
                              std::optional<std::vector<float>> const& pixelSize,
                              std::optional<std::string> const& unit,
                              std::optional<std::string> const& userProperties,
                              std::optional<std::vector<std::string>> const& channelNames);

/// Sizes in the order (T, C, Z, Y, X).
std::array<vlUInt64, 5> getShape(Description const& description);

/// The numpy type of the pixels.
pybind11::dtype getDtype(Description const& description);

/// Adds the class to the module.
void bindDescription(pybind11::module_& module);

} // namespace velmo::python
