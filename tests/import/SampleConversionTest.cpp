// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <SampleConversion.h>
#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <limits>

namespace velmo::importer {

namespace {

/// The value of the definition; the largest exponent is infinity.
double toValue(std::uint32_t bits, int nbExponent, int nbFraction) {
    int const bias = (1 << (nbExponent - 1)) - 1;
    auto const exponent = static_cast<int>(bits >> nbFraction & ((1U << nbExponent) - 1));
    double const fraction = static_cast<double>(bits & ((1U << nbFraction) - 1)) / std::pow(2, nbFraction);
    double const sign = (bits >> (nbExponent + nbFraction)) != 0 ? -1 : 1;
    return sign *
           (exponent == 0 ? fraction * std::pow(2, 1 - bias) : (1 + fraction) * std::pow(2, exponent - bias));
}

bool isInfiniteOrNan(std::uint32_t bits, int nbExponent, int nbFraction) {
    return (bits >> nbFraction & ((1U << nbExponent) - 1)) == (1U << nbExponent) - 1;
}

} // namespace

TEST(SampleConversion, All16BitFloatsAreExact) {
    for (std::uint32_t bits = 0; bits < 65536; ++bits) {
        float const value = fromHalf(static_cast<std::uint16_t>(bits));
        if (!isInfiniteOrNan(bits, 5, 10)) {
            ASSERT_EQ(static_cast<double>(value), toValue(bits, 5, 10)) << bits;
        } else {
            ASSERT_EQ((bits & 0x3ffU) != 0, std::isnan(value)) << bits;
            ASSERT_FALSE(std::isfinite(value)) << bits;
        }
        ASSERT_EQ(bits >> 15U != 0, std::signbit(value)) << bits;
    }
}

TEST(SampleConversion, All24BitFloatsAreExact) {
    for (std::uint32_t bits = 0; bits < 1U << 24U; bits += 7) {
        float const value = fromFloat24(bits);
        if (!isInfiniteOrNan(bits, 7, 16)) {
            ASSERT_EQ(static_cast<double>(value), toValue(bits, 7, 16)) << bits;
        } else {
            ASSERT_FALSE(std::isfinite(value)) << bits;
        }
    }
}

TEST(SampleConversion, ValuesThatRoundToInfinityDoNotFit) {
    PixelKind kind;
    kind.code = eSampleCode::Double;
    kind.bits = 64;
    kind.type = image::eIBT_Real32;
    double const largest = static_cast<double>(std::numeric_limits<float>::max());
    double const limit = 0x1.ffffffp127; // half a unit above the largest value
    double const values[] = {largest, std::nextafter(limit, 0.0), -std::nextafter(limit, 0.0),
                             std::numeric_limits<double>::infinity(), limit};
    float pixels[5] = {};
    Rounding rounding;
    auto const unfit = convertRun(kind, {reinterpret_cast<std::byte const*>(values), 0, 5},
                                  reinterpret_cast<std::byte*>(pixels), rounding);
    ASSERT_TRUE(unfit);
    EXPECT_EQ(4U, unfit->pixel);
    EXPECT_EQ(std::numeric_limits<float>::max(), pixels[1]);
    EXPECT_EQ(-std::numeric_limits<float>::max(), pixels[2]);
    EXPECT_TRUE(std::isinf(pixels[3]));
    EXPECT_EQ(std::nextafter(limit, 0.0) - largest, rounding.greatestError);
}

TEST(SampleConversion, IntegersOfAnyBitsKeepTheirValuesAndSigns) {
    for (std::uint16_t bits = 2; bits <= 31; ++bits) {
        if (bits == 8 || bits == 16 || bits == 24) {
            continue;
        }
        std::vector<std::uint32_t> const values = {0, 1, (1U << (bits - 1)) - 1, 1U << (bits - 1),
                                                   (1U << bits) - 1};
        std::vector<std::byte> row((values.size() * bits + 7) / 8);
        for (std::size_t index = 0; index < values.size() * bits; ++index) {
            bool const bSet = (values[index / bits] >> (bits - 1 - index % bits) & 1U) != 0;
            row[index / 8] |= std::byte{static_cast<unsigned char>(bSet ? 0x80U >> index % 8 : 0)};
        }
        PixelKind kind;
        kind.code = eSampleCode::Bits;
        kind.bits = bits;
        kind.bSigned = true;
        kind.type = bits < 8 ? image::eIBT_Int8 : bits < 16 ? image::eIBT_Int16 : image::eIBT_Int32;
        std::vector<std::byte> pixels(values.size() * 4);
        Rounding rounding;
        ASSERT_FALSE(convertRun(kind, {row.data(), 0, values.size()}, pixels.data(), rounding));
        for (std::size_t index = 0; index < values.size(); ++index) {
            std::int64_t const expected =
                std::int64_t{values[index]} - (index >= 3 ? std::int64_t{1} << bits : 0);
            std::int32_t found = 0;
            std::memcpy(&found, pixels.data() + index * kind.getPixelSize(), kind.getPixelSize());
            std::int32_t const shift = 32 - 8 * static_cast<std::int32_t>(kind.getPixelSize());
            found = static_cast<std::int32_t>(static_cast<std::uint32_t>(found) << shift) >> shift;
            EXPECT_EQ(expected, found) << bits;
        }
    }
}

} // namespace velmo::importer
