// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/Command.h"
#include "commands/StatsReport.h"
#include "commands/WorkOptions.h"
#include "input/InputImage.h"

namespace velmo::tool {

/// `velmo-image stats`: statistics of the pixels of image files.
class StatsCommand : public Command {
  public:
    explicit StatsCommand(CommandLine& line);
    eExitStatus run() const override;

  private:
    /// Without a grouping, which depends on the image.
    StatisticsRequest createRequest() const;
    MeasuredFile measure(std::string const& file, InputDescription const& description,
                         StatisticsRequest request) const;

    InputOptions _input;
    WorkOptions _work;
    std::vector<std::string> _files;
    std::string _grouping;
    std::string _percentiles = "1,5,25,50,75,95,99";
    std::string _nbHistogramParts;
    bool _bJson = false;
    bool _bCsv = false;
};

} // namespace velmo::tool
