// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/TiffTags.h"

#include <atomic>

namespace velmo::image::file {

namespace {

/// Atomic, because threads that open or create files read it while another thread installs the extender.
std::atomic<TIFFExtendProc> g_pParentExtender{nullptr};

void _XTIFFDefaultDirectory(TIFF* pTiff) { // NOLINT(bugprone-reserved-identifier): libtiff's name for it
    static char fieldName[] = "User properties tag";
    static TIFFFieldInfo const g_xtiffFieldInfo[] = {
        {g_userPropertiesTag, TIFF_VARIABLE, TIFF_VARIABLE, TIFF_ASCII, FIELD_CUSTOM, 1, 0, fieldName}};
    TIFFMergeFieldInfo(pTiff, g_xtiffFieldInfo, 1);
    if (TIFFExtendProc const pParentExtender = g_pParentExtender) {
        pParentExtender(pTiff);
    }
}

/// An unloaded library must leave no pointer to itself in libtiff. An extender that other code has set since
/// is kept.
struct Extender {
    Extender() { g_pParentExtender = TIFFSetTagExtender(_XTIFFDefaultDirectory); }
    ~Extender() {
        TIFFExtendProc const extender = TIFFSetTagExtender(g_pParentExtender);
        if (extender != _XTIFFDefaultDirectory) {
            TIFFSetTagExtender(extender);
        }
    }
    Extender(Extender const&) = delete;
    Extender& operator=(Extender const&) = delete;
};

} // namespace

std::string const& VelmoSoftware::get() {
    static std::string const g_velmoSoftwareStr("VELMO_Library");
    return g_velmoSoftwareStr;
}

void TIFFInitializeExtend() {
    static Extender const extender;
}

} // namespace velmo::image::file
