// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace velmo::image::mpi {

/// Writes the payload of a message: numbers of 8 bytes, little-endian, and strings after their length.
class ByteWriter {
  public:
    ByteWriter& operator<<(std::uint64_t value);
    ByteWriter& operator<<(std::string_view text);
    std::string take() { return std::move(_bytes); }

  private:
    std::string _bytes;
};

/// Reads what ByteWriter wrote. Bytes from another rank may be damaged: a value that is not there is 0 or
/// empty, and `isGood` is false from then on. Allocates no more than the bytes hold. The bytes must outlive
/// the reader.
class ByteReader {
  public:
    explicit ByteReader(std::string_view bytes) : _rest(bytes) {}
    ByteReader& operator>>(std::uint64_t& value);
    ByteReader& operator>>(std::string& text);
    bool isGood() const { return _bGood; }
    /// Good, and nothing is left.
    bool isWhole() const { return _bGood && _rest.empty(); }

  private:
    std::string_view _rest;
    bool _bGood = true;
};

} // namespace velmo::image::mpi
