// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOGeometricTransform/detail/PlaneBlend.h"

#include "VELMOGeometricTransform/detail/BlendSample.h"
#include "VELMOGeometricTransform/detail/LinearBlend16.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace velmo::imaproc::gtrans {

namespace {

/// The number of terms is known to the compiler, which then moves several samples at a time.
template <class Sample, unsigned int nbTerms>
void blend(vlUInt64 nbPixels, std::byte const* pBase, BlendTerm const* pTerms, std::byte* pTarget) {
    for (vlUInt64 pixel = 0; pixel < nbPixels; ++pixel) {
        auto const base = loadSample<Sample>(pBase, pixel);
        auto value = static_cast<double>(base);
        for (unsigned int term = 0; term < nbTerms; ++term) {
            value += weigh(pTerms[term].weight, base, loadSample<Sample>(pTerms[term].pPlane, pixel));
        }
        storeSample(pTarget, pixel, toSample<Sample>(value));
    }
}

template <class Sample>
void blendLinear(vlUInt64 nbPixels, std::byte const* pBase, BlendTerm const& term, std::byte* pTarget) {
    if constexpr (std::is_same_v<Sample, std::uint16_t>) {
        blendLinear16(nbPixels, term.weight, pBase, term.pPlane, pTarget);
    } else {
        for (vlUInt64 pixel = 0; pixel < nbPixels; ++pixel) {
            storeSample(pTarget, pixel,
                        blendSample(term.weight, loadSample<Sample>(pBase, pixel),
                                    loadSample<Sample>(term.pPlane, pixel)));
        }
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
        blendLinear<Sample>(nbPixels, pBase, pTerms[0], pTarget);
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

} // namespace velmo::imaproc::gtrans
