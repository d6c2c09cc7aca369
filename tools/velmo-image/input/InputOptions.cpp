// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/InputOptions.h"

#include "input/InputFile.h"
#include "input/StreamedInput.h"
#include "terminal/CheckedParsing.h"

#include <VELMOImageFile/PixelTypeNames.h>
#include <algorithm>
#include <boost/algorithm/string/join.hpp>

namespace velmo::tool {

namespace {

using namespace image;

constexpr bool g_bMachineIsBig = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
/// Whether a byte order needs a swap on this machine.
constexpr std::array<Choice<bool>, 2> g_byteOrders = {
    {{"little", g_bMachineIsBig}, {"big", !g_bMachineIsBig}}};

constexpr std::array<Choice<file::eTiffDirectoryMode>, 2> g_directoryModes = {
    {{"z", file::eTDM_Volume}, {"t", file::eTDM_Temporal}}};
constexpr std::array<Choice<file::eTiffBufferMode>, 3> g_bufferModes = {
    {{"default", file::eTBM_Default}, {"binary", file::eTBM_Binary}, {"label", file::eTBM_Label}}};

eImageBufferType parsePixelType(std::string const& text) {
    auto const type = file::findPixelType(text);
    if (!type) {
        throw WrongUse("--type must be one of " + boost::algorithm::join(file::getPixelTypeNames(), ", ") +
                       ", not " + quoted(text));
    }
    return *type;
}

void refuseGiven(std::vector<CommandOption> const& options, std::string const& formatName) {
    for (CommandOption const& option : options) {
        if (option.isGiven()) {
            char const* const hint =
                option.getName() == "--type" ? "; convert --to-type converts pixels" : "";
            throw WrongUse((option.getName() + " applies only to " + formatName + " inputs").append(hint));
        }
    }
}

ColorGeometry createColor(vlUInt64 sizeC) {
    ColorGeometry color;
    switch (sizeC) {
    case 1:
        color.initGrey();
        break;
    case 3:
        color.initRgb();
        break;
    case 4:
        color.init(eCGT_Rgba);
        break;
    default:
        color.initUser(sizeC);
        break;
    }
    return color;
}

} // namespace

ImageGeometryPtr RawDescription::createGeometry() const {
    VolumeGeometry volume;
    if (sizes.size() > 2) {
        volume.init3d(sizes[2]);
    }
    TemporalGeometry temporal;
    if (sizes.size() > 4 && sizes[4] > 1) {
        temporal.initSequence(sizes[4]);
    }
    return geometry(bufferType, sizes[0], sizes[1], volume, createColor(sizes.size() > 3 ? sizes[3] : 1),
                    temporal);
}

CommandOption addPixelsOption(CommandOptions& options, std::string& value, std::string const& what) {
    return options.addOption("--pixels", value,
                             "default|binary|label: the unsigned pixels of " + what +
                                 " are numbers (default), a mask or labels; ignored for files written by "
                                 "this library");
}

file::eTiffBufferMode parseBufferMode(std::string const& text) {
    return parseChoice("--pixels", text, g_bufferModes);
}

file::eTiffDirectoryMode parseDirectoryMode(std::string const& option, std::string const& text) {
    return parseChoice(option, text, g_directoryModes);
}

void InputOptions::addTo(CommandOptions& options) {
    options.addOption(
        "--format", _format,
        "raw|tiff|im6: format of the input (default: by content, otherwise by extension, .tif and .tiff are "
        "tiff, .im6 is im6, all others raw; with --size or --type, by extension)");
    _rawOptions = {
        options.addOption("--size", _size, "X,Y[,Z[,C[,T]]]: dimensions of a raw input"),
        options.addOption("--type", _type,
                          boost::algorithm::join(file::getPixelTypeNames(), "|") +
                              ": pixel type of a raw input"),
        options.addOption("--offset", _offset, "Bytes before the first plane of a raw input (default: 0)"),
        options.addOption("--byte-order", _byteOrder,
                          "little|big: byte order of a raw input (default: little)")};
    _tiffOptions = {
        options.addOption("--directories", _directories,
                          "z|t: the directories of a TIFF input are planes or time steps; ignored "
                          "for files written by this library (default: z)"),
        addPixelsOption(options, _pixels, "a TIFF input")};
}

eFileFormat InputOptions::getFormat(boost::filesystem::path const& path) const {
    eFileFormat const ofName = chooseInputFormat(path, _format);
    bool const bDescribed = std::any_of(_rawOptions.begin(), _rawOptions.end(),
                                        [](CommandOption const& option) { return option.isGiven(); });
    if (!_format.empty() || (ofName == eFileFormat::Raw && bDescribed)) {
        return ofName;
    }
    return findFormatOfContent(toInputPath(path)).value_or(ofName);
}

std::string const* InputOptions::findInput(std::vector<std::string> const& files, eFileFormat format) const {
    auto const pFile = std::find_if(files.begin(), files.end(),
                                    [&](std::string const& file) { return getFormat(file) == format; });
    return pFile != files.end() ? &*pFile : nullptr;
}

RawDescription InputOptions::describeRaw(std::string const& file) const {
    if (_size.empty() || _type.empty()) {
        requireReadable(toInputPath(file));
        throw WrongUse(quoted(file) +
                       " is read as a raw file, which needs --size X,Y[,Z[,C[,T]]] and --type TYPE, such "
                       "as --size 181,217,181 --type uint8; for other formats use --format "
                       "tiff or --format im6");
    }
    return {parseSizes("--size", _size), parsePixelType(_type), parseNumber("--offset", _offset),
            parseChoice("--byte-order", _byteOrder, g_byteOrders)};
}

InputDescription InputOptions::describe(std::vector<std::string> const& files, bool bQuiet) const {
    std::string const* const pRaw = findInput(files, eFileFormat::Raw);
    if (pRaw == nullptr) {
        refuseGiven(_rawOptions, "raw");
    }
    if (findInput(files, eFileFormat::Tiff) == nullptr) {
        refuseGiven(_tiffOptions, "TIFF");
    }
    file::TiffReadOptions tiff;
    tiff.directories = parseDirectoryMode("--directories", _directories);
    tiff.pixels = parseBufferMode(_pixels);
    return {pRaw != nullptr ? describeRaw(*pRaw) : RawDescription{{}, eIBT_None, 0, false}, tiff, bQuiet};
}

} // namespace velmo::tool
