// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "DroppedParts.h"

#include "Descriptions.h"
#include "PageList.h"

#include <algorithm>
#include <array>
#include <boost/algorithm/string/join.hpp>
#include <cctype>
#include <cstring>
#include <map>
#include <set>
#include <sstream>

namespace velmo::importer {

namespace {

using Names = std::vector<std::string>;

/// Of further directories the parts are usually the same.
constexpr std::size_t g_maxDirectories = 64;
constexpr std::size_t g_maxUnknownTags = 5;
constexpr std::size_t g_maxKeys = 8;

constexpr std::uint32_t g_imageJCounts = 50838;
constexpr std::uint32_t g_imageJMetadata = 50839;

struct NamedTag {
    std::uint32_t tag;
    char const* name;
};

/// In the order in which they are listed.
constexpr std::array<NamedTag, 24> g_namedTags = {{{34675, "ICC profile"},
                                                   {34665, "EXIF"},
                                                   {34853, "GPS position"},
                                                   {33550, "GeoTIFF tags"},
                                                   {33920, "GeoTIFF tags"},
                                                   {33922, "GeoTIFF tags"},
                                                   {34264, "GeoTIFF tags"},
                                                   {34735, "GeoTIFF tags"},
                                                   {34736, "GeoTIFF tags"},
                                                   {34737, "GeoTIFF tags"},
                                                   {42112, "GDAL metadata"},
                                                   {42113, "GDAL no-data value"},
                                                   {700, "XMP"},
                                                   {33723, "IPTC"},
                                                   {34377, "Photoshop resources"},
                                                   {33628, "MetaMorph tags"},
                                                   {33629, "MetaMorph tags"},
                                                   {269, "document name"},
                                                   {306, "date and time"},
                                                   {315, "artist"},
                                                   {33432, "copyright"},
                                                   {271, "make and model of the device"},
                                                   {272, "make and model of the device"},
                                                   {316, "host computer"}}};

/// Tags that describe how pixels are stored, that the module reads or replaces, or that have no meaning
/// without others.
bool isStorage(std::uint32_t tag) {
    constexpr std::array<std::uint32_t, 46> tags = {
        254, 255, 256, 257, 258, 259, 262, 263, 264, 265, 266, 273, 274,   277,           278, 279,
        280, 281, 282, 283, 284, 286, 287, 288, 289, 290, 291, 292, 293,   296,           297, 305,
        317, 321, 322, 323, 324, 325, 326, 327, 328, 338, 339, 347, 32996, g_imageJCounts};
    bool const bOfJpegOrInks = (tag >= 332 && tag <= 346) || (tag >= 512 && tag <= 532);
    bool const bColorimetry = tag == 301 || tag == 318 || tag == 319;
    return bOfJpegOrInks || bColorimetry || std::find(tags.begin(), tags.end(), tag) != tags.end();
}

/// Lists without doubles, in the order in which they were added.
class NameList {
  public:
    void add(std::string const& name) {
        if (std::find(_names.begin(), _names.end(), name) == _names.end()) {
            _names.push_back(name);
        }
    }
    Names const& get() const { return _names; }

