// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "terminal/CommandOptions.h"

#include <VELMOUtil/Types.h>

namespace velmo::tool {

/// --threads and --quiet of commands that write no image.
class WorkOptions {
  public:
    /// `what` names in the description of --threads what is counted. The options write into this object,
    /// which must outlive the parsing.
    void addTo(CommandOptions& options, std::string const& what);

    /// Throws WrongUse for a number that is not possible.
    vlUInt64 getNbThreads() const;
    bool isQuiet() const { return _bQuiet; }

  private:
    std::string _threads;
    bool _bQuiet = false;
};

} // namespace velmo::tool
