// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/BaseArchive.h"

#include <iosfwd>
#include <memory>

namespace velmo {

/// Archive of text: `<archive>` with an element `<item name="..." value="..."/>` for each value and
/// `<section name="...">` for each section, in the order of writing. Numbers read back as the same bits,
/// except for the payload of a NaN; a text must not hold a zero byte.
/// The document reaches the stream with `finish()` or, failures unseen, at destruction. Refers to the stream.
class VELMO_HOST_EXPORT XmlOArchive : public BaseOArchive {
  public:
    /// The stream must outlive the archive.
    explicit XmlOArchive(std::ostream& stream);
    ~XmlOArchive() override;
    bool isTextual() const override { return true; }

    /// Throws VELMOSerializationException if the stream fails. Nothing may be written afterwards.
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

/// Reads what XmlOArchive wrote. Items and sections are met in their order; the name of an item must fit,
/// that of a section need not. The constructor reads the stream to its end and throws
/// VELMOSerializationException for what is no XML.
class VELMO_HOST_EXPORT XmlIArchive : public BaseIArchive {
  public:
    /// Reads the whole stream, which is not needed afterwards.
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
