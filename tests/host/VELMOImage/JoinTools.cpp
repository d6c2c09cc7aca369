// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "JoinTools.h"

#include "VELMOImage/MemoryImage.h"
#include "VELMOImage/SubImageExtractor.h"

#include <atomic>
#include <boost/make_shared.hpp>
#include <stdexcept>

namespace velmo::test {

using namespace velmo::image;

namespace {

template <class Join>
JoinCall makeDiskCall(std::string const& name, eJoinAxis axis, Join const& joinDisk) {
    return {name, axis, [joinDisk](std::vector<ImagePtr> const& parts, ImagePtr& out) {
                auto pDisk = boost::dynamic_pointer_cast<DiskImage>(out);
                BoolResult result = joinDisk(parts, pDisk);
                out = pDisk;
                return result;
            }};
}

} // namespace

std::vector<JoinCall> const& getJoinCalls() {
    static std::vector<JoinCall> const calls = {
        {"Volumes", eJoinAxis::Z, SubImageExtractor::concatenateVolumes<BaseImage>},
        {"Sequences", eJoinAxis::T, SubImageExtractor::concatenateSequences<BaseImage>},
        makeDiskCall("DiskVolumes", eJoinAxis::Z, SubImageExtractor::concatenateDiskVolumes),
        makeDiskCall("DiskSequences", eJoinAxis::T, SubImageExtractor::concatenateDiskSequences)};
    return calls;
}

DiskImagePtr makeDiskPart(BaseImageGeometry const& geometry, vlUInt64 seed) {
    static std::atomic<vlUInt64> nbParts{0};
    auto const pAccessor = makeByteAccessor("join part " + std::to_string(nbParts++), geometry);
    pAccessor->getStorage().bytes = makePattern(countBytes(geometry), seed);
    return boost::make_shared<DiskImage>(pAccessor);
}

ImagePtr makeMemoryPart(BaseImageGeometry const& geometry, vlUInt64 seed) {
    auto const pImage = boost::make_shared<MemoryImage>();
    BoolResult const result = pImage->init(geometry);
    if (!result) {
        throw std::runtime_error(result.getMessage());
    }
    writeAll(*pImage, makePattern(countBytes(geometry), seed));
    return pImage;
}

ByteStorage& getStorage(DiskImage const& image) {
    return dynamic_cast<ByteAccessor const&>(*image.getAccessor()).getStorage();
}

GeometryBuilder partBuilder(eJoinAxis axis, vlUInt64 length) {
    GeometryBuilder builder;
    builder.color(eCGT_Rgb).type(eIBT_UInt16);
    return axis == eJoinAxis::Z ? builder.volume(length) : builder.volume(2).sequence(length);
}

std::vector<ImagePtr> makeParts(eJoinAxis axis, std::vector<vlUInt64> const& lengths) {
    std::vector<ImagePtr> parts;
    for (vlUInt64 const length : lengths) {
        parts.push_back(makeDiskPart(*partBuilder(axis, length).build(), 1000 * parts.size()));
    }
    return parts;
}

namespace {

void appendPlane(BaseImage const& part, vlUInt64 z, vlUInt64 c, vlUInt64 t, Bytes& bytes) {
    BaseImageGeometry const& geometry = part.getGeometry();
    vlUInt64 const size = bytes.size();
    bytes.resize(size + countPlaneBytes(geometry, t));
    BoolResult const result =
        part.readPixels(z, c, t, 0, geometry.getSizeX() * geometry.getSizeY(), bytes.data() + size);
    if (!result) {
        throw std::runtime_error(result.getMessage());
    }
}

Bytes readVolumes(std::vector<ImagePtr> const& parts) {
    Bytes bytes;
    for (vlUInt64 c = 0; c < parts.front()->getGeometry().getSizeC(); ++c) {
        for (ImagePtr const& pPart : parts) {
            for (vlUInt64 z = 0; z < pPart->getGeometry().getSizeZ(); ++z) {
                appendPlane(*pPart, z, c, 0, bytes);
            }
        }
    }
    return bytes;
}

} // namespace

Bytes readParts(std::vector<ImagePtr> const& parts, eJoinAxis axis) {
    if (axis == eJoinAxis::Z) {
        return readVolumes(parts);
    }
    Bytes bytes;
    for (ImagePtr const& pPart : parts) {
        Bytes const part = readAll(*pPart);
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

} // namespace velmo::test
