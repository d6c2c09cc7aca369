// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/TiffImageFile.h>

namespace velmo::image::file {

/// Defines what an operation does if a file does not contain what it announces.
///
/// `Plain` keeps the behaviour on which callers rely, including successes without all pixels, and logs these
/// as warnings. `Strict` returns the pixels of the file or fails. `Tolerant` is like `Strict`, but sets
/// pixels that cannot be read to zero and logs this as a warning. Each difference between the three is one of
/// the functions below.
enum class eTiffPolicy : unsigned char { Plain, Strict, Tolerant };

/// Whether a read of one channel sets the pixels of an interleaved strip that cannot be decoded to zero.
constexpr bool zeroesBrokenChannels(eTiffPolicy policy) {
    return policy != eTiffPolicy::Strict;
}

/// The same for all other strips and rows, and for planes of a stack that are beyond the end of the file.
constexpr bool zeroesBrokenStrips(eTiffPolicy policy) {
    return policy == eTiffPolicy::Tolerant;
}

/// Whether a read of a part of an uncompressed strip with a wrong byte count fails, although libtiff can read
/// the whole strip.
constexpr bool rejectsWrongByteCounts(eTiffPolicy policy) {
    return policy == eTiffPolicy::Plain;
}

/// Whether a file with a broken chain of directories opens with the planes before the break.
constexpr bool acceptsBrokenChain(eTiffPolicy policy) {
    return policy != eTiffPolicy::Strict;
}

/// Whether a file is read as a single-directory stack if its description announces another number of planes
/// than there are directories. Planes of such a stack are read whole and not converted.
constexpr bool readsStacksAsStored(eTiffPolicy policy) {
    return policy == eTiffPolicy::Plain;
}

/// Whether directory numbers are cut to 16 bits.
constexpr bool cutsDirectoryNumbers(eTiffPolicy policy) {
    return policy == eTiffPolicy::Plain;
}

/// Whether the first column of a run of 1-bit samples is cut to 8 bits.
constexpr bool cutsPackedColumns(eTiffPolicy policy) {
    return policy == eTiffPolicy::Plain;
}

/// Whether a directory without BitsPerSample is rejected. Otherwise it has 1 bit for each sample.
constexpr bool requiresBitsPerSample(eTiffPolicy policy) {
    return policy == eTiffPolicy::Plain;
}

/// Whether a missing file of an archive record for reading and writing is created.
constexpr bool recreatesMissingFiles(eTiffPolicy policy) {
    return policy == eTiffPolicy::Plain;
}

/// Whether a line of a z-steps text that is not a positive number is accepted and later rejected by the
/// processor.
constexpr bool acceptsBadSteps(eTiffPolicy policy) {
    return policy == eTiffPolicy::Plain;
}

/// Whether the image of a folder in memory is returned if not all of its pixels could be read.
constexpr bool acceptsUnfinishedCopy(eTiffPolicy policy) {
    return policy != eTiffPolicy::Strict;
}

/// Whether the text of an exception in a read of an accessor is also printed to the standard output.
constexpr bool printsExceptions(eTiffPolicy policy) {
    return policy == eTiffPolicy::Plain;
}

/// Whether an accessor that is open for reading has a handle for each thread. Otherwise its threads wait for
/// each other.
constexpr bool readsInParallel(eTiffPolicy policy) {
    return policy != eTiffPolicy::Plain;
}

/// Whether a save reads all channels of a page on disk at once. Otherwise it reads one plane after the other.
constexpr bool readsPagesAtOnce(eTiffPolicy policy) {
    return policy != eTiffPolicy::Plain;
}

/// Whether a read may use the directory and the decoded pixels of the read before it. Otherwise each read
/// takes them from the file again. What a broken strip leaves in the pixels depends on where libtiff began to
/// decode, so that only reads that fail for such a strip may begin elsewhere.
constexpr bool reusesLastRead(eTiffPolicy policy) {
    return policy == eTiffPolicy::Strict;
}

/// Whether an opening clears libtiff's text of the calling thread, so that the text of an earlier file cannot
/// become the reason of an error.
constexpr bool clearsTiffText(eTiffPolicy policy) {
    return policy != eTiffPolicy::Plain;
}

} // namespace velmo::image::file
