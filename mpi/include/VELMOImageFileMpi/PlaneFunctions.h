// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DistributedImage.h>
#include <VELMOImageFileMpi/Export.h>
#include <functional>
#include <string>
#include <vector>

namespace velmo::image::mpi {

/// A plane in the memory of the rank that holds it.
struct PlaneMemory {
    /// Indexes of the plane.
    PlanIndexes indexes;
    /// Sizes and pixel type.
    ImagePlanGeometry geometry;
    /// The pixels, row by row. The function may change them.
    void* pPixels;
};

/// Work on one plane. Returns a result for the caller of `forEachPlane`, in any form. Exceptions become the
/// failure of the call.
using PlaneFunction = std::function<std::string(PlaneMemory const& plane, std::string const& argument)>;

/// Registers a function under a name, and replaces an earlier one. All ranks must register it before
/// `MpiSession::serve`. Thread-safe.
VELMO_MPI_EXPORT void registerPlaneFunction(std::string const& name, PlaneFunction function);

/// Calls a registered function for each plane of an image, on the rank that holds the plane: all ranks at
/// once, each for one plane after the other. No pixels are moved. Also works without MPI.
///
/// Returns the results in the order of the planes (t, c, z; t outermost). Throws the exception of the
/// function, or BaseException if the name is not registered or the results of a block are larger than 64 MiB.
/// After an error some planes may be changed.
VELMO_MPI_EXPORT std::vector<std::string> forEachPlane(DistributedImage& image, std::string const& name,
                                                       std::string const& argument = std::string());

} // namespace velmo::image::mpi
