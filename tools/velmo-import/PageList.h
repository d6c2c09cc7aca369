// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ImportTiff.h"
#include "PageDescription.h"

#include <vector>

namespace velmo::importer {

/// What the resolution tags of a directory say.
struct PageResolution {
    float x;
    float y;
    std::uint16_t unit;
};

/// The directories of a file: those of its chain. Directories below others are only counted, unless no
/// directory of the chain is a page.
struct PageList {
    std::vector<PageShape> shapes; ///< each once
    std::vector<Page> pages;       ///< all directories, in the order of the chain
    vlUInt64 nbSubDirectories = 0; ///< directories below others that are not in `pages`
    bool bFromSubDirectories = false;

    // Of the first directory.
    std::string description;
    bool bMetaMorph = false; ///< a stack of which libtiff sees one plane
    bool bBigEndian = false; ///< the byte order of the file
    bool bIccProfile = false;
    std::string noData; ///< GDAL: value of pixels without data

    std::vector<std::string> warnings; ///< of libtiff, about the directories
    bool bIncompleteTable = false;     ///< a table of tiles or strips has another length than their number

    PageShape const& getShape(Page const& page) const { return shapes[page.shape]; }
};

/// Reads all directories. Throws ImportException if one cannot be read, if the chain is broken or runs in a
/// circle, and if a directory has no pixels.
PageList readPages(TiffHandle& handle);

/// Whether this library wrote the current directory, the first one of a file.
bool isOwnDirectory(TiffHandle const& handle);

/// The resolution of the current directory; empty if it has none.
std::optional<PageResolution> readResolution(TiffHandle const& handle);

/// Groups pages by size and kind of pixels, in the order of their first pages. Skips reduced pages and masks,
/// unless there are no others.
std::vector<ImportSeries> groupPages(PageList const& list, std::vector<std::size_t> const& pages);

/// Indexes of the pages of a file that are neither reduced nor masks; all of them if there are no others.
/// With `range` only those of these directories.
std::vector<std::size_t> findFullPages(PageList const& list, std::optional<PageRange> const& range);

} // namespace velmo::importer
