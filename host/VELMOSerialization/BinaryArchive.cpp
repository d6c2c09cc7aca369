// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOSerialization/BinaryArchive.h"

#include "VELMOSerialization/VELMOSerializationLog.h"
#include "VELMOUtil/Failures.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <istream>
#include <ostream>

namespace velmo {

namespace {

using Message = eVELMOSerializationMessage;

template <class Unsigned>
std::array<char, sizeof(Unsigned)> toLittleEndian(Unsigned value) {
    std::array<char, sizeof(Unsigned)> bytes{};
    for (char& byte : bytes) {
        byte = static_cast<char>(value & 0xFFU);
        value = static_cast<Unsigned>(value >> 8U);
    }
    return bytes;
}

template <class Unsigned>
Unsigned fromLittleEndian(std::array<char, sizeof(Unsigned)> const& bytes) {
    Unsigned value = 0;
    for (std::size_t i = sizeof(Unsigned); i-- > 0;) {
        value = static_cast<Unsigned>((value << 8U) | static_cast<unsigned char>(bytes[i]));
    }
    return value;
}

[[noreturn]] void raiseStreamFailed(std::string const& name) {
    raiseMessage(VELMO_HERE, g_velmoSerializationRaise, Message::eVSM_StreamFailed, name);
}

} // namespace

BinaryOArchive::BinaryOArchive(std::ostream& stream) : _stream(stream) {}

void BinaryOArchive::openSectionDerived(std::string const& /*sectionName*/) {}

void BinaryOArchive::closeSectionDerived() {}

void BinaryOArchive::writeItem(std::string const& name, int value) {
    writeItem(name, static_cast<unsigned int>(value));
}

void BinaryOArchive::writeItem(std::string const& name, unsigned int value) {
    auto const bytes = toLittleEndian(value);
    writeBytes(name, bytes.data(), bytes.size());
}

void BinaryOArchive::writeItem(std::string const& name, unsigned long value) {
    auto const bytes = toLittleEndian(value);
    writeBytes(name, bytes.data(), bytes.size());
}

void BinaryOArchive::writeItem(std::string const& name, float value) {
    unsigned int bits = 0;
    static_assert(sizeof(bits) == sizeof(value));
    std::memcpy(&bits, &value, sizeof(bits));
    writeItem(name, bits);
}

void BinaryOArchive::writeItem(std::string const& name, std::string const& value) {
    writeItem(name, static_cast<unsigned long>(value.size()));
    writeBytes(name, value.data(), value.size());
}

void BinaryOArchive::writeBytes(std::string const& name, char const* pBytes, vlUInt64 nbBytes) {
    if (!_stream.write(pBytes, static_cast<std::streamsize>(nbBytes))) {
        raiseStreamFailed(name);
    }
}

BinaryIArchive::BinaryIArchive(std::istream& stream) : _stream(stream) {
    _stream.clear(_stream.rdstate() & ~std::ios::eofbit); // the end may have been met without a read past it
    auto const start = _stream.tellg();
    _stream.seekg(0, std::ios::end);
    auto const end = _stream.tellg();
    _stream.seekg(start);
    if (!_stream || start < 0 || end < start) {
        raiseMessage(VELMO_HERE, g_velmoSerializationRaise, Message::eVSM_StreamNotSeekable);
    }
    _nbBytesLeft = static_cast<vlUInt64>(end - start);
}

void BinaryIArchive::openSectionDerived(std::string const& /*sectionName*/) {}

void BinaryIArchive::closeSectionDerived() {}

void BinaryIArchive::readItem(std::string const& name, int& value) {
    unsigned int bits = 0;
    readItem(name, bits);
    std::memcpy(&value, &bits, sizeof(value));
}

void BinaryIArchive::readItem(std::string const& name, unsigned int& value) {
    std::array<char, sizeof(value)> bytes{};
    readBytes(name, bytes.data(), bytes.size());
    value = fromLittleEndian<unsigned int>(bytes);
}

void BinaryIArchive::readItem(std::string const& name, unsigned long& value) {
    std::array<char, sizeof(value)> bytes{};
    readBytes(name, bytes.data(), bytes.size());
    value = fromLittleEndian<unsigned long>(bytes);
}

void BinaryIArchive::readItem(std::string const& name, float& value) {
    unsigned int bits = 0;
    readItem(name, bits);
    std::memcpy(&value, &bits, sizeof(value));
}

void BinaryIArchive::readItem(std::string const& name, std::string& value) {
    unsigned long nbBytes = 0;
    readItem(name, nbBytes);
    requireLeft(name, nbBytes);
    value.resize(nbBytes);
    readBytes(name, value.data(), nbBytes);
}

void BinaryIArchive::requireLeft(std::string const& name, vlUInt64 nbBytes) const {
    if (nbBytes > _nbBytesLeft) {
        raiseMessage(VELMO_HERE, g_velmoSerializationRaise, Message::eVSM_ArchiveTooShort, name, nbBytes,
                     _nbBytesLeft);
    }
}

void BinaryIArchive::readBytes(std::string const& name, char* pBytes, vlUInt64 nbBytes) {
    requireLeft(name, nbBytes);
    if (!_stream.read(pBytes, static_cast<std::streamsize>(nbBytes))) {
        raiseStreamFailed(name);
    }
    _nbBytesLeft -= nbBytes;
}

} // namespace velmo
