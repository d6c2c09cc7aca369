// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/SubImageExtractor.h"

#include "VELMOImage/ImageFactory.h"
#include "VELMOImage/JoinedImage.h"
#include "VELMOImage/JoinedImageAccessor.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOUtil/Failures.h"

#include <algorithm>
#include <boost/make_shared.hpp>

namespace velmo::image {

namespace {

BoolResult failAtPart(eImageMessage::domain id, std::size_t part) {
    return failMessage(g_velmoImageRaise, id, part);
}

BoolResult join(std::vector<ImagePtr> const& parts, eJoinAxis axis, ImagePtr& out) {
    auto const empty = std::find(parts.begin(), parts.end(), nullptr);
    if (empty != parts.end()) {
        return failAtPart(eImageMessage::eIM_PartMissing, static_cast<std::size_t>(empty - parts.begin()));
    }
    auto const pImage = boost::make_shared<JoinedImage>();
    BoolResult result = pImage->join(parts, axis);
    if (result) {
        out = pImage;
    }
    return result;
}

BoolResult joinDisk(std::vector<ImagePtr> const& parts, eJoinAxis axis, DiskImagePtr& out) {
    std::vector<JoinedImageAccessor::PartPtr> accessors;
    for (ImagePtr const& pPart : parts) {
        auto const pDisk = boost::dynamic_pointer_cast<DiskImage>(pPart);
        if (!pDisk) {
            return failAtPart(pPart ? eImageMessage::eIM_PartNotOnDisk : eImageMessage::eIM_PartMissing,
                              accessors.size());
        }
        accessors.push_back(pDisk->getAccessor());
    }
    auto const pAccessor = boost::make_shared<JoinedImageAccessor>();
    BoolResult const result = pAccessor->join(accessors, axis);
    return result ? ImageFactory::getInstance().createDiskImage(pAccessor, out) : result;
}

} // namespace

template <>
BoolResult SubImageExtractor::concatenateVolumes<BaseImage>(std::vector<ImagePtr> const& parts,
                                                            ImagePtr& out) {
    return join(parts, eJoinAxis::Z, out);
}

template <>
BoolResult SubImageExtractor::concatenateSequences<BaseImage>(std::vector<ImagePtr> const& parts,
                                                              ImagePtr& out) {
    return join(parts, eJoinAxis::T, out);
}

BoolResult SubImageExtractor::concatenateDiskVolumes(std::vector<ImagePtr> const& parts, DiskImagePtr& out) {
    return joinDisk(parts, eJoinAxis::Z, out);
}

BoolResult SubImageExtractor::concatenateDiskSequences(std::vector<ImagePtr> const& parts,
                                                       DiskImagePtr& out) {
    return joinDisk(parts, eJoinAxis::T, out);
}

} // namespace velmo::image
