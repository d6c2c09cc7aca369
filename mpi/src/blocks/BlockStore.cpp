// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "blocks/BlockStore.h"

#include "blocks/BlockFile.h"
#include "blocks/PlaneRun.h"
#include "process/EndOfProcess.h"
#include "wire/Bytes.h"

#include <VELMOBase/AvailableMemory.h>
#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <sstream>

namespace velmo::image::mpi {

BlockStore::BlockStore() : _pEngine(createThreadDistributionEngine(1)), _owner(_pEngine->getOwner(0)) {}

BoolResult BlockStore::execute(Header const& header, std::string const& payload,
                               std::array<std::uint64_t, g_nbArguments>& arguments, std::string& answer) {
    std::uint64_t const id = header.arguments[0];
    switch (header.message) {
    case eMessage::AddBlock:
        return addBlock(header, payload);
    case eMessage::DropBlock:
        _blocks.erase(id);
        _owner.dropBlock(id);
        return success();
    case eMessage::BeginFilling:
        _fillings[id] = {payload, _owner.beginFilling(payload)};
        return success();
    case eMessage::FillBlock:
        return fillBlock(header);
    case eMessage::EndFilling:
        _fillings.erase(id);
        return success();
    case eMessage::GetRoom:
        arguments[0] = getAvailableMemory();
        return success();
    case eMessage::RunPlanes:
        return runPlanes(header, payload, answer);
    case eMessage::WriteFile:
        return writeFile(header, payload);
    case eMessage::GuardFile:
        guardTemporaryFile(payload);
        return success();
    case eMessage::GuardFolder:
        guardFolder(payload);
        return success();
    default:
        return failure("A request is of no known kind");
    }
}

BoolResult BlockStore::addBlock(Header const& header, std::string const& payload) {
    PlanBlock const plans = {header.arguments[0], header.arguments[1], header.arguments[2]};
    std::istringstream stream(payload);
    BinaryIArchive archive(stream);
    auto const pGeometry = readObjectOf<BaseImageGeometry>(archive, "geometry");
    if (!pGeometry) {
        return failure("A request for a block has no geometry");
    }
    auto const end = checkedAdd(plans.firstPlan, plans.nbPlans);
    if (!end || *end > pGeometry->getNbPlans() || plans.nbPlans == 0 || _blocks.count(plans.id) != 0) {
        return failure("A request for a block does not fit its geometry");
    }
    BoolResult result = _owner.addBlock(*pGeometry, plans);
    if (result) {
        _blocks[plans.id] = {pGeometry, plans};
    }
    return result;
}

BoolResult BlockStore::fillBlock(Header const& header) {
    BoolResult known = requireBlock(header.arguments[0]);
    if (!known) {
        return known;
    }
    auto const found = _fillings.find(header.arguments[1]);
    if (found == _fillings.end()) {
        return failure("A block cannot be filled: the record of the file is missing");
    }
    return _owner.fillBlock(header.arguments[0], found->second.record);
}

BoolResult BlockStore::runPlanes(Header const& header, std::string const& payload, std::string& answer) {
    BoolResult known = requireBlock(header.arguments[0]);
    if (!known) {
        return known;
    }
    ByteReader reader(payload);
    PlaneWork work;
    reader >> work.function >> work.argument;
    if (!reader.isWhole()) {
        return failure("A request for a plane function is damaged");
    }
    Block const& block = _blocks.at(header.arguments[0]);
    std::vector<std::string> results;
    BoolResult result =
        runOnPlanes(*block.pGeometry, block.plans, _owner.accessBlock(block.plans.id), work, results);
    if (result) {
        answer = encodeResults(results);
    }
    return answer.size() <= g_largestPayload ? result
                                             : failure("The results of a plane function are too large");
}

BoolResult BlockStore::writeFile(Header const& header, std::string const& path) {
    BoolResult known = requireBlock(header.arguments[0]);
    if (!known) {
        return known;
    }
    Block const& block = _blocks.at(header.arguments[0]);
    return writeBlockToFile(*block.pGeometry, block.plans, _owner.accessBlock(block.plans.id),
                            {path, header.arguments[1], header.arguments[2]});
}

BoolResult BlockStore::requireBlock(std::uint64_t id) const {
    return _blocks.count(id) != 0 ? success() : failure("The rank has no block " + std::to_string(id));
}

BoolResult BlockStore::requireRange(Header const& header, std::uint64_t nbBytes) const {
    return access(header, nbBytes).pBytes
               ? success()
               : failure("A request is for bytes outside of block " + std::to_string(header.arguments[0]));
}

BlockMemory BlockStore::access(Header const& header, std::uint64_t nbBytes) const {
    BlockMemory const memory = _owner.accessBlock(header.arguments[0]);
    std::uint64_t const offset = header.arguments[1];
    if (!memory.pBytes || offset > memory.nbBytes || nbBytes > memory.nbBytes - offset) {
        return {nullptr, 0};
    }
    return {std::shared_ptr<std::byte>(memory.pBytes, memory.pBytes.get() + offset), nbBytes};
}

} // namespace velmo::image::mpi
