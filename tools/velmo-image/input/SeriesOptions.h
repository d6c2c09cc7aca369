// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/FileSeries.h"

#include <VELMOImageFile/TiffImageFileTypes.h>

namespace CLI {
class App;
}

namespace velmo::tool {

class OutputOptions;

/// The files of a directory that become one image, and the options that say how they are read.
class SeriesOptions {
  public:
    /// Adds the positionals DIRECTORY and PATTERN as well. The options write into this object, which must
    /// outlive the parsing.
    void addTo(CLI::App& app);

    std::string const& getDirectory() const { return _directory; }
    std::string const& getPattern() const { return _pattern; }
    /// Throws WrongUse where the option has no such value.
    image::file::eTiffBufferMode getBufferMode() const;

    /// Throws where no file matches, where the output, its header or a file that a run of the tool has not
    /// finished is one of the files, where the output cannot be written, and for equal and missing numbers if
    /// that was asked for; else these are warnings, as is an output that would be found with the files.
    void check(OutputOptions const& output) const;
    [[noreturn]] void failWithoutMatch() const;

  private:
    void requireFinished(std::string const& name) const;
    bool isLaterFound(boost::filesystem::path const& outputFile) const;

    std::string _directory;
    std::string _pattern;
    std::string _pixels = "default";
    bool _bStrict = false;
};

} // namespace velmo::tool
