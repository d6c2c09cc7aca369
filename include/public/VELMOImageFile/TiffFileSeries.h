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

/// The files that a pattern selects: those that the loads of folders read, in their order, and what is
/// unusual about their numbers.
struct TiffFileSeries {
    /// A file whose name matches.
    struct File {
        boost::filesystem::path path;   ///< as `findTiffFiles` or `selectTiffFiles` gives it
        std::optional<vlUInt64> number; ///< read by "<INDEX>"; empty where the pattern does not have it
    };
    /// Numbers from `first` to `last`, both included.
    struct Gap {
        vlUInt64 first; ///< the lowest one
        vlUInt64 last;  ///< the highest one
    };

    /// What a load reads: in ascending order of the numbers, or of the paths where there are no numbers.
    std::vector<File> files;
    /// Matches that a load skips since an earlier match has the same number: in ascending order.
    std::vector<File> duplicates;
    /// Numbers between the lowest and the highest that no file has: in ascending order.
    std::vector<Gap> gaps;
};

/// Lists the files of a directory whose names match the patterns (FilePatternMatching.h describes the
/// language). Folders are skipped, symbolic links are followed, no file is opened. `path` is `directory` and
/// the name. Of files with equal numbers the first that the file system lists is read. The result is empty
/// where no file matches.
///
/// Throws boost::filesystem::filesystem_error where the directory cannot be listed, and what
/// testFilePatternMatching throws; the text of a boost::bad_lexical_cast names the file. Any number of calls
/// may run at once.
VELMO_IMAGE_FILE_EXPORT TiffFileSeries findTiffFiles(boost::filesystem::path const& directory,
                                                     std::string const& pattern);

/// Selects among names as `findTiffFiles` does among the files of a directory, without any access to a file
/// system. Each name is matched whole, with its slashes, and becomes `path`. Of names with equal numbers the
/// first one given is read.
VELMO_IMAGE_FILE_EXPORT TiffFileSeries selectTiffFiles(std::vector<std::string> const& names,
                                                       std::string const& pattern);

} // namespace velmo::image::file
