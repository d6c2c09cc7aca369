// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "engine/RankEngine.h"
#include "wire/Bytes.h"

#include <VELMOSerialization/BinaryArchive.h>
#include <algorithm>
#include <boost/make_shared.hpp>
#include <sstream>

namespace velmo::image::mpi {

namespace {

Request makeRequest(eMessage message, std::array<std::uint64_t, g_nbArguments> const& arguments,
                    std::string const& payload = {}) {
    Request request;
    request.header.message = message;
    request.header.arguments = arguments;
    request.header.nbPayload = payload.size();
    request.pPayload = payload.data();
    return request;
}

std::string toRecord(BaseImageGeometry const& geometry) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    archive.writeObject("geometry", duplicateGeometry(geometry));
    return stream.str();
}

/// Calls `transfer(done, nbBytes)` for parts of a transfer that are not too large for a message.
template <class Transfer>
BoolResult transferParts(vlUInt64 nbBytes, Transfer const& transfer) {
    BoolResult result = success();
    for (vlUInt64 done = 0; done < nbBytes && result; done += g_largestPayload) {
        result = transfer(done, std::min(g_largestPayload, nbBytes - done));
    }
    return result;
}

} // namespace

/// A record at the rank, as long as this object exists. Its number is its address.
class RemoteOwner::Filling {
  public:
    Filling(std::shared_ptr<Driver> pDriver, int rank, std::string record)
        : _pDriver(std::move(pDriver)), _rank(rank), _record(std::move(record)) {}

    ~Filling() {
        try {
            static_cast<void>(_pDriver->ask(_rank, makeRequest(eMessage::EndFilling, {getNumber()})));
        } catch (std::exception const&) {
            // The rank has lost the record with everything else.
        }
    }
    Filling(Filling const&) = delete;
    Filling& operator=(Filling const&) = delete;

    std::uint64_t getNumber() const { return reinterpret_cast<std::uintptr_t>(this); }
    std::string const& getRecord() const { return _record; }

    /// Sends the record at the first call.
    BoolResult send() {
        std::lock_guard<std::mutex> const lock(_mutex);
        if (_bSent) {
            return success();
        }
        BoolResult result = _pDriver->ask(_rank, makeRequest(eMessage::BeginFilling, {getNumber()}, _record));
        _bSent = static_cast<bool>(result);
        return result;
    }

  private:
    std::shared_ptr<Driver> _pDriver;
    int _rank;
    std::string _record;
    std::mutex _mutex;
    bool _bSent = false;
};

BoolResult RemoteOwner::addBlock(BaseImageGeometry const& geometry, PlanBlock const& block) {
    return _pDriver->ask(_rank, makeRequest(eMessage::AddBlock, {block.id, block.firstPlan, block.nbPlans},
                                            toRecord(geometry)));
}

void RemoteOwner::dropBlock(vlUInt64 id) {
    try {
        static_cast<void>(_pDriver->ask(_rank, makeRequest(eMessage::DropBlock, {id})));
    } catch (std::exception const&) {
        // See the declaration.
    }
}

BoolResult RemoteOwner::readBlock(vlUInt64 id, vlUInt64 offset, vlUInt64 nbBytes, void* buffer) const {
    return transferParts(nbBytes, [&](vlUInt64 done, vlUInt64 nbPart) {
        Request request = makeRequest(eMessage::ReadBlock, {id, offset + done, nbPart});
        request.pAnswer = static_cast<std::byte*>(buffer) + done;
        request.nbAnswer = nbPart;
        return _pDriver->ask(_rank, request);
    });
}

BoolResult RemoteOwner::writeBlock(vlUInt64 id, vlUInt64 offset, vlUInt64 nbBytes, void const* buffer) {
    return transferParts(nbBytes, [&](vlUInt64 done, vlUInt64 nbPart) {
        Request request = makeRequest(eMessage::WriteBlock, {id, offset + done});
        request.pPayload = static_cast<std::byte const*>(buffer) + done;
        request.header.nbPayload = nbPart;
        return _pDriver->ask(_rank, request);
    });
}

BoolResult RemoteOwner::fillBlock(vlUInt64 id, std::string const& accessorRecord) {
    auto const pFilling = findFilling(accessorRecord);
    BoolResult result = pFilling->send();
    return result ? _pDriver->ask(_rank, makeRequest(eMessage::FillBlock, {id, pFilling->getNumber()}))
                  : result;
}

boost::shared_ptr<void> RemoteOwner::beginFilling(std::string const& accessorRecord) {
    return findFilling(accessorRecord);
}

boost::shared_ptr<RemoteOwner::Filling> RemoteOwner::findFilling(std::string const& accessorRecord) {
    std::lock_guard<std::mutex> const lock(_mutex);
    boost::shared_ptr<Filling> pFilling = _pFilling.lock();
    if (!pFilling || pFilling->getRecord() != accessorRecord) {
        pFilling = boost::make_shared<Filling>(_pDriver, _rank, accessorRecord);
        _pFilling = pFilling;
    }
    return pFilling;
}

BoolResult RemoteOwner::runPlanes(PlanBlock const& block, PlaneWork const& work,
                                  std::vector<std::string>& results) {
    ByteWriter writer;
    writer << work.function << work.argument;
    Answer answer;
    BoolResult result =
        _pDriver->ask(_rank, makeRequest(eMessage::RunPlanes, {block.id}, writer.take()), answer);
    if (result && !decodeResults(answer.payload, block.nbPlans, results)) {
        return failure("The results of a plane function are damaged" +
                       namePlace(_rank, _pDriver->getRank(_rank)));
    }
    return result;
}

BoolResult RemoteOwner::writeToFile(PlanBlock const& block, FilePart const& part) {
    return _pDriver->ask(_rank,
                         makeRequest(eMessage::WriteFile, {block.id, part.offset, part.fileSize}, part.path));
}

BoolResult RemoteOwner::guardFile(std::string const& path) {
    return _pDriver->ask(_rank, makeRequest(eMessage::GuardFile, {}, path));
}

BoolResult RemoteOwner::guardFolder(std::string const& path) {
    return _pDriver->ask(_rank, makeRequest(eMessage::GuardFolder, {}, path));
}

} // namespace velmo::image::mpi
