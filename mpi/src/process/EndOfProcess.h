// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <csignal>
#include <string>
#include <vector>

namespace velmo::image::mpi {

/// Paths of the temporary files of saves that this process has open.
std::vector<std::string> findTemporaryFiles();

/// @{
/// A temporary file of another process, or a folder in which another process saves: if the job ends before
/// its time, this process removes the file, and temporary files in the folder whose process has died. Both
/// keep the last path, and ignore one that is too long for the system. Thread-safe.
void guardTemporaryFile(std::string const& path);
void guardFolder(std::string const& path);
/// @}

/// Removes all these files. May be called by a signal handler.
void removeTemporaryFiles() noexcept;

/// Writes the reason to standard error and removes temporary files: before the job is aborted.
void endProcess(std::string const& reason);

/// As long as it exists, SIGTERM removes temporary files before it ends the process, unless the application
/// handles the signal. At the end of a job the launcher sends it to all processes.
class TermHandler {
  public:
    TermHandler();
    ~TermHandler();
    TermHandler(TermHandler const&) = delete;
    TermHandler& operator=(TermHandler const&) = delete;

  private:
    struct sigaction _earlier = {};
    bool _bSet = false;
};

} // namespace velmo::image::mpi
