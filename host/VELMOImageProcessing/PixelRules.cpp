// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImageProcessing/detail/PixelRules.h"

#include "VELMOAttributes/ImageAttributes.h"
#include "VELMOBaseProcessing/VELMOBaseProcessingLog.h"
#include "VELMOImage/ImageGeometry.h"
#include "VELMOUtil/Failures.h"

namespace velmo::imaproc::util {

void requireSamePixels(velmo::image::BaseImage const& inImage, velmo::image::BaseImage const& outImage) {
    if (velmo::image::haveSamePixels(inImage.getGeometry(), outImage.getGeometry())) {
        return;
    }
    raiseMessage(VELMO_HERE, processor::g_velmoBaseProcessingRaise,
                 processor::eProcessorMessage::ePM_ImageMismatch, attr::OutImg::s_name,
                 image::describeGeometry(outImage.getGeometry()), attr::InImg::s_name,
                 image::describeGeometry(inImage.getGeometry()));
}

} // namespace velmo::imaproc::util
