// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ImportPlan.h"

#include "PageSelection.h"
#include "Palette.h"
#include "PixelNames.h"
#include "Refusal.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOImageFile/PixelTypeNames.h>
#include <algorithm>
#include <boost/make_shared.hpp>
#include <cmath>
#include <map>

namespace velmo::importer {

namespace {

using namespace image;

class Planner {
  public:
    Planner(boost::filesystem::path const& file, ImportOptions const& options) : _options(options) {
        _files.push_back(listFile(file));
    }

    ImportPlan plan() {
        _selection = selectPages(_files, _options, _plan.changes);
        addPages();
        chooseGeometry();
        chooseCalibration();
        reportWarnings();
        for (ListedFile const& file : _files) {
            _plan.files.push_back(file.pFile);
        }
        return std::move(_plan);
    }

  private:
    void add(std::string const& kind, std::string const& text) {
        bool const bKnown = std::any_of(_plan.changes.begin(), _plan.changes.end(), [&](auto const& change) {
            return change.kind == kind && change.text == text;
        });
        if (!bKnown) {
            _plan.changes.push_back({kind, text});
        }
    }

    void addPages() {
        _plan.pages.reserve(_selection.pages.size());
        for (SelectedPage const& page : _selection.pages) {
            requireBytes(page);
            std::size_t const kind = findKind(page);
            _plan.pages.push_back({page.file, page.stackOffset.value_or(page.page.offset), page.number, kind,
                                   page.stackOffset.has_value()});
        }
        if (_nbMissing != 0) {
            requireSparse();
            add("sparse", std::to_string(_nbMissing) +
                              " tiles or strips have no bytes in the file: their pixels are zero");
        }
        choosePaletteBits();
    }

    /// Tiles or strips without bytes must be missing on purpose and stand for zero.
    void requireSparse() const {
        std::string const missing = std::to_string(_nbMissing) + " tiles or strips have no bytes in the file";
        bool const bIncomplete = std::any_of(
            _files.begin(), _files.end(), [](ListedFile const& file) { return file.list.bIncompleteTable; });
        if (bIncomplete) {
            refuse(missing + ": the table of their positions is incomplete");
        }
        std::string const& noData = _files.front().list.noData;
        if (!noData.empty() && noData != "0") {
            refuse(missing + " and stand for the value " + noData +
                   " (tag GDAL_NODATA), which is not supported");
        }
    }

    void requireBytes(SelectedPage const& page) {
        if (page.stackOffset) {
            return; // its bytes were counted
        }
        if (!page.page.bPlausible) {
            refuse("directory " + std::to_string(page.number) +
                   " announces more pixels than the file holds: " +
                   describePixels(_files[page.file].list.getShape(page.page)));
        }
        _nbMissing += page.page.nbMissingChunks;
    }

    /// The index of the kind of a page; chooses it at the first page of its shape.
    std::size_t findKind(SelectedPage const& page) {
        auto const key = std::make_pair(page.file, page.page.shape);
        auto const found = _kinds.find(key);
        if (found != _kinds.end()) {
            return found->second;
        }
        ListedFile const& file = _files[page.file];
        PageShape const& shape = file.list.getShape(page.page);
        auto const isAlike = [&](PageKind const& kind) { return kind.shape == shape; };
        auto const pAlike = std::find_if(_plan.kinds.begin(), _plan.kinds.end(), isAlike);
        auto const index = static_cast<std::size_t>(pAlike - _plan.kinds.begin());
        if (pAlike == _plan.kinds.end()) {
            addKind(page);
        }
        return _kinds[key] = index;
    }

    void addKind(SelectedPage const& page) {
        ListedFile const& file = _files[page.file];
        PageShape const& shape = file.list.getShape(page.page);
        TiffHandle handle(file.pFile);
        if (!handle.select(page.page.offset)) {
            refuse("directory " + std::to_string(page.number) + " cannot be read: " + handle.takeError());
        }
        std::vector<ImportChange> changes;
        PixelKind const pixels = choosePixelKind(handle, shape, _options, changes);
        for (ImportChange const& change : changes) {
            add(change.kind, change.text);
        }
        bool const bSwap = file.list.bBigEndian != (__BYTE_ORDER__ == __ORDER_BIG_ENDIAN__);
        _plan.kinds.push_back({shape, pixels, bSwap});
    }

    /// Colours of 8 bits only if all palettes have no more.
    void choosePaletteBits() {
        bool const bPalettes = std::any_of(_plan.kinds.begin(), _plan.kinds.end(), [](PageKind const& kind) {
            return kind.pixels.bPalette && kind.pixels.type == eIBT_UInt8;
        });
        if (!bPalettes || _plan.pages.size() == 1) {
            return;
        }
        std::map<std::size_t, std::unique_ptr<TiffHandle>> handles;
        bool bAllOf8 = true;
        for (PageSource const& page : _plan.pages) {
            std::unique_ptr<TiffHandle>& pHandle = handles[page.file];
            if (!pHandle) {
                pHandle = std::make_unique<TiffHandle>(_files[page.file].pFile);
            }
            bAllOf8 = bAllOf8 &&
                      (page.bStacked || (pHandle->select(page.offset) &&
                                         readPalette(*pHandle, _plan.kinds[page.kind].shape).shift != 0));
        }
        for (PageKind& kind : _plan.kinds) {
            kind.pixels.type = bAllOf8 ? eIBT_UInt8 : eIBT_UInt16;
        }
        if (!bAllOf8) {
            add("palette", "one of the palettes has 16 bits: all pages became RGB of 16 bits");
        }
    }

