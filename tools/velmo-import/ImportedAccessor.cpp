// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ImportedAccessor.h"

#include "Refusal.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/ImageGeometry.h>
#include <boost/make_shared.hpp>

namespace velmo::importer {

ImportedAccessor::ImportedAccessor(std::shared_ptr<ImportSource> const& pSource, ImagePart const& part)
    : ReadOnlyAccessor("velmo::importer::ImportedAccessor"), _pSource(pSource), _part(part) {
    image::BaseImageGeometry const& whole = pSource->getGeometry();
    image::VolumeGeometry volume;
    if (whole.getVolumeGeometryType() == image::eVGT_3d) {
        volume.init3d(part.nbZ);
    }
    image::TemporalGeometry temporal;
    if (whole.getTemporalGeometryType() == image::eTGT_Sequence) {
        temporal.initSequence(part.nbT);
    }
    image::ImageGeometryPtr const pGeometry =
        image::geometry(whole.getBufferType(), whole.getSizeX(), whole.getSizeY(), volume,
                        whole.getColorGeometry(), temporal);
    initBase(pSource->getPath(), image::eIAM_ReadOnly, *pGeometry, pSource->getCalibration(), false);
}

bool ImportedAccessor::isStoredIn(boost::filesystem::path const& path) const {
    return _pSource && _pSource->isStoredIn(path);
}

BoolResult ImportedAccessor::readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                         vlUInt64 nbPixels, void* buffer) const {
    return _pSource->read({_part.firstZ + z, c, _part.firstT + t}, pixelStartOffset, nbPixels, buffer);
}

BoolResult ImportedAccessor::readRawPage(vlUInt64 z, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                                         std::vector<void*> const& buffers) const {
    if (pixelStartOffset != 0 || nbPixels != getGeometry().getPlanNbPixels()) {
        return failure("only whole pages are read at once");
    }
    return _pSource->readPage(_part.firstZ + z, _part.firstT + t, buffers);
}

void ImportedAccessor::clearDerived() {
    _pSource.reset();
}

ImagePart getWhole(image::BaseImageGeometry const& geometry) {
    return {0, geometry.getSizeZ(), 0, geometry.getSizeT()};
}

image::DiskImagePtr createImage(std::shared_ptr<ImportSource> const& pSource, ImagePart const& part) {
    image::DiskImagePtr pImage;
    BoolResult const result = image::ImageFactory::getInstance().createDiskImage(
        boost::make_shared<ImportedAccessor>(pSource, part), pImage);
    if (!result) {
        refuse(result.getMessage());
    }
    return pImage;
}

} // namespace velmo::importer
