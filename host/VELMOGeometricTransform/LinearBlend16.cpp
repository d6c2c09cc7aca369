// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOGeometricTransform/detail/LinearBlend16.h"

#include "VELMOGeometricTransform/detail/BlendSample.h"

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace velmo::imaproc::gtrans {

namespace {

/// Few enough that seldom one of them is near a half.
constexpr vlUInt64 g_groupBytes = 64;

void blendEach(vlUInt64 nbBytes, double weight, std::byte const* pBase, std::byte const* pOther,
               std::byte* pTarget) {
    for (vlUInt64 pixel = 0; pixel < nbBytes / sizeof(std::uint16_t); ++pixel) {
        storeSample(pTarget, pixel,
                    blendSample(weight, loadSample<std::uint16_t>(pBase, pixel),
                                loadSample<std::uint16_t>(pOther, pixel)));
    }
}

#ifdef __x86_64__

/// What uses instructions that not every processor has.
#define VELMO_AVX2 __attribute__((target("avx2")))

bool hasAvx2() {
    static bool const bHas = __builtin_cpu_supports("avx2") != 0;
    return bHas;
}

/// A weight in parts of 2^32, rounded down.
struct FixedWeight {
    VELMO_AVX2 explicit FixedWeight(double weight)
        : FixedWeight(static_cast<std::uint32_t>(weight * 4294967296.0)) {}
    VELMO_AVX2 explicit FixedWeight(std::uint32_t parts)
        : high(_mm256_set1_epi16(static_cast<short>(parts >> 16U))),
          low(_mm256_set1_epi16(static_cast<short>(parts & 0xFFFFU))) {}
    __m256i high;
    __m256i low;
};

VELMO_AVX2 __m256i load(std::byte const* pSamples) {
    return _mm256_loadu_si256(reinterpret_cast<__m256i const*>(pSamples));
}

/// Blends 16 samples, and marks in `nearHalf` those whose change lies so near to a half that the parts of
/// 2^16 that it is calculated in do not tell on which side.
VELMO_AVX2 __m256i blendLanes(__m256i base, __m256i other, FixedWeight const& weight, __m256i& nearHalf) {
    __m256i const zero = _mm256_setzero_si256();
    __m256i const rise = _mm256_subs_epu16(other, base);
    __m256i const difference = _mm256_or_si256(rise, _mm256_subs_epu16(base, other));

    // The change is `whole` and (upper + lower) / 2^16. The average is half of that sum, to 16 bits.
    __m256i const whole = _mm256_mulhi_epu16(weight.high, difference);
    __m256i const upper = _mm256_mullo_epi16(weight.high, difference);
    __m256i const lower = _mm256_mulhi_epu16(weight.low, difference);
    __m256i const average = _mm256_avg_epu16(upper, lower);
    __m256i const rounded = _mm256_avg_epu16(_mm256_srli_epi16(average, 14), zero); // 0, 1 or 2
    __m256i const change = _mm256_add_epi16(whole, rounded);

    // Twice the average less a whole is the fraction; 0x7FFE and 0x8000 become the two lowest numbers.
    __m256i const shifted = _mm256_add_epi16(_mm256_slli_epi16(average, 1), _mm256_set1_epi16(2));
    nearHalf = _mm256_or_si256(nearHalf, _mm256_cmpgt_epi16(_mm256_set1_epi16(-0x7FFC), shifted));

    __m256i const bFalls = _mm256_cmpeq_epi16(rise, zero);
    return _mm256_add_epi16(base, _mm256_sub_epi16(_mm256_xor_si256(change, bFalls), bFalls));
}

/// False where a sample of the group must be calculated in full.
VELMO_AVX2 bool blendGroup(FixedWeight const& weight, std::byte const* pBase, std::byte const* pOther,
                           std::byte* pTarget) {
    __m256i nearHalf = _mm256_setzero_si256();
    for (vlUInt64 offset = 0; offset < g_groupBytes; offset += sizeof(__m256i)) {
        __m256i const blended = blendLanes(load(pBase + offset), load(pOther + offset), weight, nearHalf);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pTarget + offset), blended);
    }
    return _mm256_testz_si256(nearHalf, nearHalf) != 0;
}

/// Blends whole groups and tells how many bytes that were.
VELMO_AVX2 vlUInt64 blendGroups(vlUInt64 nbBytes, double weight, std::byte const* pBase,
                                std::byte const* pOther, std::byte* pTarget) {
    FixedWeight const fixed(weight);
    vlUInt64 offset = 0;
    for (; offset + g_groupBytes <= nbBytes; offset += g_groupBytes) {
        if (!blendGroup(fixed, pBase + offset, pOther + offset, pTarget + offset)) {
            blendEach(g_groupBytes, weight, pBase + offset, pOther + offset, pTarget + offset);
        }
    }
    return offset;
}

#else

bool hasAvx2() {
    return false;
}

vlUInt64 blendGroups(vlUInt64 /*nbBytes*/, double /*weight*/, std::byte const* /*pBase*/,
                     std::byte const* /*pOther*/, std::byte* /*pTarget*/) {
    return 0;
}

#endif

} // namespace

void blendLinear16(vlUInt64 nbPixels, double weight, std::byte const* pBase, std::byte const* pOther,
                   std::byte* pTarget) {
    vlUInt64 const nbBytes = nbPixels * sizeof(std::uint16_t);
    vlUInt64 const nbDone = hasAvx2() ? blendGroups(nbBytes, weight, pBase, pOther, pTarget) : 0;
    blendEach(nbBytes - nbDone, weight, pBase + nbDone, pOther + nbDone, pTarget + nbDone);
}

} // namespace velmo::imaproc::gtrans
