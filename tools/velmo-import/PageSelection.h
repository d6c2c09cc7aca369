// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Descriptions.h"
#include "ImportPlan.h"
#include "PageList.h"

#include <optional>
#include <vector>

namespace velmo::importer {

/// A file and its directories.
struct ListedFile {
    InputFilePtr pFile;
    PageList list;
};

/// A page that is imported.
struct SelectedPage {
    std::size_t file;
    Page page;
    std::optional<vlUInt64> stackOffset; ///< of the first pixel of a plane in a single-directory stack
    vlUInt64 number;                     ///< of the directory or plane
};

/// The pages of one series, in the order t, c, z with z fastest once `axes` is applied.
struct PageSelection {
    std::vector<SelectedPage> pages;
    DescribedAxes axes; ///< the number of pages is that of `pages`
    DescribedSize size; ///< as the description states it
    std::vector<std::string> channelNames;
};

/// Selects the pages of a file by its descriptions and the options. Files of a set are added to `files`,
/// whose first one is the file. Throws ImportException.
PageSelection selectPages(std::vector<ListedFile>& files, ImportOptions const& options,
                          std::vector<ImportChange>& changes);

/// The same for a file with OME-XML.
PageSelection selectOmePages(std::vector<ListedFile>& files, OmeDescription const& ome,
                             ImportOptions const& options, std::vector<ImportChange>& changes);

/// Opens a file and reads its directories.
ListedFile listFile(boost::filesystem::path const& path);

/// "Z 5, C 2, T 3".
std::string describeAxes(DescribedAxes const& axes);

} // namespace velmo::importer
