// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "blocks/PlaneRun.h"

#include "wire/Bytes.h"

#include <VELMOImageFileMpi/PlaneFunctions.h>
#include <map>
#include <mutex>

namespace velmo::image::mpi {

namespace {

class PlaneFunctions {
  public:
    static PlaneFunctions& getInstance() {
        static PlaneFunctions functions;
        return functions;
    }

    void add(std::string const& name, PlaneFunction function) {
        std::lock_guard<std::mutex> const lock(_mutex);
        _functions[name] = std::move(function);
    }

    PlaneFunction find(std::string const& name) const {
        std::lock_guard<std::mutex> const lock(_mutex);
        auto const found = _functions.find(name);
        return found == _functions.end() ? PlaneFunction() : found->second;
    }

  private:
    mutable std::mutex _mutex;
    std::map<std::string, PlaneFunction> _functions;
};

} // namespace

void registerPlaneFunction(std::string const& name, PlaneFunction function) {
    PlaneFunctions::getInstance().add(name, std::move(function));
}

BoolResult runOnPlanes(BaseImageGeometry const& geometry, PlanBlock const& block, BlockMemory const& memory,
                       PlaneWork const& work, std::vector<std::string>& results) {
    PlaneFunction const function = PlaneFunctions::getInstance().find(work.function);
    if (!function) {
        return failure("No plane function \"" + work.function + "\" is registered");
    }
    BoolResult inMemory = requireWholeBlock(geometry, block, memory);
    if (!inMemory) {
        return inMemory;
    }
    std::byte* pPixels = memory.pBytes.get();
    for (vlUInt64 number = 0; number < block.nbPlans; ++number) {
        PlanIndexes const indexes = geometry.getPlanIndexes(block.firstPlan + number);
        results.push_back(function({indexes, geometry.getPlanGeometry(indexes.t), pPixels}, work.argument));
        pPixels += geometry.getPlanMemorySize(indexes.t);
    }
    return success();
}

BoolResult requireWholeBlock(BaseImageGeometry const& geometry, PlanBlock const& block,
                             BlockMemory const& memory) {
    vlUInt64 const nbBytes = geometry.getPlansMemorySize(block.firstPlan + block.nbPlans) -
                             geometry.getPlansMemorySize(block.firstPlan);
    return memory.nbBytes == nbBytes
               ? success()
               : failure("The engine of the image does not give access to the memory of its blocks");
}

std::string encodeResults(std::vector<std::string> const& results) {
    ByteWriter writer;
    for (std::string const& result : results) {
        writer << result;
    }
    return writer.take();
}

bool decodeResults(std::string_view bytes, vlUInt64 nbResults, std::vector<std::string>& results) {
    ByteReader reader(bytes);
    for (vlUInt64 number = 0; number < nbResults && reader.isGood(); ++number) {
        reader >> results.emplace_back();
    }
    return reader.isWhole();
}

} // namespace velmo::image::mpi
