// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/BaseImage.h>
#include <boost/filesystem/path.hpp>
#include <string>
#include <vector>

namespace velmo::test {

/// How one Deflate strip of an RGB file is damaged.
struct ColorDamage {
    enum eKind {
        eUndecodable, ///< other bytes
        eNoBytes,     ///< a byte count of 0
        eFewBytes     ///< a byte count of 2
    };

    char const* name;
    eKind kind;
    std::uint32_t rowsPerStrip; ///< of 300 bytes: 218 rows are less than 64 KiB, 219 rows are more
};

/// Each kind for a strip below and above 64 KiB.
std::vector<ColorDamage> const& getColorDamages();

/// A file of two RGB pages, of whose second one the second strip is damaged.
class DamagedColors {
  public:
    static constexpr vlUInt64 g_sizeX = 100;
    static constexpr vlUInt64 g_nbPages = 2;
    static constexpr vlUInt64 g_brokenPage = 1;
    static constexpr vlUInt64 g_brokenStrip = 1;

    /// Another `seed` gives other pixels.
    DamagedColors(boost::filesystem::path const& path, ColorDamage const& damage, unsigned int seed = 1);

    /// Of three strips, the last of which is shorter.
    vlUInt64 getSizeY() const { return 2U * _rowsPerStrip + 10U; }
    vlUInt64 getPlanNbPixels() const { return g_sizeX * getSizeY(); }
    /// The first pixel of the damaged strip, and their number.
    vlUInt64 getBrokenStart() const { return g_sizeX * _rowsPerStrip; }
    vlUInt64 getNbBroken() const { return g_sizeX * _rowsPerStrip; }

    /// One channel of a page, with the damaged strip in black.
    std::string const& getPlan(vlUInt64 page, vlUInt64 channel) const { return _planes[page * 3 + channel]; }
    /// All channels one after the other, each with all pages.
    std::string getPixels() const;

  private:
    std::uint32_t _rowsPerStrip;
    std::vector<std::string> _planes;
};

/// What reading a run of pixels gives: the pixels, or the failure's text.
std::string readRun(image::BaseImage const& image, vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 start,
                    vlUInt64 nbPixels);

} // namespace velmo::test
