// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOGeometricTransform/PlaneBlend.h"

#include "VELMOUtil/Types.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace velmo {
namespace imaproc {
namespace gtrans {

namespace {

template <class Sample>
Sample toSample(double value) {
    if constexpr (std::is_floating_point_v<Sample>) {
        return static_cast<Sample>(value);
    } else {
        constexpr auto lowest = static_cast<double>(NumericLimits<Sample>::s_min);
        constexpr auto highest = static_cast<double>(NumericLimits<Sample>::s_max);
        double const rounded = value + std::copysign(0.5, value);
        double const clamped = rounded < lowest ? lowest : rounded > highest ? highest : rounded;
        using Wide = std::conditional_t<sizeof(Sample) < 4, std::int32_t, std::int64_t>;
        return static_cast<Sample>(static_cast<Wide>(clamped));
    }
}

/// The number of terms is known to the compiler, which then moves several samples at a time.
template <class Sample, unsigned int nbTerms>
void blend(vlUInt64 nbPixels, std::byte const* pBase, BlendTerm const* pTerms, std::byte* pTarget) {
    auto const* const pBaseSamples = reinterpret_cast<Sample const*>(pBase);
    auto* const pTargetSamples = reinterpret_cast<Sample*>(pTarget);
    for (vlUInt64 pixel = 0; pixel < nbPixels; ++pixel) {
        auto const base = static_cast<double>(pBaseSamples[pixel]);
        double value = base;
        for (unsigned int term = 0; term < nbTerms; ++term) {
            auto const* const pOther = reinterpret_cast<Sample const*>(pTerms[term].pPlane);
            value += pTerms[term].weight * (static_cast<double>(pOther[pixel]) - base);
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
        blend<Sample, 1>(nbPixels, pBase, pTerms, pTarget);
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
