// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/planes/ChannelSamples.h"

#include "Tiff/model/TiffPixels.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <tmmintrin.h>
#include <type_traits>

namespace velmo::image::file {

namespace {

constexpr unsigned int g_blockBytes = 16;

/// Masks of byte shuffles that copy `NbChannels` blocks of 16 bytes, which contain whole pixels, between
/// pixels and planes. A byte of a mask is the index of the source byte in its block; a byte with the highest
/// bit set gives zero.
template <unsigned int Width, unsigned int NbChannels>
struct Shuffles {
    static constexpr std::uint8_t s_zero = 0x80;
    static constexpr unsigned int s_nbPixels = g_blockBytes / Width; ///< in all blocks together

    /// By channel, then by block of pixels.
    alignas(g_blockBytes) std::uint8_t split[NbChannels][NbChannels][g_blockBytes] = {};
    /// By block of pixels, then by channel.
    alignas(g_blockBytes) std::uint8_t merge[NbChannels][NbChannels][g_blockBytes] = {};

    constexpr Shuffles() {
        for (unsigned int channel = 0; channel < NbChannels; ++channel) {
            for (unsigned int block = 0; block < NbChannels; ++block) {
                for (unsigned int byte = 0; byte < g_blockBytes; ++byte) {
                    unsigned int const inPixels =
                        (byte / Width * NbChannels + channel) * Width + byte % Width;
                    split[channel][block][byte] =
                        inPixels / g_blockBytes == block ? toPlace(inPixels % g_blockBytes) : s_zero;
                    unsigned int const sample = (block * g_blockBytes + byte) / Width;
                    merge[block][channel][byte] =
                        sample % NbChannels == channel
                            ? toPlace(sample / NbChannels * Width + (block * g_blockBytes + byte) % Width)
                            : s_zero;
                }
            }
        }
    }

