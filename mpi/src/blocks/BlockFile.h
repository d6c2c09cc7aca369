// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DistributionEngine.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/GuardedRaise.h>
#include <string>

namespace velmo::image::mpi {

/// The errors of saves: those of the module.
extern RaiseKind const g_saveRaise;

/// A part of a file that already has its size.
struct FilePart {
    std::string path;
    vlUInt64 offset; ///< of the first byte to write
    vlUInt64 fileSize;
};

/// Writes the bytes of a block into a file. Fails if the file does not exist or has another size: it is then
/// not the file of the driver. Returns after the close, so that errors that the system reports late are not
/// missed.
BoolResult writeBlockToFile(BaseImageGeometry const& geometry, PlanBlock const& block,
                            BlockMemory const& memory, FilePart const& part);

} // namespace velmo::image::mpi
