// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CopyTools.h"

#include "VELMOImage/DiskImage.h"
#include "VELMOImage/DistributedImage.h"
#include "VELMOImage/MemoryImage.h"

#include <chrono>
#include <stdexcept>

namespace velmo::test {

using namespace velmo::image;

namespace {

template <class Image>
ImagePtr initialised(boost::shared_ptr<Image> const& pImage, BaseImageGeometry const& geometry) {
    BoolResult const result = pImage->init(geometry);
    if (!result) {
        throw std::runtime_error(result.getMessage());
    }
    return pImage;
}

} // namespace

ImagePtr makeImage(eImageKind kind, BaseImageGeometry const& geometry, std::string const& path) {
    switch (kind) {
    case eIK_Disk:
        return boost::make_shared<DiskImage>(makeByteAccessor(path, geometry));
    case eIK_Distributed:
        return initialised(boost::make_shared<DistributedImage>(createThreadDistributionEngine(3)), geometry);
    case eIK_Memory:
    default:
        return initialised(boost::make_shared<MemoryImage>(), geometry);
    }
}

processor::ProcessorDispatchPolicy makeLocal(vlUInt64 nbThreads) {
    processor::ProcessorDispatchPolicy policy;
    policy.initLocal(nbThreads);
    return policy;
}

std::vector<NamedPolicy> makePolicies() {
    processor::ProcessorDispatchPolicy defaultPolicy;
    defaultPolicy.initDefault();
    return {{"one thread", makeLocal(1)}, {"four threads", makeLocal(4)}, {"default", defaultPolicy}};
}

processor::ActionResult runCopy(ImageConstPtr const& pSource, ImagePtr const& pTarget,
                                processor::ProcessorDispatchPolicy const& policy) {
    imaproc::util::CopyImgLvl1 copy;
    copy.init(processor::ePRP_Strict);
    copy.set<imaproc::attr::InImg>(pSource);
    copy.set<imaproc::attr::OutImg>(pTarget);
    copy.restrictDispatchPolicy(policy);
    return copy.run(processor::eST_Synchronous);
}

std::vector<KindPair> makeKindPairs() {
    std::vector<KindPair> pairs;
    for (eImageKind const source : {eIK_Memory, eIK_Disk, eIK_Distributed}) {
        for (eImageKind const target : {eIK_Memory, eIK_Disk, eIK_Distributed}) {
            pairs.push_back({source, target});
        }
    }
    return pairs;
}

std::string toText(KindPair const& pair) {
    constexpr char const* names[] = {"memory", "disk", "distributed"};
    return std::string("from ") + names[pair.source] + " to " + names[pair.target];
}

bool waitUntil(std::function<bool()> const& isDone) {
    auto const end = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    while (!isDone()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

} // namespace velmo::test
