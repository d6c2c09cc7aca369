// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PageSelection.h"

#include "Refusal.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <algorithm>

namespace velmo::importer {

namespace {

/// A stack in one directory: where its planes are.
struct StackPlace {
    vlUInt64 firstOffset;
    vlUInt64 planeBytes;
    vlUInt64 nbPlanes; ///< that are in the file completely
};

bool hasContiguousStrips(TIFF* pTiff) {
    std::uint64_t expected = TIFFGetStrileOffset(pTiff, 0);
    bool bContiguous = TIFFNumberOfStrips(pTiff) != 0;
    for (std::uint32_t strip = 0; bContiguous && strip < TIFFNumberOfStrips(pTiff); ++strip) {
        bContiguous = TIFFGetStrileOffset(pTiff, strip) == expected;
        expected += TIFFStripSize64(pTiff);
    }
    return bContiguous;
}

/// Empty if the planes after the first one cannot be located.
std::optional<StackPlace> findStack(ListedFile const& file) {
    PageShape const& shape = file.list.shapes.front();
    constexpr std::uint16_t bitsOfByte = 8;
    auto const rowBytes = shape.getRowBytes();
    auto const planeBytes = rowBytes ? checkedMultiply(*rowBytes, shape.sizeY) : rowBytes;
    TiffHandle const handle(file.pFile);
    bool const bLocated = planeBytes && shape.compression == COMPRESSION_NONE && !shape.bTiled &&
                          !shape.bSeparate && shape.bits % bitsOfByte == 0 &&
                          shape.fillOrder == FILLORDER_MSB2LSB && shape.photometric != PHOTOMETRIC_YCBCR &&
                          hasContiguousStrips(handle.get());
    if (!bLocated) {
        return std::nullopt;
    }
    vlUInt64 const first = TIFFGetStrileOffset(handle.get(), 0);
    vlUInt64 const nbBytes = file.pFile->getSize() - std::min(first, file.pFile->getSize());
    return StackPlace{first, *planeBytes, first == 0 ? 0 : nbBytes / *planeBytes};
}

vlUInt64 countAnnounced(StackDescription const& stack, PageShape const& shape) {
    if (stack.nbValues == 0) {
        return stack.nbPlanes;
    }
    vlUInt64 const nbOfPlane = vlUInt64{shape.sizeX} * shape.sizeY;
    return stack.nbValues / nbOfPlane / shape.samples;
}

class Selector {
  public:
    Selector(ListedFile const& file, ImportOptions const& options, std::vector<ImportChange>& changes)
        : _file(file), _options(options), _changes(changes),
          _stack(parseStackDescription(file.list.description)) {}

    PageSelection select() {
        refuseOthers();
        _nbAnnounced = _stack ? countAnnounced(*_stack, _file.list.shapes.front()) : 1;
        bool const bSingleDirectory = _stack && _file.list.pages.size() == 1 && _nbAnnounced > 1;
        if (bSingleDirectory) {
            selectStacked();
        } else {
            selectDirectories();
        }
        if (_stack && !_options.pages) {
            _selection.size = _stack->size;
        }
        if (_stack && _stack->bValueFunction) {
            add("function",
                "ImageJ shows a function of the values (cf, c0, c1 in the description): it was not "
                "applied");
        }
        chooseAxes();
        return std::move(_selection);
    }

  private:
    void add(std::string const& kind, std::string const& text) { _changes.push_back({kind, text}); }

    void refuseOthers() const {
        if (_file.list.bMetaMorph) {
            refuse("the file is a MetaMorph stack (tag 33629), whose planes after the first one have no "
                   "directories; this kind is not supported");
        }
    }

    void selectStacked() {
        Page const& page = _file.list.pages.front();
        std::optional<StackPlace> const place = findStack(_file);
        vlUInt64 const nbHeld = place ? std::min(place->nbPlanes, _nbAnnounced) : 1;
        if (nbHeld == 0) {
            refuse("the file ends before its first plane does");
        }
        reportCount(nbHeld);
        if (nbHeld > 1) {
            add("stack", "one directory for all planes: " + std::to_string(nbHeld) +
                             " planes were read one behind the other");
        }
        vlUInt64 const first = _options.pages ? _options.pages->first : 0;
        vlUInt64 const last = _options.pages ? _options.pages->last : nbHeld - 1;
        if (first > last || last >= nbHeld) {
            refuse("--page " + std::to_string(first) + ":" + std::to_string(last) +
                   " is outside of the stack, which has the planes 0 to " + std::to_string(nbHeld - 1));
        }
        for (vlUInt64 plane = first; plane <= last; ++plane) {
            auto const offset = place && nbHeld > 1
                                    ? std::optional(place->firstOffset + plane * place->planeBytes)
                                    : std::nullopt;
            _selection.pages.push_back({0, page, offset, plane});
        }
    }

