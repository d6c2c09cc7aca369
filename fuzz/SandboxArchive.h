// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOSerialization/BaseArchive.h>

namespace velmo::fuzz {

/// An archive whose file paths are led into the sandbox: the last part of a path is kept where it is the name
/// of a sample there, and is `g_missingName` otherwise. Of such a file, which a record may have made, the
/// sizes are cut, since a file of any size would be made. All else is what the other archive gives.
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

/// A file that is not there when a target begins.
constexpr char const* g_missingName = "missing";
/// Writes the samples that archives may name, once in the process: a.tif, b.tif, c.im6 and d.raw.
void writeSamples();

} // namespace velmo::fuzz
