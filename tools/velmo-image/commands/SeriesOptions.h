// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/TiffImageFileTypes.h>
#include <boost/filesystem/path.hpp>

namespace velmo::tool {

class CommandOptions;
class OutputOptions;

/// The files of a directory that become one image, and the options that say how they are read.
class SeriesOptions {
  public:
    /// Adds the arguments DIRECTORY and PATTERN as well. The options write into this object, which must
    /// outlive the parsing.
    void addTo(CommandOptions& options);

    std::string const& getDirectory() const { return _directory; }
    std::string const& getPattern() const { return _pattern; }
    /// Throws WrongUse where the option has no such value.
    image::file::eTiffBufferMode getBufferMode() const;

    /// Throws where no file matches, where one of the files is the output, its header or an unfinished output
    /// of the tool, and where the output cannot be written. Duplicate and missing numbers are errors with
    /// --strict and warnings without it. An output that a later run would read as input is a warning.
    void check(OutputOptions const& output) const;
    /// Prints one warning about what the output lacks of all files.
    void warnOfDroppedParts(OutputOptions const& output) const;
    [[noreturn]] void failWithoutMatch() const;
    /// The suggestion to import the file that a message names, if it is one of the files and the library
    /// cannot read it; otherwise empty.
    std::string suggestImport(std::string const& message) const;

  private:
    void requireFinished(boost::filesystem::path const& file) const;
    bool isLaterFound(boost::filesystem::path const& outputFile) const;

    std::string _directory;
    std::string _pattern;
    std::string _pixels = "default";
    bool _bStrict = false;
};

} // namespace velmo::tool