  private:
    static constexpr std::uint8_t toPlace(unsigned int byte) { return static_cast<std::uint8_t>(byte); }
};

template <unsigned int Width, unsigned int NbChannels>
constexpr Shuffles<Width, NbChannels> g_shuffles;

[[gnu::target("ssse3")]] inline __m128i load(void const* pBytes) {
    return _mm_loadu_si128(static_cast<__m128i const*>(pBytes));
}

[[gnu::target("ssse3")]] inline void store(void* pBytes, __m128i block) {
    _mm_storeu_si128(static_cast<__m128i*>(pBytes), block);
}

/// Copies the pixels that fill whole blocks, and returns their number.
template <unsigned int Width, unsigned int NbChannels>
[[gnu::target("ssse3")]] vlUInt64 splitBlocks(vlUInt64 nbPixels, std::byte const* pPixels,
                                              std::byte* const* ppPlanes) {
    auto const& shuffles = g_shuffles<Width, NbChannels>;
    vlUInt64 done = 0;
    for (; nbPixels - done >= shuffles.s_nbPixels; done += shuffles.s_nbPixels) {
        __m128i blocks[NbChannels];
        for (unsigned int block = 0; block < NbChannels; ++block) {
            blocks[block] = load(pPixels + done * NbChannels * Width + vlUInt64{block} * g_blockBytes);
        }
        for (unsigned int channel = 0; channel < NbChannels; ++channel) {
            __m128i plane = _mm_setzero_si128();
            for (unsigned int block = 0; block < NbChannels; ++block) {
                plane = _mm_or_si128(plane,
                                     _mm_shuffle_epi8(blocks[block], load(shuffles.split[channel][block])));
            }
            store(ppPlanes[channel] + done * Width, plane);
        }
    }
    return done;
}

template <unsigned int Width, unsigned int NbChannels>
[[gnu::target("ssse3")]] vlUInt64 mergeBlocks(vlUInt64 nbPixels, std::byte const* const* ppPlanes,
                                              std::byte* pPixels) {
    auto const& shuffles = g_shuffles<Width, NbChannels>;
    vlUInt64 done = 0;
    for (; nbPixels - done >= shuffles.s_nbPixels; done += shuffles.s_nbPixels) {
        __m128i planes[NbChannels];
        for (unsigned int channel = 0; channel < NbChannels; ++channel) {
            planes[channel] = load(ppPlanes[channel] + done * Width);
        }
        for (unsigned int block = 0; block < NbChannels; ++block) {
            __m128i pixels = _mm_setzero_si128();
            for (unsigned int channel = 0; channel < NbChannels; ++channel) {
                pixels = _mm_or_si128(
                    pixels, _mm_shuffle_epi8(planes[channel], load(shuffles.merge[block][channel])));
            }
            store(pPixels + done * NbChannels * Width + vlUInt64{block} * g_blockBytes, pixels);
        }
    }
    return done;
}

template <unsigned int Width, unsigned int NbChannels>
void split(vlUInt64 nbPixels, std::byte const* pPixels, std::byte* const* ppPlanes, bool bShuffles) {
    vlUInt64 const nbInBlocks = bShuffles ? splitBlocks<Width, NbChannels>(nbPixels, pPixels, ppPlanes) : 0;
    for (vlUInt64 pixel = nbInBlocks; pixel < nbPixels; ++pixel) {
        for (unsigned int channel = 0; channel < NbChannels; ++channel) {
            std::memcpy(ppPlanes[channel] + pixel * Width, pPixels + (pixel * NbChannels + channel) * Width,
                        Width);
        }
    }
}

template <unsigned int Width, unsigned int NbChannels>
void merge(vlUInt64 nbPixels, std::byte const* const* ppPlanes, std::byte* pPixels, bool bShuffles) {
    vlUInt64 const nbInBlocks = bShuffles ? mergeBlocks<Width, NbChannels>(nbPixels, ppPlanes, pPixels) : 0;
    for (vlUInt64 pixel = nbInBlocks; pixel < nbPixels; ++pixel) {
        for (unsigned int channel = 0; channel < NbChannels; ++channel) {
            std::memcpy(pPixels + (pixel * NbChannels + channel) * Width, ppPlanes[channel] + pixel * Width,
                        Width);
        }
    }
}

template <unsigned int Value>
using Constant = std::integral_constant<unsigned int, Value>;

/// Calls `work` with the width and the number of channels as constants.
template <class Work>
void dispatch(unsigned int width, vlUInt64 nbChannels, Work const& work) {
    auto const withWidth = [&](auto constantWidth) {
        nbChannels == 3 ? work(constantWidth, Constant<3>()) : work(constantWidth, Constant<4>());
    };
    switch (width) {
    case 1:
        return withWidth(Constant<1>());
    case 2:
        return withWidth(Constant<2>());
    default:
        return withWidth(Constant<4>());
    }
}

/// Whether the planes are those of all channels in their order, for pixels that the shuffles support.
template <class Byte>
bool areAllChannels(std::vector<ChannelPlane<Byte>> const& planes, unsigned int width, vlUInt64 nbChannels) {
    bool bAll = planes.size() == nbChannels && (nbChannels == 3 || nbChannels == 4) && width <= 4;
    for (vlUInt64 channel = 0; bAll && channel < nbChannels; ++channel) {
        bAll = planes[channel].index == channel;
    }
    return bAll;
}

/// Addresses of the samples at `offset`.
template <class Byte>
std::array<Byte*, 4> locate(std::vector<ChannelPlane<Byte>> const& planes, vlUInt64 offset) {
    std::array<Byte*, 4> places = {};
    std::transform(planes.begin(), planes.end(), places.begin(),
                   [&](ChannelPlane<Byte> const& plane) { return plane.pSamples + offset; });
    return places;
}

} // namespace

bool hasByteShuffles() {
    static bool const bShuffles = __builtin_cpu_supports("ssse3") != 0;
    return bShuffles;
}

void splitPixels(eImageBufferType bufferType, vlUInt64 nbChannels, vlUInt64 nbPixels,
                 std::byte const* pPixels, TargetPlanes const& planes, vlUInt64 offset, bool bShuffles) {
    unsigned int const width = getSampleWidth(bufferType, VELMO_HERE);
    if (areAllChannels(planes, width, nbChannels)) {
        auto const places = locate(planes, offset);
        dispatch(width, nbChannels, [&](auto constantWidth, auto constantChannels) {
            split<constantWidth(), constantChannels()>(nbPixels, pPixels, places.data(), bShuffles);
        });
        return;
    }
    for (auto const& plane : planes) {
        colorToPlan(bufferType, nbChannels, plane.index, nbPixels, pPixels, plane.pSamples + offset);
    }
}

void mergePixels(eImageBufferType bufferType, vlUInt64 nbChannels, vlUInt64 nbPixels,
                 SourcePlanes const& planes, vlUInt64 offset, std::byte* pPixels, bool bShuffles) {
    unsigned int const width = getSampleWidth(bufferType, VELMO_HERE);
    if (areAllChannels(planes, width, nbChannels)) {
        auto const places = locate(planes, offset);
        dispatch(width, nbChannels, [&](auto constantWidth, auto constantChannels) {
            merge<constantWidth(), constantChannels()>(nbPixels, places.data(), pPixels, bShuffles);
        });
        return;
    }
    for (auto const& plane : planes) {
        planToColor(bufferType, nbChannels, plane.index, nbPixels, plane.pSamples + offset, pPixels);
    }
}

} // namespace velmo::image::file
