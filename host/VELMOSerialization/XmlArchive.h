// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/BaseArchive.h"

#include <iosfwd>
#include <memory>

namespace velmo {

/// XML archive: `<archive>` with an element `<item name="..." value="..."/>` for each value and `<section
/// name="...">` for each section, in the order of writing. Numbers are bit-exact, except for the payload of a
/// NaN. A string must not contain a zero byte. `finish` writes the document to the stream; otherwise the
/// destructor does, and ignores errors. Does not own the stream.
class VELMO_HOST_EXPORT XmlOArchive : public BaseOArchive {
  public:
    /// The stream must outlive the archive.
    explicit XmlOArchive(std::ostream& stream);
    ~XmlOArchive() override;
    bool isTextual() const override { return true; }

    /// Writes the document. Throws VELMOSerializationException if the stream fails. The archive must not be
    /// used afterwards.
    void finish();

    using BaseOArchive::writeItem;
    void writeItem(std::string const& name, int value) override;
    void writeItem(std::string const& name, unsigned int value) override;
    void writeItem(std::string const& name, unsigned long value) override;
    void writeItem(std::string const& name, float value) override;
    void writeItem(std::string const& name, std::string const& value) override;

  private:
    void openSectionDerived(std::string const& sectionName) override;
    void closeSectionDerived() override;

    struct Impl;
    std::unique_ptr<Impl> _pImpl;
};

/// Reads what XmlOArchive wrote, in the same order. The names of items are compared, those of sections are
/// not. The constructor reads the stream to its end and throws VELMOSerializationException if it is not XML.
class VELMO_HOST_EXPORT XmlIArchive : public BaseIArchive {
  public:
    /// Reads the whole stream. It is not used afterwards.
    explicit XmlIArchive(std::istream& stream);
    ~XmlIArchive() override;
    bool isTextual() const override { return true; }

    using BaseIArchive::readItem;
    void readItem(std::string const& name, int& value) override;
    void readItem(std::string const& name, unsigned int& value) override;
    void readItem(std::string const& name, unsigned long& value) override;
    void readItem(std::string const& name, float& value) override;
    void readItem(std::string const& name, std::string& value) override;

  private:
    void openSectionDerived(std::string const& sectionName) override;
    void closeSectionDerived() override;

    struct Impl;
    std::unique_ptr<Impl> _pImpl;
};

} // namespace velmo
