// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <cstddef>
#include <cstdint>
#include <string>

namespace velmo::fuzz {

/// Splits an input into parts. Choices are taken from its end, so that the rest is an unchanged file.
class FuzzInput {
  public:
    FuzzInput(std::uint8_t const* pBytes, std::size_t nbBytes)
        : _bytes(reinterpret_cast<char const*>(pBytes), nbBytes) {}

    /// Takes the last byte; 0 if none is left.
    unsigned int takeByte() {
        if (_bytes.empty()) {
            return 0;
        }
        auto const byte = static_cast<unsigned char>(_bytes.back());
        _bytes.pop_back();
        return byte;
    }

    /// Takes a number: one byte that gives its number of further bytes (0 to 8), then these bytes, the lowest
    /// one last.
    vlUInt64 takeNumber() {
        vlUInt64 number = 0;
        for (unsigned int left = takeByte() % 9, shift = 0; left != 0; --left, shift += 8) {
            number |= static_cast<vlUInt64>(takeByte()) << shift;
        }
        return number;
    }

    std::string const& getRest() const { return _bytes; }

  private:
    std::string _bytes;
};

/// The inverse of FuzzInput. Choices must be put in the order in which FuzzInput takes them.
class FuzzSeed {
  public:
    explicit FuzzSeed(std::string rest) : _bytes(std::move(rest)) {}

    FuzzSeed& putByte(unsigned int byte) {
        _choices.insert(_choices.begin(), static_cast<char>(byte));
        return *this;
    }

    FuzzSeed& putNumber(vlUInt64 number) {
        unsigned int nbBytes = 0;
        while (nbBytes < 8 && (number >> (8 * nbBytes)) != 0) {
            ++nbBytes;
        }
        putByte(nbBytes);
        for (unsigned int byte = 0; byte < nbBytes; ++byte) {
            putByte(static_cast<unsigned int>(number >> (8 * byte)) & 0xFFU);
        }
        return *this;
    }

    std::string toBytes() const { return _bytes + _choices; }

  private:
    std::string _bytes;
    std::string _choices;
};

} // namespace velmo::fuzz
