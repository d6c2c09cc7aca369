// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOSerialization/BaseArchive.h>

namespace velmo::fuzz {

/// An archive that redirects file paths into the sandbox. If the last part of a path is the name of a sample,
/// it is kept; otherwise it is replaced by `g_missingName`. The sizes of such a missing file are limited,
/// because a record can create the file with any size. All other values are those of the other archive.
class SandboxArchive : public BaseIArchive {
  public:
    /// Refers to `archive`.
    explicit SandboxArchive(BaseIArchive& archive) : _archive(archive) {}
    bool isTextual() const override { return _archive.isTextual(); }

    using BaseIArchive::readItem;
    void readItem(std::string const& name, int& value) override { _archive.readItem(name, value); }
    void readItem(std::string const& name, unsigned int& value) override { _archive.readItem(name, value); }
    void readItem(std::string const& name, unsigned long& value) override;
    void readItem(std::string const& name, float& value) override { _archive.readItem(name, value); }
    void readItem(std::string const& name, std::string& value) override;

  private:
    void openSectionDerived(std::string const& sectionName) override { _archive.openSection(sectionName); }
    void closeSectionDerived() override { _archive.closeSection(); }

    BaseIArchive& _archive;
    bool _bMissing = false;
};

/// A file that does not exist when a target begins.
constexpr char const* g_missingName = "missing";
/// Writes the samples that archives may name, once in the process: a.tif, b.tif, c.im6 and d.raw.
void writeSamples();

} // namespace velmo::fuzz
