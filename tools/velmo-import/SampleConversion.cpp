// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SampleConversion.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace velmo::importer {

namespace {

using namespace image;

template <class Value>
Value load(std::byte const* pBytes) {
    Value value;
    std::memcpy(&value, pBytes, sizeof(value));
    return value;
}

template <class Value>
void store(std::byte* pBytes, Value value) {
    std::memcpy(pBytes, &value, sizeof(value));
}

/// Copies samples of a size that lie `nbStored` samples apart.
template <class Value>
void copySamples(StoredRun const& run, vlUInt64 nbStored, std::byte* pPixels) {
    if (nbStored == 1) {
        std::memcpy(pPixels, run.pRow, run.nbPixels * sizeof(Value));
        return;
    }
    std::byte const* pSample = run.pRow + run.sample * sizeof(Value);
    for (vlUInt64 pixel = 0; pixel < run.nbPixels; ++pixel, pSample += nbStored * sizeof(Value)) {
        store(pPixels + pixel * sizeof(Value), load<Value>(pSample));
    }
}

void copyRun(PixelKind const& kind, StoredRun const& run, std::byte* pPixels) {
    switch (kind.getPixelSize()) {
    case 1:
        return copySamples<std::uint8_t>(run, kind.nbStored, pPixels);
    case 2:
        return copySamples<std::uint16_t>(run, kind.nbStored, pPixels);
    default:
        return copySamples<std::uint32_t>(run, kind.nbStored, pPixels);
    }
}

/// Bits of a row, the most significant bit of each byte first.
class BitReader {
  public:
    BitReader(std::byte const* pRow, unsigned int nbBits) : _pRow(pRow), _nbBits(nbBits) {}

    /// The bits of a sample; `first` is its first bit. At most 32 bits.
    std::uint32_t read(vlUInt64 first) const {
        constexpr vlUInt64 bitsOfByte = 8;
        std::uint64_t bits = 0;
        vlUInt64 const firstByte = first / bitsOfByte;
        vlUInt64 const lastByte = (first + _nbBits - 1) / bitsOfByte;
        for (vlUInt64 byte = firstByte; byte <= lastByte; ++byte) {
            bits = bits << bitsOfByte | std::to_integer<std::uint64_t>(_pRow[byte]);
        }
        vlUInt64 const nbBehind = (lastByte + 1) * bitsOfByte - first - _nbBits;
        std::uint64_t const mask = (std::uint64_t{1} << _nbBits) - 1;
        return static_cast<std::uint32_t>(bits >> nbBehind & mask);
    }

