// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PageList.h"

#include "PixelNames.h"
#include "Refusal.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace velmo::importer {

namespace {

constexpr std::size_t g_maxShapes = 1000;
constexpr std::uint32_t g_storedGeometryTag = 34377;
constexpr char const* g_ownSoftware = "VELMO_Library";
constexpr std::uint32_t g_metaMorphTag = 33629;
constexpr std::uint32_t g_noDataTag = 42113;

std::string readText(TiffHandle const& handle, std::uint32_t tag) {
    auto const text = handle.getTag<char const*>(tag);
    return text && *text != nullptr ? *text : std::string();
}

/// The value of a text tag that libtiff does not know; empty if it is missing.
std::string readUnknownText(TiffHandle const& handle, std::uint32_t tag) {
    std::uint32_t count = 0;
    char const* pText = nullptr;
    TIFFField const* const pField = TIFFFindField(handle.get(), tag, TIFF_ANY);
    bool const bText = pField != nullptr && TIFFFieldDataType(pField) == TIFF_ASCII &&
                       TIFFFieldPassCount(pField) != 0 &&
                       TIFFGetField(handle.get(), tag, &count, &pText) == 1 && pText != nullptr;
    return bText ? std::string(pText, strnlen(pText, count)) : std::string();
}

/// Whether the current directory has a tag whose value is an array of bytes or that libtiff does not know.
bool hasBytes(TiffHandle const& handle, std::uint32_t tag) {
    std::uint32_t count = 0;
    void* pValue = nullptr;
    return TIFFFindField(handle.get(), tag, TIFF_ANY) != nullptr &&
           TIFFGetField(handle.get(), tag, &count, &pValue) == 1;
}

class ListReader {
  public:
    explicit ListReader(TiffHandle& handle) : _handle(handle) {}

    PageList read() {
        readFirst();
        readChain();
        if (!hasPage()) {
            readSubDirectories();
        }
        _list.nbSubDirectories = _list.bFromSubDirectories ? 0 : _subDirectories.size();
        _list.warnings = _handle.takeWarnings();
        _list.bIncompleteTable = _handle.hasIncompleteTable();
        return std::move(_list);
    }

  private:
    void readFirst() {
        _list.description = readText(_handle, TIFFTAG_IMAGEDESCRIPTION);
        _list.bMetaMorph = hasBytes(_handle, g_metaMorphTag);
        _list.noData = readUnknownText(_handle, g_noDataTag);
        _list.bIccProfile = hasBytes(_handle, TIFFTAG_ICCPROFILE);
        _list.bBigEndian = TIFFIsBigEndian(_handle.get()) != 0;
    }

    void readChain() {
        addCurrent();
        while (TIFFLastDirectory(_handle.get()) == 0) {
            if (TIFFReadDirectory(_handle.get()) != 1) {
                failAfterLast();
            }
            addCurrent();
        }
    }

    [[noreturn]] void failAfterLast() {
        std::string reason = _handle.takeError();
        for (std::string const& warning : _handle.takeWarnings()) {
            reason = reason.empty() ? warning : reason;
        }
        refuse("the chain of directories breaks off after directory " +
               std::to_string(_list.pages.size() - 1) + (reason.empty() ? "" : ": " + reason));
    }

    void addCurrent() {
        vlUInt64 const number = _list.pages.size();
        PageShape shape = readShape(_handle, number);
        ChunkCheck const check = checkChunks(_handle, shape);
        _list.pages.push_back({TIFFCurrentDirOffset(_handle.get()), number, findShape(std::move(shape)),
                               readKind(_handle), check.nbMissing, check.bPlausible});
        std::uint16_t nbBelow = 0;
        toff_t const* pBelow = nullptr;
        if (TIFFGetField(_handle.get(), TIFFTAG_SUBIFD, &nbBelow, &pBelow) == 1 && pBelow != nullptr) {
            _subDirectories.insert(_subDirectories.end(), pBelow, pBelow + nbBelow);
        }
    }

    std::size_t findShape(PageShape shape) {
        auto const last = _list.pages.empty() ? 0 : _list.pages.back().shape;
        if (!_list.shapes.empty() && _list.shapes[last] == shape) {
            return last; // usually all are alike
        }
        auto const found = std::find(_list.shapes.begin(), _list.shapes.end(), shape);
        auto const index = static_cast<std::size_t>(found - _list.shapes.begin());
        if (found == _list.shapes.end()) {
            if (_list.shapes.size() == g_maxShapes) {
                refuse("the directories are of more than " + std::to_string(g_maxShapes) +
                       " different kinds");
            }
            _list.shapes.push_back(std::move(shape));
        }
        return index;
    }

    bool hasPage() const {
        return std::any_of(_list.pages.begin(), _list.pages.end(),
                           [](Page const& page) { return page.kind == ePageKind::Page; });
    }

    /// Files such as raw files of cameras have a thumbnail in the chain and their image below it.
    void readSubDirectories() {
        for (toff_t const offset : std::set<toff_t>(_subDirectories.begin(), _subDirectories.end())) {
            if (!_handle.select(offset)) {
                refuse("a directory below another one cannot be read: " + _handle.takeError());
            }
            addCurrent();
        }
        _list.bFromSubDirectories = hasPage();
    }

    TiffHandle& _handle;
    PageList _list;
    std::vector<toff_t> _subDirectories;
};

} // namespace

bool isOwnDirectory(TiffHandle const& handle) {
    return readText(handle, TIFFTAG_SOFTWARE) == g_ownSoftware && hasBytes(handle, g_storedGeometryTag);
}

PageList readPages(TiffHandle& handle) {
    return ListReader(handle).read();
}

std::optional<PageResolution> readResolution(TiffHandle const& handle) {
    auto const x = handle.getTag<float>(TIFFTAG_XRESOLUTION);
    auto const y = handle.getTag<float>(TIFFTAG_YRESOLUTION);
    if (!x || !y) {
        return std::nullopt;
    }
    return PageResolution{*x, *y, handle.getTagOr<std::uint16_t>(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH)};
}

std::vector<std::size_t> findFullPages(PageList const& list, std::optional<PageRange> const& range) {
    std::vector<std::size_t> full;
    std::vector<std::size_t> all;
    for (std::size_t index = 0; index < list.pages.size(); ++index) {
        if (range && (list.pages[index].number < range->first || list.pages[index].number > range->last)) {
            continue;
        }
        all.push_back(index);
        if (list.pages[index].kind == ePageKind::Page) {
            full.push_back(index);
        }
    }
    return full.empty() ? all : full;
}

std::vector<ImportSeries> groupPages(PageList const& list, std::vector<std::size_t> const& pages) {
    std::vector<ImportSeries> series;
    std::vector<std::size_t> firstShapes; // of each series
    std::vector<std::optional<std::size_t>> numbers(list.shapes.size());
    for (std::size_t const index : pages) {
        Page const& page = list.pages[index];
        if (!numbers[page.shape]) {
            auto const found = std::find_if(firstShapes.begin(), firstShapes.end(), [&](std::size_t first) {
                return list.shapes[first].hasPixelsLike(list.getShape(page));
            });
            numbers[page.shape] = static_cast<std::size_t>(found - firstShapes.begin());
            if (found == firstShapes.end()) {
                firstShapes.push_back(page.shape);
                series.push_back({*numbers[page.shape], {}, describePixels(list.getShape(page))});
            }
        }
        series[*numbers[page.shape]].directories.push_back(page.number);
    }
    return series;
}

} // namespace velmo::importer
