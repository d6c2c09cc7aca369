// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFileMpi/MpiSession.h>

#include "process/EndOfProcess.h"
#include "session/RankSession.h"
#include "transport/MpiTransport.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOUtil/BaseException.h>
#include <VELMOUtil/GuardedRaise.h>
#include <algorithm>
#include <mpi.h>
#include <thread>

namespace velmo::image::mpi {

namespace {

[[noreturn]] void raiseText(std::string const& text, RaiseSite const& site) {
    throw BaseException(text, site.function, site.file, site.line);
}

/// MPI from its initialisation to its end.
class MpiLibrary {
  public:
    MpiLibrary(int& argc, char**& argv) {
        int bInitialised = 0;
        int provided = MPI_THREAD_SINGLE;
        MPI_Initialized(&bInitialised);
        if (bInitialised != 0) {
            MPI_Query_thread(&provided);
        } else {
            MPI_Init_thread(&argc, &argv, MPI_THREAD_SERIALIZED, &provided);
            _bOwned = true;
        }
        if (provided < MPI_THREAD_SERIALIZED) {
            end();
            raiseText("MPI must be initialised with MPI_THREAD_SERIALIZED or more", VELMO_HERE);
        }
    }
    ~MpiLibrary() { end(); }
    MpiLibrary(MpiLibrary const&) = delete;
    MpiLibrary& operator=(MpiLibrary const&) = delete;

  private:
    void end() {
        if (_bOwned) {
            MPI_Finalize();
            _bOwned = false;
        }
    }

    bool _bOwned = false;
};

} // namespace

struct MpiSession::Impl {
    Impl(int& argc, char**& argv)
        : library(argc, argv), session(makeTransport(), describeThisRank(), Timing()) {}

    std::unique_ptr<Transport> makeTransport() {
        auto pTransport = std::make_unique<MpiTransport>(&endProcess);
        rank = pTransport->getRank();
        nbRanks = pTransport->getNbRanks();
        return pTransport;
    }

    int rank = 0;
    int nbRanks = 1;
    MpiLibrary library;
    TermHandler const termHandler;
    RankSession session;
};

MpiSession::MpiSession(int& argc, char**& argv) : _pImpl(std::make_unique<Impl>(argc, argv)) {
    if (isDriver()) {
        ImageFactory::getInstance().setDistributionEngine(_pImpl->session.getEngine());
    }
}

MpiSession::~MpiSession() {
    if (isDriver()) {
        ImageFactory::getInstance().setDistributionEngine(
            createThreadDistributionEngine(std::max(1U, std::thread::hardware_concurrency())));
    }
}

bool MpiSession::isDriver() const {
    return _pImpl->session.isDriver();
}

int MpiSession::getRank() const {
    return _pImpl->rank;
}

int MpiSession::getNbRanks() const {
    return _pImpl->nbRanks;
}

int MpiSession::serve() {
    return _pImpl->session.serve();
}

} // namespace velmo::image::mpi
