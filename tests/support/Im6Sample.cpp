// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6Sample.h"

#include "Results.h"
#include "TemporaryFolder.h"

#include <cstring>

namespace velmo::test {

namespace {

/// What stands where nothing is said.
constexpr char g_filler = '\xA5';

/// A record that is filled from its first byte on.
class Record {
  public:
    explicit Record(std::size_t nbBytes) : _nbBytes(nbBytes) {}

    Record& skip(std::size_t nbBytes) {
        _bytes.append(nbBytes, g_filler);
        return *this;
    }

    Record& skipTo(std::size_t offset) { return skip(offset - _bytes.size()); }

    /// A number, its lowest byte first.
    template <class Number>
    Record& put(Number number) {
        for (std::size_t byte = 0; byte < sizeof(Number); ++byte) {
            _bytes += static_cast<char>((number >> (8 * byte)) & 0xFFU);
        }
        return *this;
    }

    Record& putText(std::string const& text) {
        _bytes += text;
        return *this;
    }

    std::string end() { return skipTo(_nbBytes)._bytes; }

  private:
    std::size_t _nbBytes;
    std::string _bytes;
};

template <class Bits, class Real>
Bits bitsOf(Real value) {
    static_assert(sizeof(Bits) == sizeof(Real));
    Bits bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

std::uint64_t bits(double value) {
    return bitsOf<std::uint64_t>(value);
}

std::uint32_t bits(float value) {
    return bitsOf<std::uint32_t>(value);
}

std::uint32_t sizeOf(std::string const& block) {
    return static_cast<std::uint32_t>(block.size());
}

} // namespace

std::string Im6Calibration::toBytes() const {
    return Record(g_im6CalibrationBytes)
        .skip(8)
        .put(bits(pixelsX)) // 8
        .skip(16)
        .put(bits(pixelsY)) // 32
        .skip(16)
        .put(bits(extentX)) // 56
        .skip(16)
        .put(bits(extentY)) // 80
        .skip(16)
        .put(bits(firstFurther))  // 104
        .put(bits(secondFurther)) // 112
        .skip(48)
        .putText(unit) // 168
        .skipTo(4412)
        .put(bits(thirdFurther)) // 4412
        .put(bits(pixelSizeZ))   // 4416
        .end();
}

std::string Im6Sample::toHeader() const {
    return Record(g_im6HeaderBytes)
        .put(magic) // 0
        .put(sizeX) // 4
        .put(sizeY) // 8
        .put(sizeZ) // 12
        .put(sizeC) // 16
        .put(sizeT) // 20
        .skip(28)
        .put(dataType) // 52
        .skip(12)
        .put(textBlockSize.value_or(sizeOf(text)))          // 68
        .put(secondBlockSize.value_or(sizeOf(secondBlock))) // 72
        .put(thirdBlockSize.value_or(sizeOf(thirdBlock)))   // 76
        .end();
}

std::string Im6Sample::toBytes() const {
    return toHeader() + pixels + text + secondBlock + thirdBlock +
           (calibration ? calibration->toBytes() : std::string()) + trailer;
}

void Im6Sample::write(boost::filesystem::path const& path) const {
    writeFile(path, toBytes());
}

Im6Sample makeIm6Sequence() {
    Im6Sample sample;
    sample.sizeX = 2;
    sample.sizeY = 1;
    sample.sizeZ = 2;
    sample.sizeC = 3;
    sample.sizeT = 2;
    sample.dataType = 18;
    sample.pixels = countingBytes(48);
    return sample;
}

} // namespace velmo::test