  private:
    std::byte const* _pRow;
    unsigned int _nbBits;
};

std::uint32_t loadThreeBytes(std::byte const* pBytes) {
    std::uint32_t value = 0;
    std::memcpy(&value, pBytes, 3);
    return value;
}

std::int32_t extendSign(std::uint32_t value, unsigned int nbBits) {
    std::uint64_t const sign = std::uint64_t{1} << (nbBits - 1);
    return static_cast<std::int32_t>(static_cast<std::int64_t>(value ^ sign) -
                                     static_cast<std::int64_t>(sign));
}

/// Calls `put(pixel, bits)` for each sample of the run. libtiff gives samples of 24 bits in the byte order of
/// the machine, others as a sequence of bits.
template <class Put>
void forEachSample(PixelKind const& kind, StoredRun const& run, Put const& put) {
    constexpr unsigned int bitsOfThreeBytes = 24;
    if (kind.bits == bitsOfThreeBytes) {
        std::byte const* pSample = run.pRow + run.sample * 3;
        for (vlUInt64 pixel = 0; pixel < run.nbPixels; ++pixel, pSample += kind.nbStored * 3) {
            put(pixel, loadThreeBytes(pSample));
        }
        return;
    }
    BitReader const reader(run.pRow, kind.bits);
    vlUInt64 position = run.sample * kind.bits;
    for (vlUInt64 pixel = 0; pixel < run.nbPixels; ++pixel, position += kind.nbStored * kind.bits) {
        put(pixel, reader.read(position));
    }
}

template <class Unsigned, class Signed>
void widenTo(PixelKind const& kind, StoredRun const& run, std::byte* pPixels) {
    forEachSample(kind, run, [&](vlUInt64 pixel, std::uint32_t bits) {
        if (kind.bSigned) {
            store(pPixels + pixel * sizeof(Signed), static_cast<Signed>(extendSign(bits, kind.bits)));
        } else {
            store(pPixels + pixel * sizeof(Unsigned), static_cast<Unsigned>(bits));
        }
    });
}

void widenRun(PixelKind const& kind, StoredRun const& run, std::byte* pPixels, vlUInt64 pixelSize) {
    switch (pixelSize) {
    case 1:
        return widenTo<std::uint8_t, std::int8_t>(kind, run, pPixels);
    case 2:
        return widenTo<std::uint16_t, std::int16_t>(kind, run, pPixels);
    default:
        return widenTo<std::uint32_t, std::int32_t>(kind, run, pPixels);
    }
}

/// Samples of whole bytes as floating point.
template <class Stored, class Convert>
void convertFloats(PixelKind const& kind, StoredRun const& run, std::byte* pPixels, vlUInt64 storedSize,
                   Convert const& convert) {
    std::byte const* pSample = run.pRow + run.sample * storedSize;
    for (vlUInt64 pixel = 0; pixel < run.nbPixels; ++pixel, pSample += kind.nbStored * storedSize) {
        Stored bits = 0;
        std::memcpy(&bits, pSample, storedSize);
        store(pPixels + pixel * sizeof(float), convert(bits));
    }
}

template <class Stored, class Target>
std::optional<UnfitValue> narrowTo(PixelKind const& kind, StoredRun const& run, std::byte* pPixels) {
    std::byte const* pSample = run.pRow + run.sample * sizeof(Stored);
    for (vlUInt64 pixel = 0; pixel < run.nbPixels; ++pixel, pSample += kind.nbStored * sizeof(Stored)) {
        auto const value = load<Stored>(pSample);
        if (value < std::numeric_limits<Target>::min() || value > std::numeric_limits<Target>::max()) {
            return UnfitValue{pixel, std::to_string(value)};
        }
        store(pPixels + pixel * sizeof(Target), static_cast<Target>(value));
    }
    return std::nullopt;
}

std::string toText(double value) {
    std::array<char, 32> text{};
    auto const [pEnd, error] = std::to_chars(text.data(), text.data() + text.size(), value);
    return {text.data(), pEnd};
}

std::optional<UnfitValue> roundRun(PixelKind const& kind, StoredRun const& run, std::byte* pPixels,
                                   Rounding& rounding) {
    std::byte const* pSample = run.pRow + run.sample * sizeof(double);
    for (vlUInt64 pixel = 0; pixel < run.nbPixels; ++pixel, pSample += kind.nbStored * sizeof(double)) {
        auto const value = load<double>(pSample);
        // The largest double that rounds to a finite float lies half a unit above the largest float.
        constexpr double limit = 0x1.ffffffp127;
        if (std::isfinite(value) && std::fabs(value) >= limit) {
            return UnfitValue{pixel, toText(value)};
        }
        auto const rounded = static_cast<float>(value);
        double const error = std::isfinite(value) ? std::fabs(value - static_cast<double>(rounded)) : 0;
        if (error > rounding.greatestError) {
            rounding = {error, value};
        }
        store(pPixels + pixel * sizeof(float), rounded);
    }
    return std::nullopt;
}

template <class Value>
void turnValues(vlUInt64 largest, vlUInt64 nbPixels, std::byte* pPixels) {
    for (vlUInt64 pixel = 0; pixel < nbPixels; ++pixel) {
        std::byte* const pPixel = pPixels + pixel * sizeof(Value);
        store(pPixel, static_cast<Value>(largest - load<Value>(pPixel)));
    }
}

void turnRun(PixelKind const& kind, vlUInt64 nbPixels, std::byte* pPixels) {
    switch (kind.getPixelSize()) {
    case 1:
        return turnValues<std::uint8_t>(kind.largestValue, nbPixels, pPixels);
    case 2:
        return turnValues<std::uint16_t>(kind.largestValue, nbPixels, pPixels);
    default:
        return turnValues<std::uint32_t>(kind.largestValue, nbPixels, pPixels);
    }
}

/// Floating point of `nbFraction` bits of fraction and `nbExponent` bits of exponent below a sign.
float fromSmallFloat(std::uint32_t bits, int nbExponent, int nbFraction) {
    std::uint32_t const fraction = bits & ((1U << nbFraction) - 1);
    int const largestExponent = (1 << nbExponent) - 1;
    int const exponent = static_cast<int>(bits >> nbFraction) & largestExponent;
    bool const bNegative = (bits >> (nbFraction + nbExponent) & 1U) != 0;
    int const bias = largestExponent / 2;
    if (exponent == largestExponent) { // infinity, or not a number, whose fraction is kept
        constexpr std::uint32_t allExponentBits = 0x7f800000U;
        constexpr int nbFloatFraction = 23;
        std::uint32_t const special =
            (bNegative ? 0x80000000U : 0U) | allExponentBits | fraction << (nbFloatFraction - nbFraction);
        float value = 0;
        std::memcpy(&value, &special, sizeof(value));
        return value;
    }
    float const magnitude = exponent == 0 ? std::ldexp(static_cast<float>(fraction), 1 - bias - nbFraction)
                                          : std::ldexp(static_cast<float>(fraction | 1U << nbFraction),
                                                       exponent - bias - nbFraction);
    return bNegative ? -magnitude : magnitude;
}

/// The size of a pixel before the palette is applied.
vlUInt64 getIndexSize(PixelKind const& kind) {
    constexpr std::uint16_t bitsOfByte = 8;
    return kind.bPalette ? (kind.bits <= bitsOfByte ? 1 : 2) : kind.getPixelSize();
}

} // namespace