  private:
    Names _names;
};

std::string joinKeys(Names const& keys) {
    Names shown(keys.begin(), keys.begin() + static_cast<std::ptrdiff_t>(std::min(keys.size(), g_maxKeys)));
    if (shown.size() < keys.size()) {
        shown.emplace_back("...");
    }
    return boost::algorithm::join(shown, ", ");
}

/// Keys of ImageJ whose values the planes of an image do not show.
std::string describeImageJ(std::string const& description) {
    constexpr std::array<char const*, 8> ofAxes = {"ImageJ", "images",     "channels", "slices",
                                                   "frames", "hyperstack", "mode",     "loop"};
    Names keys;
    std::istringstream stream(description);
    for (std::string line; std::getline(stream, line);) {
        std::string const key = line.substr(0, std::min(line.find('='), line.size()));
        bool const bKey = !key.empty() && std::all_of(key.begin(), key.end(), [](unsigned char letter) {
            return std::isalnum(letter) != 0;
        });
        if (bKey && std::find(ofAxes.begin(), ofAxes.end(), key) == ofAxes.end()) {
            keys.push_back(key);
        }
    }
    return keys.empty() ? std::string() : "ImageJ description (" + joinKeys(keys) + ')';
}

/// Empty for a description that only says how many planes there are.
std::string describeDescription(TiffHandle const& handle) {
    auto const text = handle.getTag<char const*>(TIFFTAG_IMAGEDESCRIPTION);
    std::string const description = text && *text != nullptr ? *text : "";
    if (description.find_first_not_of(" \t\r\n") == std::string::npos) {
        return {};
    }
    if (description.find("<OME") != std::string::npos) {
        return "OME-XML";
    }
    auto const stack = parseStackDescription(description);
    return !stack ? "image description" : stack->program == "ImageJ" ? describeImageJ(description) : "";
}

/// The values of a tag that libtiff does not know, of a type of that size; empty if they are others.
template <class Value>
std::vector<Value> readValues(TiffHandle const& handle, std::uint32_t tag) {
    TIFFField const* const pField = TIFFFindField(handle.get(), tag, TIFF_ANY);
    std::uint32_t count = 0;
    Value const* pValues = nullptr;
    bool const bRead = pField != nullptr && TIFFFieldPassCount(pField) != 0 &&
                       TIFFDataWidth(TIFFFieldDataType(pField)) == static_cast<int>(sizeof(Value)) &&
                       TIFFGetField(handle.get(), tag, &count, &pValues) == 1 && pValues != nullptr;
    return bRead ? std::vector<Value>(pValues, pValues + count) : std::vector<Value>();
}

/// The kinds of blocks that the metadata of ImageJ begin with.
std::string describeImageJMetadata(TiffHandle const& handle) {
    static std::map<std::string, char const*> const kinds = {
        {"info", "information"},   {"labl", "slice labels"},       {"rang", "display ranges"},
        {"luts", "lookup tables"}, {"roi ", "region of interest"}, {"over", "overlay"},
        {"plot", "plot"},          {"prop", "properties"}};
    std::vector<std::uint32_t> const counts = readValues<std::uint32_t>(handle, g_imageJCounts);
    std::vector<char> const bytes = readValues<char>(handle, g_imageJMetadata);
    std::size_t const headerSize = counts.empty() ? 0 : std::min<std::size_t>(counts.front(), bytes.size());
    bool const bTurned = headerSize >= 4 && std::memcmp(bytes.data(), "JIJI", 4) == 0;
    NameList names;
    for (std::size_t begin = 4; begin + 8 <= headerSize; begin += 8) {
        std::string kind(bytes.data() + begin, 4);
        if (bTurned) {
            std::reverse(kind.begin(), kind.end());
        }
        auto const found = kinds.find(kind);
        names.add(found != kinds.end() ? found->second : "other");
    }
    return names.get().empty() ? "ImageJ metadata" : "ImageJ metadata (" + joinKeys(names.get()) + ')';
}

/// The parts of directories, taken one after the other.
class PartList {
  public:
    void addDirectory(TiffHandle const& handle) {
        auto const photometric = handle.getTagOr<std::uint16_t>(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        _bColourMap = _bColourMap || photometric == PHOTOMETRIC_PALETTE;
        std::string const description = describeDescription(handle);
        if (!description.empty()) {
            _described.add(description);
        }
        std::uint16_t nbBelow = 0;
        toff_t const* pBelow = nullptr;
        _bSubDirectories =
            _bSubDirectories ||
            (TIFFGetField(handle.get(), TIFFTAG_SUBIFD, &nbBelow, &pBelow) == 1 && nbBelow != 0);
        int const nbTags = TIFFGetTagListCount(handle.get());
        for (int index = 0; index < nbTags; ++index) {
            addTag(handle, TIFFGetTagListEntry(handle.get(), index));
        }
    }

    std::vector<DroppedPart> get() const {
        std::vector<DroppedPart> parts;
        if (_bColourMap) {
            parts.push_back({"colour map, whose indexes the pixels are", true});
        }
        NameList names = _described;
        for (NamedTag const& named : g_namedTags) {
            if (_named.count(named.tag) != 0) {
                names.add(named.name);
            }
        }
        std::size_t nbListed = 0;
        for (std::uint32_t const tag : _unknown) {
            if (nbListed++ < g_maxUnknownTags) {
                names.add("tag " + std::to_string(tag));
            }
        }
        if (_unknown.size() > g_maxUnknownTags) {
            names.add(std::to_string(_unknown.size() - g_maxUnknownTags) + " more tags");
        }
        if (_bSubDirectories) {
            names.add("directories below others");
        }
        for (std::string const& name : names.get()) {
            parts.push_back({name, false});
        }
        return parts;
    }

  private:
    void addTag(TiffHandle const& handle, std::uint32_t tag) {
        bool const bNamed = std::any_of(g_namedTags.begin(), g_namedTags.end(),
                                        [&](NamedTag const& named) { return named.tag == tag; });
        if (bNamed) {
            _named.insert(tag);
        } else if (tag == g_imageJMetadata) {
            _described.add(describeImageJMetadata(handle));
        } else if (tag != TIFFTAG_IMAGEDESCRIPTION && tag != TIFFTAG_COLORMAP && tag != TIFFTAG_SUBIFD &&
                   !isStorage(tag)) {
            _unknown.insert(tag);
        }
    }

    bool _bColourMap = false;
    bool _bSubDirectories = false;
    NameList _described;
    std::set<std::uint32_t> _named;
    std::set<std::uint32_t> _unknown;
};

} // namespace

std::vector<DroppedPart> findDroppedParts(boost::filesystem::path const& file) {
    try {
        TiffHandle handle(std::make_shared<InputFile const>(file));
        if (isOwnDirectory(handle)) {
            return {};
        }
        PartList parts;
        parts.addDirectory(handle);
        for (std::size_t number = 1; number < g_maxDirectories && TIFFLastDirectory(handle.get()) == 0 &&
                                     TIFFReadDirectory(handle.get()) == 1;
             ++number) {
            parts.addDirectory(handle);
        }
        return parts.get();
    } catch (BaseException const&) {
        return {};
    }
}

} // namespace velmo::importer
