// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/TiffImageFile.h>

namespace velmo::image::file {

/// What an operation does where a file does not hold what it announces.
///
/// `Plain` keeps outcomes on which callers rely, successes without all pixels among them, and logs each as a
/// warning. `Strict` gives the pixels of the file or fails. `Tolerant` is as `Strict`, but sets to zero what
/// cannot be read and logs that as a warning. Every place where the three differ asks one of the questions
/// below.
enum class eTiffPolicy : unsigned char { Plain, Strict, Tolerant };

/// Whether the pixels of an interleaved strip that cannot be decoded are zero, in a read of one channel.
constexpr bool zeroesBrokenChannels(eTiffPolicy policy) {
    return policy != eTiffPolicy::Strict;
}

/// The same for all other strips and rows, and for planes of a stack that lie behind the end of the file.
constexpr bool zeroesBrokenStrips(eTiffPolicy policy) {
    return policy == eTiffPolicy::Tolerant;
}

/// Whether a part of an uncompressed strip whose byte count is wrong is a failure, although libtiff reads the
/// whole of it.
constexpr bool rejectsWrongByteCounts(eTiffPolicy policy) {
    return policy == eTiffPolicy::Plain;
}

/// Whether a file opens with the planes in front of the place where its chain of directories breaks off.
constexpr bool acceptsBrokenChain(eTiffPolicy policy) {
    return policy != eTiffPolicy::Strict;
}

/// Whether a description that announces another number of planes than there are directories makes the file a
/// stack of one directory, whose planes are read whole and as they lie in the file.
constexpr bool readsStacksAsStored(eTiffPolicy policy) {
    return policy == eTiffPolicy::Plain;
}

/// Whether directory numbers have 16 bits.
constexpr bool cutsDirectoryNumbers(eTiffPolicy policy) {
    return policy == eTiffPolicy::Plain;
}

/// Whether the first column of a run of packed pixels has 8 bits.
constexpr bool cutsPackedColumns(eTiffPolicy policy) {
    return policy == eTiffPolicy::Plain;
}

/// Whether a directory without BitsPerSample is refused; else it has 1 bit.
constexpr bool requiresBitsPerSample(eTiffPolicy policy) {
    return policy == eTiffPolicy::Plain;
}

/// Whether a missing file that an archive record names for reading and writing is made anew.
constexpr bool recreatesMissingFiles(eTiffPolicy policy) {
    return policy == eTiffPolicy::Plain;
}

/// Whether a step of a z-steps text that is no positive number counts, for the processor to refuse.
constexpr bool acceptsBadSteps(eTiffPolicy policy) {
    return policy == eTiffPolicy::Plain;
}

/// Whether a folder's image in memory is returned when not all of its pixels could be read.
constexpr bool acceptsUnfinishedCopy(eTiffPolicy policy) {
    return policy != eTiffPolicy::Strict;
}

/// Whether the text of an exception in a read through an accessor goes to the standard output as well.
constexpr bool printsExceptions(eTiffPolicy policy) {
    return policy == eTiffPolicy::Plain;
}

/// Whether libtiff's text for the calling thread is emptied at an opening, so that no text of an earlier file
/// becomes the reason of a failure.
constexpr bool clearsTiffText(eTiffPolicy policy) {
    return policy != eTiffPolicy::Plain;
}

} // namespace velmo::image::file
