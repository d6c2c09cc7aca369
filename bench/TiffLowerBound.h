// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>

#include <cstddef>
#include <string>

namespace velmo::bench {

// The time that a loop over libtiff needs: the lower bound of the TIFF benchmarks. This code shares nothing
// with the measured code. Errors are thrown as std::runtime_error.

/// Planes of 16 bits in memory, one after the other.
struct PlanesOf16Bits {
    std::byte const* pPixels;
    vlUInt64 sizeX;
    vlUInt64 sizeY;
    vlUInt64 nbPlanes;
    vlUInt64 nbSamples = 1;

    vlUInt64 getPlaneBytes() const { return sizeX * sizeY * nbSamples * 2; }
};

/// Writes a file with one directory for each plane, in strips of about 8 KiB, each strip once.
void saveByLibtiff(std::string const& path, PlanesOf16Bits const& planes, int compression);

/// Writes one directory with an ImageJ description that announces all planes. The planes follow the first one
/// in the file.
void saveAsImageJStack(std::string const& path, PlanesOf16Bits const& planes);

/// Reads every directory, strip by strip, into an array of `nbBytes`. Returns the number of bytes read.
vlUInt64 readByLibtiff(std::string const& path, std::byte* pPixels, vlUInt64 nbBytes);

/// Seconds to read every directory, strip by strip, into a fresh array of `nbBytes`.
double timeLibtiffLoad(std::string const& path, vlUInt64 nbBytes);

} // namespace velmo::bench
