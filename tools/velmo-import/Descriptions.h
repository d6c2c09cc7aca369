// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <array>
#include <optional>
#include <string>
#include <vector>

namespace velmo::importer {

/// Physical size of a pixel as a description states it; a part is empty if it is missing or not positive.
struct DescribedSize {
    std::optional<double> x;
    std::optional<double> y;
    std::optional<double> z;
    std::string unit;
};

/// How the pages of a file follow each other.
struct DescribedAxes {
    std::string order; ///< letters of 'z', 'c', 't', the fastest first
    vlUInt64 sizeZ = 1;
    vlUInt64 sizeC = 1;
    vlUInt64 sizeT = 1;

    vlUInt64 getSize(char axis) const { return axis == 'z' ? sizeZ : axis == 'c' ? sizeC : sizeT; }
    vlUInt64& accessSize(char axis) { return axis == 'z' ? sizeZ : axis == 'c' ? sizeC : sizeT; }
    /// The number of pages; empty if it overflows 64 bits.
    std::optional<vlUInt64> countPages() const;
};

/// A description of a stack by ImageJ, or by tifffile, which announces more planes than there may be
/// directories.
struct StackDescription {
    std::string program;               ///< "ImageJ" or "tifffile"
    vlUInt64 nbPlanes = 1;             ///< announced by ImageJ
    vlUInt64 nbValues = 0;             ///< announced by tifffile: samples of all planes
    std::optional<DescribedAxes> axes; ///< empty if the description does not name them
    DescribedSize size;
    bool bValueFunction = false; ///< ImageJ shows a function of the values, such as value - 32768
};

/// Parses the description of the first directory; empty if neither program wrote it.
std::optional<StackDescription> parseStackDescription(std::string const& description);

/// Which planes a block of directories holds.
struct OmeBlock {
    std::string fileName; ///< empty: the file itself
    std::string uuid;
    std::optional<vlUInt64> directory;
    std::optional<vlUInt64> nbPlanes;
    vlUInt64 firstZ = 0;
    vlUInt64 firstC = 0;
    vlUInt64 firstT = 0;
};

/// An image of OME-XML.
struct OmeImage {
    DescribedAxes axes; ///< sizeC counts all channels, those of one directory included
    vlUInt64 sizeX = 0;
    vlUInt64 sizeY = 0;
    vlUInt64 samples = 1; ///< channels of one directory
    DescribedSize size;
    std::vector<std::string> channelNames;
    std::vector<OmeBlock> blocks;
};

struct OmeDescription {
    std::string uuid;
    std::string metadataFile; ///< the file with the description, if it is not in this one
    std::vector<OmeImage> images;
};

/// Parses OME-XML; empty if the text is something else. Throws ImportException for OME-XML that is not
/// well-formed or lacks sizes.
std::optional<OmeDescription> parseOmeXml(std::string const& description);

} // namespace velmo::importer
