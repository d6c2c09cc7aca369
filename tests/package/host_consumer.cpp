// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImage/MemoryImage.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageProcessing/CopyImgLvl1.h>
#include <boost/make_shared.hpp>
#include <cstdio>

using namespace velmo;
using namespace velmo::image;

namespace {

ImagePtr create(BaseImageGeometry const& geometry) {
    ImagePtr pImage;
    return ImageFactory::getInstance().createDefaultImage(geometry, pImage) ? pImage : nullptr;
}

bool copy(ImagePtr const& pSource, ImagePtr const& pTarget) {
    imaproc::util::CopyImgLvl1 processor;
    if (!processor.init(processor::ePRP_Strict)) {
        return false;
    }
    processor.set<imaproc::attr::InImg>(pSource);
    processor.set<imaproc::attr::OutImg>(pTarget);
    return processor.run(processor::eST_Synchronous).getStatus() == 0;
}

bool isRefused(BaseImage const& image) {
    try {
        image.accessPlan(2, 0, 0);
    } catch (VELMOImageException const&) {
        return true;
    }
    return false;
}

} // namespace

/// 0 if a processor copies the pixels of an image and an exception is caught across the library's border.
int main() {
    ImageGeometryPtr const pGeometry = geometry3d(eIBT_UInt8, 3, 2, 2);
    ImagePtr const pSource = create(*pGeometry);
    ImagePtr const pTarget = create(*pGeometry);
    static_cast<unsigned char*>(pSource->accessPlan(1, 0, 0))[5] = 7;
    bool const bCopied = copy(pSource, pTarget);
    bool const bSame = static_cast<unsigned char*>(pTarget->accessPlan(1, 0, 0))[5] == 7;
    bool const bRefused = isRefused(*pTarget);
    std::printf("copied %d, same %d, refused %d\n", bCopied, bSame, bRefused);
    return bCopied && bSame && bRefused ? 0 : 1;
}
