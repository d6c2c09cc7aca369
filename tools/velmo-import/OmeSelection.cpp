// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PageSelection.h"

#include "Refusal.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <algorithm>
#include <boost/algorithm/string/join.hpp>
#include <boost/filesystem/operations.hpp>
#include <map>
#include <set>

namespace velmo::importer {

namespace {

namespace fs = boost::filesystem;

constexpr std::size_t g_maxNamed = 10;
constexpr char const* g_withoutDescription =
    "; --page A:B imports directories of this file without the description";

/// A name of a file of a set, which must be in the folder of the file.
fs::path toNeighbour(fs::path const& file, std::string const& name) {
    fs::path const path(name);
    if (path.is_absolute() || path.filename() != path || name == ".." || name == ".") {
        refuse("the OME-XML names the file \"" + name + "\", which is not in the folder of this file");
    }
    return file.parent_path() / path;
}

class OmeSelector {
  public:
    OmeSelector(std::vector<ListedFile>& files, OmeDescription const& ome, ImportOptions const& options,
                std::vector<ImportChange>& changes)
        : _files(files), _ome(ome), _options(options), _changes(changes), _image(chooseImage()) {}

    PageSelection select() {
        requireSizes();
        openSet();
        placeBlocks();
        requirePlanes();
        reportSkipped();
        PageSelection selection = {std::move(_pages), _axes, _image.size, _image.channelNames};
        return selection;
    }

  private:
    fs::path const& getPath() const { return _files.front().pFile->getPath(); }
    void add(std::string const& kind, std::string const& text) { _changes.push_back({kind, text}); }

    OmeImage const& chooseImage() {
        if (_ome.images.empty()) {
            refuse("the OME-XML describes no image");
        }
        vlUInt64 const nbImages = _ome.images.size();
        if (!_options.series && nbImages > 1) {
            failToChoose();
        }
        vlUInt64 const number = _options.series.value_or(0);
        if (number >= nbImages) {
            refuse("there is no series " + std::to_string(number) + "; the OME-XML has the series 0 to " +
                   std::to_string(nbImages - 1));
        }
        if (nbImages > 1) {
            add("series",
                "series " + std::to_string(number) + " of " + std::to_string(nbImages) + " was imported");
        }
        return _ome.images[number];
    }

    [[noreturn]] void failToChoose() const {
        std::vector<ImportSeries> series;
        for (OmeImage const& image : _ome.images) {
            series.push_back({series.size(),
                              {},
                              std::to_string(image.sizeX) + " x " + std::to_string(image.sizeY) + ", " +
                                  describeAxes(image.axes)});
        }
        refuse("the OME-XML describes " + std::to_string(series.size()) +
                   " images; choose one with --series N",
               "--series 0", series);
    }

    void requireSizes() {
        _axes = _image.axes;
        if (_image.samples == 0 || _axes.sizeC % _image.samples != 0) {
            refuse("the OME-XML announces " + std::to_string(_axes.sizeC) + " channels of which " +
                   std::to_string(_image.samples) + " are in each directory");
        }
        _axes.sizeC /= _image.samples;
    }

    /// The index of the file of a block, which is opened before.
    std::size_t findFile(OmeBlock const& block) {
        bool const bSelf = block.fileName.empty() || block.fileName == getPath().filename().string() ||
                           (!_ome.uuid.empty() && block.uuid == _ome.uuid);
        return bSelf ? 0 : _indexes.at(block.fileName);
    }

    void openSet() {
        std::set<std::string> names;
        for (OmeBlock const& block : _image.blocks) {
            bool const bSelf = block.fileName.empty() || block.fileName == getPath().filename().string() ||
                               (!_ome.uuid.empty() && block.uuid == _ome.uuid);
            if (!bSelf) {
                names.insert(block.fileName);
            }
        }
        requireFiles(names);
        for (std::string const& name : names) {
            _indexes[name] = _files.size();
            _files.push_back(listFile(toNeighbour(getPath(), name)));
        }
        if (!names.empty()) {
            add("set", "the planes are in a set of " + std::to_string(names.size() + 1) + " files");
        }
    }

