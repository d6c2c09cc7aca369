// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/WorkOptions.h"

#include "terminal/CheckedParsing.h"

#include <VELMOImageFile/Threads.h>

namespace velmo::tool {

void WorkOptions::addTo(CommandOptions& options, std::string const& what) {
    options.addOption("--threads", _threads,
                      "Number of " + what + " (default: as many as there are processors)");
    options.addFlag("--quiet", _bQuiet, "Hide the progress bar");
}

vlUInt64 WorkOptions::getNbThreads() const {
    return _threads.empty() ? image::file::useAllProcessors().getNbThreads()
                            : parseThreads("--threads", _threads);
}

} // namespace velmo::tool