    /// Reports that the file holds another number of planes than its description announces.
    void reportCount(vlUInt64 nbHeld) {
        if (nbHeld != _nbAnnounced) {
            add(nbHeld < _nbAnnounced ? "missing" : "pages",
                "the description announces " + std::to_string(_nbAnnounced) + " planes, the file holds " +
                    std::to_string(nbHeld) + ": these are imported");
        }
    }

    void selectDirectories() {
        requireRange();
        std::vector<std::size_t> const full = findFullPages(_file.list, _options.pages);
        reportSkipped(full);
        std::vector<ImportSeries> const series = groupPages(_file.list, full);
        for (vlUInt64 const number : chooseSeries(series).directories) {
            Page const& page = _file.list.pages[number];
            _selection.pages.push_back({0, page, std::nullopt, number});
        }
        reportOtherSeries(series);
        if (_stack && !_options.pages && series.size() == 1) {
            reportCount(_selection.pages.size());
        }
    }

    void requireRange() const {
        vlUInt64 const nbDirectories = _file.list.pages.size();
        if (_options.pages &&
            (_options.pages->first > _options.pages->last || _options.pages->last >= nbDirectories)) {
            refuse("--page " + std::to_string(_options.pages->first) + ":" +
                   std::to_string(_options.pages->last) +
                   " is outside of the file, which has the directories "
                   "0 to " +
                   std::to_string(nbDirectories - 1));
        }
    }

    void reportSkipped(std::vector<std::size_t> const& full) {
        vlUInt64 nbReduced = 0;
        vlUInt64 nbMasks = 0;
        std::size_t next = 0;
        for (std::size_t index = 0; index < _file.list.pages.size(); ++index) {
            Page const& page = _file.list.pages[index];
            bool const bInRange = !_options.pages || (page.number >= _options.pages->first &&
                                                      page.number <= _options.pages->last);
            if (next < full.size() && full[next] == index) {
                ++next;
            } else if (bInRange) {
                (page.kind == ePageKind::Mask ? nbMasks : nbReduced) += 1;
            }
        }
        if (nbReduced != 0) {
            add("skipped",
                "reduced pages (thumbnails, pyramid levels) that were skipped: " + std::to_string(nbReduced));
        }
        if (nbMasks != 0) {
            add("skipped", "masks that were skipped: " + std::to_string(nbMasks));
        }
        if (_file.list.nbSubDirectories != 0) {
            add("skipped", "directories below the pages (pyramid levels) that were skipped: " +
                               std::to_string(_file.list.nbSubDirectories));
        }
        if (_file.list.bFromSubDirectories) {
            add("pages", "the pages are in directories below the first ones, which are reduced pages");
        }
        bool const bOnlyReduced =
            !full.empty() && _file.list.pages[full.front()].kind != ePageKind::Page && !_options.pages;
        if (bOnlyReduced) {
            add("pages", "the file has only pages that are marked as reduced or as masks: they are imported");
        }
    }

    ImportSeries const& chooseSeries(std::vector<ImportSeries> const& series) const {
        if (_options.series) {
            if (*_options.series >= series.size()) {
                refuse("there is no series " + std::to_string(*_options.series) +
                       "; the file has the series 0 to " + std::to_string(series.size() - 1));
            }
            return series[*_options.series];
        }
        if (series.size() > 1) {
            failToChoose(series);
        }
        return series.front();
    }

    [[noreturn]] static void failToChoose(std::vector<ImportSeries> const& series) {
        refuse("the pages are of several sizes or types and make " + std::to_string(series.size()) +
                   " series; choose one with --series N, or pages with --page A:B",
               "--series 0", series);
    }

    void reportOtherSeries(std::vector<ImportSeries> const& series) {
        if (series.size() > 1) {
            add("series", "series " + std::to_string(_options.series.value_or(0)) + " of " +
                              std::to_string(series.size()) + " was imported");
        }
    }

    void chooseAxes() {
        vlUInt64 const nbPages = _selection.pages.size();
        if (!_options.axes.empty()) {
            _selection.axes = applyOption(nbPages);
            if (_stack) {
                add("axes", "the axes of --axes were used instead of those of the description: " +
                                describeAxes(_selection.axes));
            }
            return;
        }
        _selection.axes = {"z", nbPages, 1, 1};
        if (_stack && !_options.pages && nbPages > 1) {
            applyDescription(nbPages);
        } else if (nbPages > 1) {
            add("axes", "no description of axes: " + std::to_string(nbPages) + " pages are planes along Z");
        }
    }