    void requireFiles(std::set<std::string> const& names) const {
        std::vector<std::string> missing;
        for (std::string const& name : names) {
            boost::system::error_code ignored;
            if (!fs::exists(toNeighbour(getPath(), name), ignored)) {
                missing.push_back('"' + name + '"');
            }
        }
        if (missing.empty()) {
            return;
        }
        std::size_t const nbMissing = missing.size();
        missing.resize(std::min(nbMissing, g_maxNamed));
        refuse(std::to_string(nbMissing) + " files of the set that the OME-XML describes are missing: " +
               boost::algorithm::join(missing, ", ") + (nbMissing > g_maxNamed ? ", ..." : "") +
               g_withoutDescription);
    }

    void placeBlocks() {
        vlUInt64 nbDirectories = 0;
        for (ListedFile const& file : _files) {
            nbDirectories += file.list.pages.size();
        }
        auto const nbPages = _axes.countPages();
        if (!nbPages || *nbPages > nbDirectories) {
            refuse("the OME-XML announces " + (nbPages ? std::to_string(*nbPages) : "too many") +
                   " planes (" + describeAxes(_axes) + "), the files have " + std::to_string(nbDirectories) +
                   " directories" + g_withoutDescription);
        }
        _bPlaced.assign(*nbPages, false);
        _pages.resize(*nbPages);
        if (_image.blocks.empty()) {
            placeBlock(OmeBlock());
        }
        for (OmeBlock const& block : _image.blocks) {
            placeBlock(block);
        }
    }

    /// The number of the first plane in the order of the axes.
    vlUInt64 getFirst(OmeBlock const& block) const {
        vlUInt64 const c = block.firstC < _axes.sizeC ? block.firstC : block.firstC / _image.samples;
        if (block.firstZ >= _axes.sizeZ || c >= _axes.sizeC || block.firstT >= _axes.sizeT) {
            refuse("the OME-XML places a plane outside of the image: Z " + std::to_string(block.firstZ) +
                   ", C " + std::to_string(block.firstC) + ", T " + std::to_string(block.firstT));
        }
        vlUInt64 number = 0;
        vlUInt64 step = 1;
        for (char const axis : _axes.order) {
            number += (axis == 'z' ? block.firstZ : axis == 'c' ? c : block.firstT) * step;
            step *= _axes.getSize(axis);
        }
        return number;
    }

    void placeBlock(OmeBlock const& block) {
        std::size_t const file = findFile(block);
        PageList const& list = _files[file].list;
        vlUInt64 const firstDirectory = block.directory.value_or(0);
        vlUInt64 const first = getFirst(block);
        vlUInt64 const nbOfAll = std::min<vlUInt64>(list.pages.size(), _pages.size() - first);
        vlUInt64 const nbPlanes = block.nbPlanes.value_or(block.directory ? 1 : nbOfAll);
        auto const end = checkedAdd(firstDirectory, nbPlanes);
        if (!end || *end > list.pages.size() || nbPlanes > _pages.size() - first) {
            refuse("the OME-XML places planes in the directories " + std::to_string(firstDirectory) + " to " +
                   (end ? std::to_string(*end - 1) : "...") + " of \"" +
                   _files[file].pFile->getPath().string() + "\", which has " +
                   std::to_string(list.pages.size()) + g_withoutDescription);
        }
        constexpr vlUInt64 largestRepeat = 4;
        _nbPlaced += nbPlanes;
        if (_nbPlaced / largestRepeat > _pages.size()) {
            refuse(std::string("the OME-XML places its planes several times") + g_withoutDescription);
        }
        for (vlUInt64 plane = 0; plane < nbPlanes; ++plane) {
            vlUInt64 const target = toTarget(first + plane);
            vlUInt64 const number = firstDirectory + plane;
            _pages[target] = {file, list.pages[number], std::nullopt, number};
            _bPlaced[target] = true;
        }
    }

    /// The position in the order t, c, z of a plane that is numbered along the axes of the description.
    vlUInt64 toTarget(vlUInt64 number) const {
        DescribedAxes position;
        for (char const axis : _axes.order) {
            position.accessSize(axis) = number % _axes.getSize(axis);
            number /= _axes.getSize(axis);
        }
        return (position.sizeT * _axes.sizeC + position.sizeC) * _axes.sizeZ + position.sizeZ;
    }

