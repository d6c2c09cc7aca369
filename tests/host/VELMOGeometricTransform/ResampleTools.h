// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "GeometryBuilder.h"
#include "VELMOAttributes/ResampleAttributes.h"
#include "VELMOBaseProcessing/BaseProcessor.h"
#include "VELMOGeometricTransform/ResampleCustomZStack3dImgLvl1.h"

#include <vector>

namespace velmo::test {

using imaproc::attr::eInterpolationPolicy;

constexpr eInterpolationPolicy g_policies[] = {imaproc::attr::eIP_Nearest, imaproc::attr::eIP_Linear,
                                               imaproc::attr::eIP_Cubic};

imaproc::attr::ZStepsConstPtr makeZSteps(std::vector<float> const& values);

/// A processor with all its values.
struct Resampling {
    Resampling(image::ImageConstPtr const& pSource, std::vector<float> const& steps,
               eInterpolationPolicy policy, unsigned long sizeZ);
    imaproc::gtrans::ResampleCustomZStack3dImgLvl1 processor;
};

/// The result of a resampling; a failure is thrown.
image::ImagePtr resample(image::ImageConstPtr const& pSource, std::vector<float> const& steps,
                         eInterpolationPolicy policy, unsigned long sizeZ);

/// One value of a pixel along z.
using Column = std::vector<double>;

/// A volume in memory of one pixel a plane.
image::ImagePtr makeColumn(image::eImageBufferType type, Column const& values);
/// A memory image of any geometry with pixels of all values of its types, the same ones on each call.
image::ImagePtr makeNoise(image::BaseImageGeometry const& geometry);

double getPixel(image::BaseImage const& image, vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixel);
void setPixel(image::BaseImage& image, vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixel, double value);
Column getColumn(image::BaseImage const& image, vlUInt64 c = 0, vlUInt64 t = 0, vlUInt64 pixel = 0);

/// The plain way from a column to its resampled one: no rounding, no limits of a type.
Column resampleColumn(Column const& values, std::vector<float> const& steps, eInterpolationPolicy policy,
                      vlUInt64 sizeZ);

/// The smallest and the largest value of an integer type.
struct Range {
    double lowest;
    double highest;
};
Range getRange(image::eImageBufferType type);

} // namespace velmo::test