    void chooseGeometry() {
        PixelKind const& pixels = _plan.kinds[_plan.pages.front().kind].pixels;
        for (PageKind const& kind : _plan.kinds) {
            if (kind.pixels.type != pixels.type || kind.pixels.color.getSizeC() != pixels.color.getSizeC()) {
                refuse("the pages become pixels of different types; choose pages with --page A:B");
            }
        }
        PageShape const& shape = _plan.kinds[_plan.pages.front().kind].shape;
        DescribedAxes const& axes = _selection.axes;
        _plan.samples = pixels.color.getSizeC();
        VolumeGeometry volume;
        if (axes.sizeZ > 1) {
            volume.init3d(axes.sizeZ);
        }
        TemporalGeometry temporal;
        if (axes.sizeT > 1) {
            temporal.initSequence(axes.sizeT);
        }
        _plan.pGeometry = geometry(pixels.type, shape.sizeX, shape.sizeY, volume,
                                   joinChannels(pixels.color, axes.sizeC), temporal);
    }

    /// The channels of pages, `nbPages` times.
    ColorGeometry joinChannels(ColorGeometry const& ofPage, vlUInt64 nbPages) const {
        ColorGeometry color = ofPage;
        if (nbPages > 1) {
            vlUInt64 const samples = ofPage.getSizeC();
            color.initUser(samples * nbPages); // fits: the pages exist
            for (vlUInt64 page = 0;
                 page < std::min<vlUInt64>(nbPages, _selection.channelNames.size()) && samples == 1; ++page) {
                if (!_selection.channelNames[page].empty()) {
                    color.setChannelName(_selection.channelNames[page], page);
                }
            }
        }
        return color;
    }

    void chooseCalibration() {
        SelectedPage const& first = _selection.pages.front();
        DescribedSize size = _selection.size;
        if (!size.x || !size.y) {
            TiffHandle handle(_files[first.file].pFile);
            bool const bSelected = handle.select(first.page.offset);
            addResolution(bSelected ? readResolution(handle) : std::nullopt, size);
        }
        if (!size.x && !size.y && size.z) { // such as the spacing of ImageJ, whose pixels measure 1
            size.x = 1;
            size.y = 1;
        }
        if (!size.x || !size.y) {
            return;
        }
        auto const pCalibration = boost::make_shared<GeometricCalibration>();
        auto const x = static_cast<float>(*size.x);
        auto const y = static_cast<float>(*size.y);
        if (size.z) {
            pCalibration->init3d(x, y, static_cast<float>(*size.z), size.unit, 0, 0, 0, 0, 0, 0, 0);
        } else {
            pCalibration->init2d(x, y, size.unit, 0, 0, 0, 0, 0);
        }
        _plan.pCalibration = pCalibration;
    }

    void addResolution(std::optional<PageResolution> const& resolution, DescribedSize& size) {
        if (!resolution) {
            return;
        }
        bool const bValid = resolution->x > 0 && resolution->y > 0 && std::isfinite(resolution->x) &&
                            std::isfinite(resolution->y);
        if (!bValid) {
            add("calibration", "the resolution tags are not positive numbers: they were ignored");
            return;
        }
        size.x = 1.0F / resolution->x;
        size.y = 1.0F / resolution->y;
        if (size.unit.empty()) {
            size.unit = resolution->unit == RESUNIT_INCH         ? "inch"
                        : resolution->unit == RESUNIT_CENTIMETER ? "cm"
                                                                 : "";
        }
    }

    void reportWarnings() {
        if (_files.front().list.bIccProfile) {
            add("profile", "the ICC profile was left out");
        }
        for (ListedFile const& file : _files) {
            for (std::string const& warning : file.list.warnings) {
                add("libtiff", warning);
            }
        }
    }

    ImportOptions const& _options;
    std::vector<ListedFile> _files;
    PageSelection _selection;
    ImportPlan _plan;
    std::map<std::pair<std::size_t, std::size_t>, std::size_t> _kinds;
    vlUInt64 _nbMissing = 0;
};

} // namespace

ImportPlan planImport(boost::filesystem::path const& file, ImportOptions const& options) {
    return Planner(file, options).plan();
}

bool isOwnFile(boost::filesystem::path const& file) {
    auto const pFile = std::make_shared<InputFile const>(file);
    TiffHandle handle(pFile);
    return isOwnDirectory(handle);
}

} // namespace velmo::importer
