// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/CutAccessor.h"

#include "input/AccessorImage.h"
#include "input/PlaneMemory.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstring>

namespace velmo::tool {

namespace {

constexpr vlUInt64 g_bytesAtOnce = vlUInt64{8} << 20;

} // namespace

CutAccessor::CutAccessor(ObservedSource const& source, Cut const& cut)
    : ReadOnlyAccessor("velmo::tool::CutAccessor"), _pImage(source.pImage),
      _pPageReader(cut.c.count == source.pImage->getGeometry().getSizeC() ? findPageReader(*source.pImage)
                                                                          : nullptr),
      _cut(cut), _bWholePlanes(source.bWholePlanes) {
    initBase(getPathOf(*source.pImage), image::eIAM_ReadOnly,
             *createCutGeometry(source.pImage->getGeometry(), cut),
             createCutCalibration(source.pImage->getGeometricCalibrationConstPtr(), cut), false);
}

bool CutAccessor::isStoredIn(boost::filesystem::path const& path) const {
    return _pImage && _pImage->isStoredIn(path);
}

/// The run as far as it lies in some rows. `read` reads a run of pixels of the whole plane.
template <class Read>
BoolResult CutAccessor::readRows(Rows const& rows, vlUInt64 pixelSize, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                 std::vector<void*> const& buffers, Read const& read) const {
    PlaneRegion const& region = _cut.region;
    vlUInt64 const wholeX = _pImage->getGeometry().getSizeX();
    vlUInt64 const nbHeld = (rows.count - 1) * wholeX + region.sizeX;
    PageBuffer memory;
    BoolResult result = makeRoom(memory, nbHeld * pixelSize * buffers.size());
    std::vector<void*> held;
    for (std::size_t index = 0; result && index < buffers.size(); ++index) {
        held.push_back(memory.getData() + index * nbHeld * pixelSize);
    }
    result = result ? read((region.y + rows.first) * wholeX + region.x, nbHeld, held) : result;
    vlUInt64 const end = pixelStart + nbPixels;
    for (std::size_t index = 0; result && index < buffers.size(); ++index) {
        for (vlUInt64 row = 0; row < rows.count; ++row) {
            vlUInt64 const rowStart = (rows.first + row) * region.sizeX;
            vlUInt64 const from = std::max(rowStart, pixelStart);
            vlUInt64 const to = std::min(rowStart + region.sizeX, end);
            std::memcpy(static_cast<std::byte*>(buffers[index]) + (from - pixelStart) * pixelSize,
                        static_cast<std::byte const*>(held[index]) +
                            (row * wholeX + from - rowStart) * pixelSize,
                        (to - from) * pixelSize);
        }
    }
    return result;
}

template <class Read>
BoolResult CutAccessor::readRun(vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                std::vector<void*> const& buffers, Read const& read) const {
    PlaneRegion const& region = _cut.region;
    vlUInt64 const wholeX = _pImage->getGeometry().getSizeX();
    if (region.sizeX == wholeX || nbPixels == 0) {
        return read(region.y * wholeX + pixelStart, nbPixels, buffers);
    }
    vlUInt64 const pixelSize = getGeometry().getPlanGeometry(t).getPixelSize();
    vlUInt64 const rowsEnd = (pixelStart + nbPixels - 1) / region.sizeX + 1;
    vlUInt64 const nbRowsAtOnce =
        _bWholePlanes ? rowsEnd : std::max<vlUInt64>(1, g_bytesAtOnce / (wholeX * pixelSize));
    BoolResult result = success();
    for (vlUInt64 row = pixelStart / region.sizeX; row < rowsEnd && result;) {
        Rows const rows = {row, std::min(nbRowsAtOnce, rowsEnd - row)};
        result = readRows(rows, pixelSize, pixelStart, nbPixels, buffers, read);
        row += rows.count;
    }
    return result;
}

BoolResult CutAccessor::readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                    vlUInt64 nbPixels, void* buffer) const {
    return readRun(t, pixelStartOffset, nbPixels, {buffer},
                   [&](vlUInt64 start, vlUInt64 count, std::vector<void*> const& buffers) {
                       return _pImage->readPixels(_cut.z[z], _cut.c[c], _cut.t[t], start, count,
                                                  buffers.front());
                   });
}

BoolResult CutAccessor::readRawPage(vlUInt64 z, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                                    std::vector<void*> const& buffers) const {
    if (_pPageReader == nullptr) {
        return failure("the image is read one channel at a time");
    }
    return readRun(t, pixelStartOffset, nbPixels, buffers,
                   [&](vlUInt64 start, vlUInt64 count, std::vector<void*> const& target) {
                       return _pPageReader->readRawPage(_cut.z[z], _cut.t[t], start, count, target);
                   });
}

void CutAccessor::clearDerived() {
    _pImage.reset();
}

ObservedSource cutImage(ObservedSource const& source, Cut const& cut) {
    image::DiskImagePtr const pPart = createDiskImage(boost::make_shared<CutAccessor>(source, cut));
    pPart->setUserPropertiesStr(source.pImage->getUserPropertiesStr());
    return {pPart, source.bSwapBytes, source.bWholePlanes};
}

} // namespace velmo::tool