float fromHalf(std::uint16_t bits) {
    return fromSmallFloat(bits, 5, 10);
}

float fromFloat24(std::uint32_t bits) {
    return fromSmallFloat(bits, 7, 16);
}

std::optional<UnfitValue> convertRun(PixelKind const& kind, StoredRun const& run, std::byte* pPixels,
                                     Rounding& rounding) {
    std::optional<UnfitValue> unfit;
    switch (kind.code) {
    case eSampleCode::Copy:
        if (kind.bPalette) { // indexes of whole bytes
            kind.bits == 8 ? copySamples<std::uint8_t>(run, kind.nbStored, pPixels)
                           : copySamples<std::uint16_t>(run, kind.nbStored, pPixels);
        } else {
            copyRun(kind, run, pPixels);
        }
        break;
    case eSampleCode::Bits:
        widenRun(kind, run, pPixels, getIndexSize(kind));
        break;
    case eSampleCode::Half:
        convertFloats<std::uint16_t>(kind, run, pPixels, 2, fromHalf);
        break;
    case eSampleCode::Float24:
        convertFloats<std::uint32_t>(kind, run, pPixels, 3, fromFloat24);
        break;
    case eSampleCode::Int64:
        unfit = kind.bSigned ? narrowTo<std::int64_t, std::int32_t>(kind, run, pPixels)
                             : narrowTo<std::uint64_t, std::uint32_t>(kind, run, pPixels);
        break;
    case eSampleCode::Double:
        unfit = roundRun(kind, run, pPixels, rounding);
        break;
    }
    if (kind.bTurn && run.sample == 0) {
        turnRun(kind, run.nbPixels, pPixels);
    }
    return unfit;
}

} // namespace velmo::importer