    DescribedAxes applyOption(vlUInt64 nbPages) const {
        DescribedAxes axes;
        vlUInt64 nbKnown = 1;
        for (PageAxis const& axis : _options.axes) {
            bool const bKnown = axis.name == 'z' || axis.name == 'c' || axis.name == 't';
            if (!bKnown || axes.order.find(axis.name) != std::string::npos) {
                refuse("--axes takes each of the letters z, c and t at most once");
            }
            axes.order += axis.name;
            axes.accessSize(axis.name) = axis.size.value_or(1);
            nbKnown = checkedMultiply(nbKnown, axis.size.value_or(1)).value_or(0);
        }
        for (PageAxis const& axis : _options.axes) {
            if (!axis.size && nbKnown != 0 && nbPages % nbKnown == 0) {
                axes.accessSize(axis.name) = nbPages / nbKnown;
                nbKnown = nbPages;
            }
        }
        if (nbKnown != nbPages) {
            refuse("the sizes of --axes do not fit: the file has " + std::to_string(nbPages) + " pages");
        }
        return axes;
    }

    /// Keeps the axes of the description if the pages fit; if pages are missing, the slowest axis is cut.
    void applyDescription(vlUInt64 nbPages) {
        std::optional<DescribedAxes> axes = _stack->axes;
        if (axes && axes->countPages() != nbPages) {
            axes = cutSlowest(*axes, nbPages);
        }
        if (!axes) {
            add("axes", "the description of " + _stack->program + " does not fit " + std::to_string(nbPages) +
                            " pages: they are planes along Z");
            return;
        }
        _selection.axes = *axes;
        if (axes->sizeC * axes->sizeT > 1) {
            add("axes", "axes as " + _stack->program + " describes them: " + describeAxes(*axes));
        }
    }

    static std::optional<DescribedAxes> cutSlowest(DescribedAxes axes, vlUInt64 nbPages) {
        for (auto slowest = axes.order.rbegin(); slowest != axes.order.rend(); ++slowest) {
            if (axes.getSize(*slowest) == 1) {
                continue;
            }
            axes.accessSize(*slowest) = 1;
            auto const nbOthers = axes.countPages();
            if (!nbOthers || *nbOthers == 0 || nbPages % *nbOthers != 0) {
                return std::nullopt;
            }
            axes.accessSize(*slowest) = nbPages / *nbOthers;
            return axes;
        }
        return std::nullopt;
    }

    ListedFile const& _file;
    ImportOptions const& _options;
    std::vector<ImportChange>& _changes;
    std::optional<StackDescription> const _stack;
    vlUInt64 _nbAnnounced = 1;
    PageSelection _selection;
};

/// Sorts pages that follow each other along `axes.order` into the order z, c, t.
void sortPages(PageSelection& selection) {
    DescribedAxes const& axes = selection.axes;
    std::vector<SelectedPage> sorted;
    sorted.reserve(selection.pages.size());
    for (vlUInt64 t = 0; t < axes.sizeT; ++t) {
        for (vlUInt64 c = 0; c < axes.sizeC; ++c) {
            for (vlUInt64 z = 0; z < axes.sizeZ; ++z) {
                vlUInt64 index = 0;
                vlUInt64 step = 1;
                for (char const axis : axes.order) {
                    index += (axis == 'z' ? z : axis == 'c' ? c : t) * step;
                    step *= axes.getSize(axis);
                }
                sorted.push_back(selection.pages[index]);
            }
        }
    }
    selection.pages = std::move(sorted);
}

} // namespace

ListedFile listFile(boost::filesystem::path const& path) {
    auto const pFile = std::make_shared<InputFile const>(path);
    TiffHandle handle(pFile);
    return {pFile, readPages(handle)};
}

std::string describeAxes(DescribedAxes const& axes) {
    return "Z " + std::to_string(axes.sizeZ) + ", C " + std::to_string(axes.sizeC) + ", T " +
           std::to_string(axes.sizeT);
}

PageSelection selectPages(std::vector<ListedFile>& files, ImportOptions const& options,
                          std::vector<ImportChange>& changes) {
    bool const bDescribed = !options.pages && options.axes.empty();
    auto const ome =
        bDescribed ? parseOmeXml(files.front().list.description) : std::optional<OmeDescription>();
    if (ome) {
        return selectOmePages(files, *ome, options, changes);
    }
    PageSelection selection = Selector(files.front(), options, changes).select();
    sortPages(selection);
    return selection;
}

} // namespace velmo::importer
