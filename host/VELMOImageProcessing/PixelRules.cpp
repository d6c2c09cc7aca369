// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImageProcessing/PixelRules.h"

#include "VELMOAttributes/ImageAttributes.h"
#include "VELMOBaseProcessing/VELMOBaseProcessingLog.h"
#include "VELMOImage/ImageGeometry.h"
#include "VELMOUtil/LogMessageFormater.h"

#include <sstream>

namespace velmo {
namespace imaproc {
namespace util {

namespace {

std::string describe(velmo::image::BaseImageGeometry const& geometry) {
    std::ostringstream text;
    text << "x=" << geometry.getSizeX() << " y=" << geometry.getSizeY() << " z=" << geometry.getSizeZ()
         << " c=" << geometry.getSizeC() << " t=" << geometry.getSizeT() << ' ' << geometry.getBufferType();
    return text.str();
}

} // namespace

void requireSamePixels(velmo::image::BaseImage const& inImage, velmo::image::BaseImage const& outImage) {
    if (velmo::image::haveSamePixels(inImage.getGeometry(), outImage.getGeometry())) {
        return;
    }
    raiseGuarded(VELMO_HERE, processor::g_velmoBaseProcessingRaise, [&](LogMessageFormater& formater) {
        formater[processor::eProcessorMessage::ePM_ImageMismatch] % attr::OutImg::s_name %
            describe(outImage.getGeometry()) % attr::InImg::s_name % describe(inImage.getGeometry());
    });
}

} // namespace util
} // namespace imaproc
} // namespace velmo
