// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFileMpi/PlaneFunctions.h>
#include <string>
#include <vector>

namespace velmo::mpi_tool {

/// Registers the functions of the program: "invert", "threshold", "scale" and "statistics".
void registerPixelWork();

/// Whether `text` is NAME or NAME=ARGUMENT of a function for `--apply`; otherwise `reason` describes valid
/// ones.
bool isPixelWork(std::string const& text, std::string& reason);

/// Applies NAME or NAME=ARGUMENT to all planes, where they are.
void applyPixelWork(image::DistributedImage& image, std::string const& text);

/// Smallest, largest and mean value of a volume. Pixels that are not a number are left out; without any other
/// pixel all three are not a number.
struct VolumeStatistics {
    vlUInt64 c;
    vlUInt64 t;
    double min;
    double max;
    double mean;
};

/// Calculates them where the planes are, for each channel of each time step.
std::vector<VolumeStatistics> collectStatistics(image::DistributedImage& image);

} // namespace velmo::mpi_tool
