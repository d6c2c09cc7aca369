// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/Command.h"
#include "commands/PreviewInput.h"

namespace velmo::tool {

/// `velmo-image preview`: planes of an image as a PNG picture or as an HTML page.
class PreviewCommand : public Command {
  public:
    explicit PreviewCommand(CommandLine& line);
    eExitStatus run() const override;

  private:
    void addOptions();
    CommandOption addValue(std::string const& name, std::string& value, std::string const& description);
    /// Whether the output is a page, by its extension.
    bool isPage() const;
    PreviewChoice readChoice() const;
    void check() const;
    PlaneRun select(image::BaseImageGeometry const& geometry, PreviewChoice const& choice) const;
    void writePicture(InputImage const& input, PreviewChoice const& choice) const;
    void writePage(InputImage const& input, PreviewChoice const& choice) const;

    std::vector<std::pair<CommandOption, std::string const*>>
        _values; ///< options that are empty if not given
    InputOptions _input;
    std::string _inputFile;
    std::string _outputFile;
    std::string _z;
    std::string _c;
    std::string _t;
    std::string _step;
    std::string _columns;
    std::string _projection;
    std::string _maxSize;
    std::string _maxBytes;
    std::string _range;
    bool _bMontage = false;
    bool _bOverwrite = false;
    bool _bQuiet = false;
};

} // namespace velmo::tool
