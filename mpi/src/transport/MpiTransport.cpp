// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "transport/MpiTransport.h"

#include <array>
#include <cstdlib>
#include <mpi.h>
#include <stdexcept>
#include <string>

namespace velmo::image::mpi {

namespace {

constexpr int g_headerTag = 0;
/// Payloads have the tags from 1 to this number, in turn. All implementations allow it.
constexpr std::uint64_t g_nbPayloadTags = 32766;

int getPayloadTag(Header const& header) {
    return static_cast<int>(1 + header.sequence % g_nbPayloadTags);
}

} // namespace

struct MpiTransport::Calls {
    MPI_Comm communicator = MPI_COMM_NULL;
};

struct MpiTransport::Transfer {
    HeaderBytes header = {};
    std::string discarded; ///< memory of a payload that is given up
    std::array<MPI_Request, 2> requests = {MPI_REQUEST_NULL, MPI_REQUEST_NULL};
};

MpiTransport::MpiTransport(BeforeAbort beforeAbort)
    : _beforeAbort(std::move(beforeAbort)), _pCalls(std::make_unique<Calls>()) {
    check(MPI_Comm_dup(MPI_COMM_WORLD, &_pCalls->communicator));
    check(MPI_Comm_set_errhandler(_pCalls->communicator, MPI_ERRORS_RETURN));
    check(MPI_Comm_rank(_pCalls->communicator, &_rank));
    check(MPI_Comm_size(_pCalls->communicator, &_nbRanks));
}

MpiTransport::~MpiTransport() {
    MPI_Comm_free(&_pCalls->communicator);
}

void MpiTransport::check(int status) const {
    if (status == MPI_SUCCESS) {
        return;
    }
    std::array<char, MPI_MAX_ERROR_STRING> text = {};
    int length = 0;
    MPI_Error_string(status, text.data(), &length);
    throw std::runtime_error("MPI failed: " + std::string(text.data(), static_cast<std::size_t>(length)));
}

TransferId MpiTransport::add(std::unique_ptr<Transfer> pTransfer) {
    _transfers.emplace(_nextTransfer, std::move(pTransfer));
    return _nextTransfer++;
}

TransferId MpiTransport::startSend(int peer, Header const& header, void const* payload) {
    auto pTransfer = std::make_unique<Transfer>();
    Transfer& transfer = *pTransfer;
    transfer.header = encodeHeader(header);
    TransferId const id = add(std::move(pTransfer)); // before MPI knows the memory
    check(MPI_Isend(transfer.header.data(), static_cast<int>(g_headerSize), MPI_BYTE, peer, g_headerTag,
                    _pCalls->communicator, &transfer.requests[0]));
    if (header.nbPayload != 0) {
        check(MPI_Isend(payload, static_cast<int>(header.nbPayload), MPI_BYTE, peer, getPayloadTag(header),
                        _pCalls->communicator, &transfer.requests[1]));
    }
    return id;
}

bool MpiTransport::receiveHeader(Arrival& arrival) {
    forgetDiscarded();
    int bArrived = 0;
    MPI_Status status;
    check(MPI_Iprobe(MPI_ANY_SOURCE, g_headerTag, _pCalls->communicator, &bArrived, &status));
    if (bArrived == 0) {
        return false;
    }
    arrival.peer = status.MPI_SOURCE;
    int const result = MPI_Recv(arrival.header.data(), static_cast<int>(g_headerSize), MPI_BYTE,
                                status.MPI_SOURCE, g_headerTag, _pCalls->communicator, MPI_STATUS_IGNORE);
    int errorClass = MPI_SUCCESS;
    MPI_Error_class(result, &errorClass);
    check(errorClass == MPI_ERR_TRUNCATE ? MPI_SUCCESS : result); // is no valid header then
    return true;
}

TransferId MpiTransport::startReceive(int peer, Header const& header, void* buffer) {
    TransferId const id = add(std::make_unique<Transfer>());
    check(MPI_Irecv(buffer, static_cast<int>(header.nbPayload), MPI_BYTE, peer, getPayloadTag(header),
                    _pCalls->communicator, &_transfers[id]->requests[1]));
    return id;
}

void MpiTransport::discardPayload(int peer, Header const& header) {
    if (header.nbPayload == 0) {
        return;
    }
    auto pTransfer = std::make_unique<Transfer>();
    pTransfer->discarded.resize(header.nbPayload);
    Transfer& transfer = *(_discarded[_nextTransfer++] = std::move(pTransfer));
    check(MPI_Irecv(transfer.discarded.data(), static_cast<int>(header.nbPayload), MPI_BYTE, peer,
                    getPayloadTag(header), _pCalls->communicator, &transfer.requests[1]));
}

void MpiTransport::forgetDiscarded() {
    for (auto place = _discarded.begin(); place != _discarded.end();) {
        int bDone = 0;
        check(MPI_Test(&place->second->requests[1], &bDone, MPI_STATUS_IGNORE));
        place = bDone != 0 ? _discarded.erase(place) : std::next(place);
    }
}

bool MpiTransport::isDone(TransferId transfer) {
    auto const found = _transfers.find(transfer);
    int bDone = 0;
    check(MPI_Testall(static_cast<int>(found->second->requests.size()), found->second->requests.data(),
                      &bDone, MPI_STATUSES_IGNORE));
    if (bDone != 0) {
        _transfers.erase(found);
    }
    return bDone != 0;
}

void MpiTransport::abort(std::string const& reason) {
    _beforeAbort(reason);
    MPI_Abort(_pCalls->communicator, 1);
    std::_Exit(1);
}

} // namespace velmo::image::mpi
