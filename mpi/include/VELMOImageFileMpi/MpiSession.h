// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFileMpi/Export.h>
#include <memory>

namespace velmo::image::mpi {

/// The part of this process in an MPI job over whose ranks distributed images are spread.
///
/// Rank 0 drives: it runs the application, and each distributed image that it creates has its planes on all
/// ranks. The other ranks serve. Their errors reach the application with the texts and the kinds of one
/// process, and with rank, host and working folder at the end of the text.
///
/// ```cpp
/// int main(int argc, char** argv) {
///     velmo::image::mpi::MpiSession session(argc, argv);
///     if (!session.isDriver()) {
///         return session.serve();
///     }
///     DistributedImagePtr const pImage = loadDistributedTiffImageFile("volume.tif", {});
///     ...
/// }
/// ```
///
/// If a rank dies, or does not answer for 6 seconds, the job ends: a message on standard error names the
/// rank, the temporary files of saves in this process are removed, and all processes end with a status other
/// than 0.
///
/// A process can have one session, once. SIGTERM, if the application does not handle it, also removes
/// temporary files before it ends the process.
class VELMO_MPI_EXPORT MpiSession {
  public:
    /// Initialises MPI, unless the application has done so with at least MPI_THREAD_SERIALIZED (an
    /// application that calls MPI during the session needs MPI_THREAD_MULTIPLE). Waits for all ranks. At rank
    /// 0 it sets the engine of `ImageFactory`. All ranks must call it at about the same time.
    ///
    /// Throws BaseException if a rank does not begin within 20 seconds, or runs another version of the
    /// library or another byte order.
    MpiSession(int& argc, char**& argv);
    /// At rank 0: ends the other ranks and sets an engine of this process. Images that are distributed over
    /// the ranks may outlive it, but their pixels are lost. Finalises MPI, if the constructor initialised it.
    ~MpiSession();
    MpiSession(MpiSession const&) = delete;
    MpiSession& operator=(MpiSession const&) = delete;

    /// Whether this is rank 0.
    bool isDriver() const;
    /// Number of this process and of all processes in the job.
    int getRank() const;
    /// Number of processes in the job.
    int getNbRanks() const;
    /// At other ranks than 0: holds planes and works for rank 0 until the session ends there. Returns the
    /// exit status for `main`. At rank 0 it returns 0 at once.
    int serve();

  private:
    struct Impl;
    std::unique_ptr<Impl> _pImpl;
};

} // namespace velmo::image::mpi
