// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOGeometricTransform/PlaneBlend.h"

#include "VELMOGeometricTransform/BlendSample.h"
#include "VELMOGeometricTransform/LinearBlend16.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace velmo {
namespace imaproc {
namespace gtrans {

namespace {

/// The number of terms is known to the compiler, which then moves several samples at a time.
template <class Sample, unsigned int nbTerms>
void blend(vlUInt64 nbPixels, std::byte const* pBase, BlendTerm const* pTerms, std::byte* pTarget) {
    auto const* const pBaseSamples = reinterpret_cast<Sample const*>(pBase);
    auto* const pTargetSamples = reinterpret_cast<Sample*>(pTarget);
    for (vlUInt64 pixel = 0; pixel < nbPixels; ++pixel) {
        Sample const base = pBaseSamples[pixel];
        auto value = static_cast<double>(base);
        for (unsigned int term = 0; term < nbTerms; ++term) {
            auto const* const pOther = reinterpret_cast<Sample const*>(pTerms[term].pPlane);
            value += weigh(pTerms[term].weight, base, pOther[pixel]);
        }
        pTargetSamples[pixel] = toSample<Sample>(value);
    }
}

template <class Sample>
void blendSamples(vlUInt64 nbPixels, std::byte const* pBase, BlendTerm const* pTerms, unsigned int nbTerms,
                  std::byte* pTarget) {
    switch (nbTerms) {
    case 0:
        std::memcpy(pTarget, pBase, nbPixels * sizeof(Sample));
        break;
    case 1:
        if constexpr (std::is_same_v<Sample, std::uint16_t>) {
            blendLinear16(nbPixels, pTerms[0].weight, reinterpret_cast<Sample const*>(pBase),
                          reinterpret_cast<Sample const*>(pTerms[0].pPlane),
                          reinterpret_cast<Sample*>(pTarget));
        } else {
            blend<Sample, 1>(nbPixels, pBase, pTerms, pTarget);
        }
        break;
    case 2:
        blend<Sample, 2>(nbPixels, pBase, pTerms, pTarget);
        break;
    default:
        blend<Sample, 3>(nbPixels, pBase, pTerms, pTarget);
        break;
    }
}

} // namespace

void blendPlanes(image::eImageBufferType bufferType, vlUInt64 nbPixels, std::byte const* pBase,
                 BlendTerm const* pTerms, unsigned int nbTerms, std::byte* pTarget) {
    switch (image::toDataType(bufferType)) {
    case image::eDT_Int8:
        return blendSamples<std::int8_t>(nbPixels, pBase, pTerms, nbTerms, pTarget);
    case image::eDT_UInt8:
        return blendSamples<std::uint8_t>(nbPixels, pBase, pTerms, nbTerms, pTarget);
    case image::eDT_Int16:
        return blendSamples<std::int16_t>(nbPixels, pBase, pTerms, nbTerms, pTarget);
    case image::eDT_UInt16:
        return blendSamples<std::uint16_t>(nbPixels, pBase, pTerms, nbTerms, pTarget);
    case image::eDT_Int32:
        return blendSamples<std::int32_t>(nbPixels, pBase, pTerms, nbTerms, pTarget);
    case image::eDT_UInt32:
        return blendSamples<std::uint32_t>(nbPixels, pBase, pTerms, nbTerms, pTarget);
    case image::eDT_Real32:
        return blendSamples<float>(nbPixels, pBase, pTerms, nbTerms, pTarget);
    case image::eDT_None:
        break;
    }
}

} // namespace gtrans
} // namespace imaproc
} // namespace velmo
