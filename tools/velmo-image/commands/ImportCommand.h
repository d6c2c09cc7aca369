// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/Command.h"
#include "output/OutputOptions.h"

#include <ImportTiff.h>

namespace velmo::tool {

/// `velmo-image import`: a TIFF file of any kind as a file that the library reads.
class ImportCommand : public Command {
  public:
    explicit ImportCommand(CommandLine& line);
    eExitStatus run() const override;

  private:
    importer::ImportOptions parseOptions() const;
    void importFile(importer::ImportOptions const& options) const;
    void report(importer::ImportedTiff const& imported, std::vector<importer::OutputPart> const& parts) const;

    std::string _inputFile;
    OutputOptions _output;
    std::string _palette = "index";
    std::string _series;
    std::string _pages;
    std::string _axes;
    bool _bLossy = false;
    bool _bMinIsBlack = false;
    bool _bToRgb = false;
    bool _bJson = false;
};

} // namespace velmo::tool
