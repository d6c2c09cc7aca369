// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/BaseArchive.h"

#include <iosfwd>

namespace velmo {

/// Binary archive without names. Numbers are little-endian with fixed sizes (int, unsigned int and float 4
/// bytes, unsigned long 8 bytes); a string is its length in 8 bytes and its bytes. Sections are not stored.
/// Does not own the stream.
class VELMO_HOST_EXPORT BinaryOArchive : public BaseOArchive {
  public:
    /// The stream must outlive the archive.
    explicit BinaryOArchive(std::ostream& stream);

    using BaseOArchive::writeItem;
    void writeItem(std::string const& name, int value) override;
    void writeItem(std::string const& name, unsigned int value) override;
    void writeItem(std::string const& name, unsigned long value) override;
    void writeItem(std::string const& name, float value) override;
    void writeItem(std::string const& name, std::string const& value) override;

  private:
    void openSectionDerived(std::string const& sectionName) override;
    void closeSectionDerived() override;
    void writeBytes(std::string const& name, char const* pBytes, vlUInt64 nbBytes);

    std::ostream& _stream;
};

/// Reads what BinaryOArchive wrote, from the current position of the stream. The stream must be seekable:
/// lengths are compared with the rest of the stream before memory is allocated.
class VELMO_HOST_EXPORT BinaryIArchive : public BaseIArchive {
  public:
    /// Determines the number of bytes left. The stream must outlive the archive.
    explicit BinaryIArchive(std::istream& stream);

    using BaseIArchive::readItem;
    void readItem(std::string const& name, int& value) override;
    void readItem(std::string const& name, unsigned int& value) override;
    void readItem(std::string const& name, unsigned long& value) override;
    void readItem(std::string const& name, float& value) override;
    void readItem(std::string const& name, std::string& value) override;

  private:
    void openSectionDerived(std::string const& sectionName) override;
    void closeSectionDerived() override;
    void requireLeft(std::string const& name, vlUInt64 nbBytes) const;
    void readBytes(std::string const& name, char* pBytes, vlUInt64 nbBytes);

    std::istream& _stream;
    vlUInt64 _nbBytesLeft = 0;
};

} // namespace velmo
