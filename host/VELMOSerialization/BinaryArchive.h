// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/BaseArchive.h"

#include <iosfwd>

namespace velmo {

/// Archive of bytes without names: numbers in little-endian order at fixed widths (int, unsigned int and
/// float 4 bytes, unsigned long 8), a string as its length in 8 bytes and its bytes. Sections leave no trace.
/// Refers to the stream.
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

/// Reads what BinaryOArchive wrote, from the position where the stream stands; afterwards the stream stands
/// behind what was read. The stream must be able to seek: a length is held against what is left before
/// anything is allocated.
class VELMO_HOST_EXPORT BinaryIArchive : public BaseIArchive {
  public:
    /// Asks the stream how much is left. The stream must outlive the archive.
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