    void requirePlanes() const {
        auto const missing = std::find(_bPlaced.begin(), _bPlaced.end(), false);
        if (missing != _bPlaced.end()) {
            auto const number = static_cast<vlUInt64>(missing - _bPlaced.begin());
            refuse("the OME-XML announces the plane Z " + std::to_string(number % _axes.sizeZ) + ", C " +
                   std::to_string(number / _axes.sizeZ % _axes.sizeC) + ", T " +
                   std::to_string(number / _axes.sizeZ / _axes.sizeC) + ", which no directory holds" +
                   g_withoutDescription);
        }
        for (SelectedPage const& page : _pages) {
            PageShape const& shape = _files[page.file].list.getShape(page.page);
            bool const bFits =
                shape.sizeX == _image.sizeX && shape.sizeY == _image.sizeY &&
                shape.samples == _image.samples &&
                shape.hasPixelsLike(_files[_pages.front().file].list.getShape(_pages.front().page));
            if (!bFits) {
                refuse("directory " + std::to_string(page.number) + " of \"" +
                       _files[page.file].pFile->getPath().string() +
                       "\" has other pixels than the OME-XML "
                       "describes (" +
                       std::to_string(_image.sizeX) + " x " + std::to_string(_image.sizeY) + ", " +
                       std::to_string(_image.samples) + " samples)" + g_withoutDescription);
            }
        }
    }

    void reportSkipped() {
        vlUInt64 nbDirectories = 0;
        vlUInt64 nbBelow = 0;
        for (ListedFile const& file : _files) {
            nbDirectories += file.list.pages.size();
            nbBelow += file.list.nbSubDirectories;
        }
        std::set<std::pair<std::size_t, vlUInt64>> used;
        for (SelectedPage const& page : _pages) {
            used.emplace(page.file, page.number);
        }
        if (nbDirectories > used.size()) {
            add("skipped", "directories that are not planes of the image and were skipped: " +
                               std::to_string(nbDirectories - used.size()));
        }
        if (nbBelow != 0) {
            add("skipped",
                "directories below the pages (pyramid levels) that were skipped: " + std::to_string(nbBelow));
        }
        if (_axes.sizeC * _axes.sizeT > 1) {
            add("axes", "axes as OME-XML describes them: " + describeAxes(_image.axes));
        }
    }

    std::vector<ListedFile>& _files;
    OmeDescription const& _ome;
    ImportOptions const& _options;
    std::vector<ImportChange>& _changes;
    OmeImage const& _image;
    DescribedAxes _axes; ///< with the channels of pages
    std::map<std::string, std::size_t> _indexes;
    std::vector<SelectedPage> _pages;
    std::vector<bool> _bPlaced;
    vlUInt64 _nbPlaced = 0;
};

/// The description in another file of the folder.
OmeDescription readMetadataFile(fs::path const& file, std::string const& name) {
    fs::path const path = toNeighbour(file, name);
    boost::system::error_code ignored;
    if (!fs::exists(path, ignored)) {
        refuse("the OME-XML is in the file \"" + name + "\", which is missing" + g_withoutDescription);
    }
    constexpr vlUInt64 largestText = vlUInt64{64} << 20;
    InputFile const text(path);
    if (text.getSize() > largestText) {
        refuse("the OME-XML in \"" + name + "\" is larger than 64 MiB");
    }
    std::string xml(text.getSize(), ' ');
    xml.resize(text.readAt(0, xml.data(), xml.size()));
    auto ome = parseOmeXml(xml);
    if (!ome) {
        refuse('"' + name + "\" contains no OME-XML" + g_withoutDescription);
    }
    return *ome;
}

} // namespace

PageSelection selectOmePages(std::vector<ListedFile>& files, OmeDescription const& ome,
                             ImportOptions const& options, std::vector<ImportChange>& changes) {
    if (ome.metadataFile.empty() || !ome.images.empty()) {
        return OmeSelector(files, ome, options, changes).select();
    }
    OmeDescription complete = readMetadataFile(files.front().pFile->getPath(), ome.metadataFile);
    complete.uuid = ome.uuid; // of this file
    return OmeSelector(files, complete, options, changes).select();
}

} // namespace velmo::importer
