// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/model/TiffPixels.h"

#include "Frame/FailureText.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/TiffImageFileMessage.h>
#include <cstdint>
#include <cstring>
#include <tiff.h>

namespace velmo::image::file {

namespace {

eImageBufferType toUnsignedType(short bitsPerSample, eTiffBufferMode bufferMode) {
    bool const bLabel = bufferMode == eTBM_Label;
    bool const bBinary = bufferMode == eTBM_Binary;
    switch (bitsPerSample) {
    case 1:
        return eIBT_Binary;
    case 8:
        return bBinary ? eIBT_Binary : bLabel ? eIBT_Label8 : eIBT_UInt8;
    case 16:
        return bBinary ? eIBT_None : bLabel ? eIBT_Label16 : eIBT_UInt16;
    case 32:
        return bBinary ? eIBT_None : bLabel ? eIBT_Label32 : eIBT_UInt32;
    default:
        return eIBT_None;
    }
}

eImageBufferType toSignedType(short bitsPerSample) {
    switch (bitsPerSample) {
    case 8:
        return eIBT_Int8;
    case 16:
        return eIBT_Int16;
    case 32:
        return eIBT_Int32;
    default:
        return eIBT_None;
    }
}

/// Copies samples of one type between places that are `sourceStep` and `targetStep` samples apart.
template <class Sample>
void copySamples(void const* pSource, vlUInt64 sourceStep, void* pTarget, vlUInt64 targetStep,
                 vlUInt64 nbSamples) {
    auto const* const pFrom = static_cast<std::byte const*>(pSource);
    auto* const pTo = static_cast<std::byte*>(pTarget);
    for (vlUInt64 i = 0; i < nbSamples; ++i) { // copies one sample, which may be unaligned
        std::memcpy(pTo + i * targetStep * sizeof(Sample), pFrom + i * sourceStep * sizeof(Sample),
                    sizeof(Sample));
    }
}

void copyStrided(unsigned int width, void const* pSource, vlUInt64 sourceStep, void* pTarget,
                 vlUInt64 targetStep, vlUInt64 nbSamples) {
    if (nbSamples == 0) {
        return;
    }
    if (sourceStep == 1 && targetStep == 1) {
        std::memcpy(pTarget, pSource, nbSamples * width);
    } else if (width == 1) {
        copySamples<std::uint8_t>(pSource, sourceStep, pTarget, targetStep, nbSamples);
    } else if (width == 2) {
        copySamples<std::uint16_t>(pSource, sourceStep, pTarget, targetStep, nbSamples);
    } else {
        copySamples<std::uint32_t>(pSource, sourceStep, pTarget, targetStep, nbSamples);
    }
}

} // namespace

eImageBufferType toImageBufferType(short bitsPerSample, short sampleFormat,
                                   eTiffBufferMode const& bufferMode) {
    switch (sampleFormat) {
    case SAMPLEFORMAT_UINT:
    case SAMPLEFORMAT_VOID:
        return toUnsignedType(bitsPerSample, bufferMode);
    case SAMPLEFORMAT_INT:
        return bufferMode == eTBM_Default ? toSignedType(bitsPerSample) : eIBT_None;
    case SAMPLEFORMAT_IEEEFP:
        return bufferMode == eTBM_Default && bitsPerSample == 32 ? eIBT_Real32 : eIBT_None;
    default:
        return eIBT_None;
    }
}

FoundColor retrieveColorGeometry(short photometric, short samplesPerPixel) {
    FoundColor found;
    if (photometric == PHOTOMETRIC_MINISWHITE) {
        found.color.setMinIsBlack(false);
    } else if (photometric == PHOTOMETRIC_RGB && samplesPerPixel == 3) {
        found.color.initRgb();
        found.bInit = true;
    } else if (photometric == PHOTOMETRIC_RGB && samplesPerPixel == 4) {
        found.color.init(eCGT_Rgba);
        char const* const names[] = {"Red", "Green", "Blue", "Alpha"};
        for (vlUInt64 channel = 0; channel < 4; ++channel) {
            found.color.setChannelName(names[channel], channel);
        }
        found.bInit = true;
    }
    return found;
}

bool isInterleavedColor(BaseImageGeometry const& geometry) {
    eColorGeometryType const type = geometry.getColorGeometryType();
    return type == eCGT_Rgb || type == eCGT_Rgba;
}

eImageBufferType getPlaneBufferType(BaseImageGeometry const& geometry, vlUInt64 t) {
    return t < geometry.getSizeT() ? geometry.getPlanGeometry(t).getBufferType() : geometry.getBufferType();
}

vlUInt64 toDirectoryIndex(BaseImageGeometry const& geometry, vlUInt64 z, vlUInt64 c, vlUInt64 t) {
    vlUInt64 const outer = isInterleavedColor(geometry) ? t : geometry.getSizeC() * t + c;
    return geometry.getSizeZ() * outer + z;
}

PlaneRun toPlane(BaseImageGeometry const& geometry, bool bInterleaved, vlUInt64 directory) {
    vlUInt64 const outer = directory / geometry.getSizeZ();
    vlUInt64 const nbChannels = bInterleaved ? 1 : geometry.getSizeC();
    return {directory % geometry.getSizeZ(), outer % nbChannels, outer / nbChannels, 0,
            geometry.getPlanNbPixels()};
}

unsigned int getSampleWidth(eImageBufferType const& bufferType, RaiseSite const& site) {
    unsigned int const width = getImageBufferBaseSize(bufferType);
    if (width == 0) {
        raise(site, eTiffImageFileMessage::eTIFM_InvalidImageBufferType,
              static_cast<int>(bufferType > eIBT_Label8 ? eIBT_None : bufferType));
    }
    return width;
}

void colorToPlan(eImageBufferType const& bufferType, vlUInt64 nbChannels, vlUInt64 channelIdx,
                 vlUInt64 nbPixels, void const* pColorData, void* pPlanData) {
    unsigned int const width = getSampleWidth(bufferType, VELMO_HERE);
    auto const* const pFirst = static_cast<std::byte const*>(pColorData) + channelIdx * width;
    copyStrided(width, pFirst, nbChannels, pPlanData, 1, nbPixels);
}

void planToColor(eImageBufferType const& bufferType, vlUInt64 nbChannels, vlUInt64 channelIdx,
                 vlUInt64 nbPixels, void const* pPlanData, void* pColorData) {
    unsigned int const width = getSampleWidth(bufferType, VELMO_HERE);
    auto* const pFirst = static_cast<std::byte*>(pColorData) + channelIdx * width;
    copyStrided(width, pPlanData, 1, pFirst, nbChannels, nbPixels);
}

} // namespace velmo::image::file
