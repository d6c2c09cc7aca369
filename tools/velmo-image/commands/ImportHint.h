// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/FileFormat.h"
#include "terminal/Failure.h"

#include <boost/filesystem/path.hpp>
#include <string>
#include <vector>

namespace velmo::tool {

/// The command line that imports a TIFF file, such as "velmo-image import a.tif a-imported.tif". For the
/// standard input, which `import` does not read, it has FILE in place of a name.
std::string getImportLine(boost::filesystem::path const& file, std::string const& options);

/// `separator` and the command line that imports a TIFF file which the library cannot read; empty for a file
/// that it can read, and for one that cannot be imported either.
std::string suggestImport(boost::filesystem::path const& file,
                          std::string const& separator = "\nTo import it: ");

/// The warning that the planes of a hyperstack are read along one axis, with the command line that keeps the
/// axes; empty for other files.
std::vector<std::string> findFlattenedWarnings(boost::filesystem::path const& file);

/// Does work on a file. The text of a failure with a TIFF file ends with the suggestion to import it.
template <class Work>
auto withImportHint(boost::filesystem::path const& file, eFileFormat format, Work const& work) {
    std::string text;
    try {
        return work();
    } catch (BaseException const& failure) {
        text = getFullText(failure);
    } catch (WorkFailure const& failure) {
        text = failure.what();
    }
    throw WorkFailure(text + (format == eFileFormat::Tiff ? suggestImport(file) : std::string()));
}

} // namespace velmo::tool
