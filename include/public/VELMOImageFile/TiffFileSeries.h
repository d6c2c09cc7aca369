// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/Export.h>
#include <VELMOUtil/Types.h>
#include <boost/filesystem/path.hpp>
#include <optional>
#include <string>
#include <vector>

namespace velmo::image::file {

/// The files that a pattern selects, in the order in which loads of folders read them, and the duplicate and
/// missing numbers.
struct TiffFileSeries {
    /// A file whose name matches.
    struct File {
        boost::filesystem::path path;   ///< see `findTiffFiles` and `selectTiffFiles`
        std::optional<vlUInt64> number; ///< matched by "<INDEX>"; empty if the pattern does not contain it
    };
    /// The missing numbers from `first` to `last`, both included.
    struct Gap {
        vlUInt64 first; ///< the lowest one
        vlUInt64 last;  ///< the highest one
    };

    /// The files that a load reads, in ascending order of their numbers; without numbers, of their paths.
    std::vector<File> files;
    /// Files that a load skips because an earlier file has the same number, in ascending order.
    std::vector<File> duplicates;
    /// Numbers between the lowest and the highest that no file has, in ascending order.
    std::vector<Gap> gaps;
};

/// Lists the files of a directory whose names match `pattern` (FilePatternMatching.h describes the patterns).
/// Subdirectories are skipped, symbolic links are followed, and no file is opened. `File::path` is
/// `directory` followed by the name. If several files have the same number, a load reads the one that the
/// file system lists first. The result is empty if no file matches.
///
/// Throws boost::filesystem::filesystem_error if the directory cannot be listed, and the exceptions of
/// testFilePatternMatching; the text of a boost::bad_lexical_cast names the file. Thread-safe.
VELMO_IMAGE_FILE_EXPORT TiffFileSeries findTiffFiles(boost::filesystem::path const& directory,
                                                     std::string const& pattern);

/// Selects from a list of names like `findTiffFiles`, without any access to a file system. The pattern must
/// match a complete name, including its slashes; `File::path` is the name. If several names have the same
/// number, the first one in the list is selected.
VELMO_IMAGE_FILE_EXPORT TiffFileSeries selectTiffFiles(std::vector<std::string> const& names,
                                                       std::string const& pattern);

} // namespace velmo::image::file
