// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/InputOptions.h"

#include "input/InputFile.h"
#include "terminal/CheckedParsing.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace velmo::tool {

namespace {

using namespace image;

constexpr std::array<Choice<eImageBufferType>, 11> g_types = {{{"uint8", eIBT_UInt8},
                                                               {"int8", eIBT_Int8},
                                                               {"uint16", eIBT_UInt16},
                                                               {"int16", eIBT_Int16},
                                                               {"uint32", eIBT_UInt32},
                                                               {"int32", eIBT_Int32},
                                                               {"real32", eIBT_Real32},
                                                               {"binary", eIBT_Binary},
                                                               {"label8", eIBT_Label8},
                                                               {"label16", eIBT_Label16},
                                                               {"label32", eIBT_Label32}}};

constexpr bool g_bMachineIsBig = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
/// Whether a word for a byte order asks for a swap on this machine.
constexpr std::array<Choice<bool>, 2> g_byteOrders = {
    {{"little", g_bMachineIsBig}, {"big", !g_bMachineIsBig}}};

constexpr std::array<Choice<file::eTiffDirectoryMode>, 2> g_directoryModes = {
    {{"z", file::eTDM_Volume}, {"t", file::eTDM_Temporal}}};
constexpr std::array<Choice<file::eTiffBufferMode>, 3> g_bufferModes = {
    {{"default", file::eTBM_Default}, {"binary", file::eTBM_Binary}, {"label", file::eTBM_Label}}};

void refuseGiven(std::vector<CLI::Option const*> const& options, std::string const& formatName) {
    for (CLI::Option const* const pOption : options) {
        if (pOption->count() != 0) {
            throw WrongUse(pOption->get_name() + " is for " + formatName + " inputs, and none is given");
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

CLI::Option* addPixelsOption(CLI::App& app, std::string& value, std::string const& what) {
    return app.add_option("--pixels", value,
                          "default|binary|label: what the unsigned pixels of " + what +
                              " are, unless the file says so itself (default: numbers)");
}

file::eTiffBufferMode parseBufferMode(std::string const& text) {
    return parseChoice("--pixels", text, g_bufferModes);
}

file::eTiffDirectoryMode parseDirectoryMode(std::string const& option, std::string const& text) {
    return parseChoice(option, text, g_directoryModes);
}

void InputOptions::addTo(CLI::App& app) {
    app.add_option(
        "--format", _format,
        "raw|tiff|im6; without it the extension decides: .tif and .tiff are tiff, .im6 is im6, others raw");
    _rawOptions = {
        app.add_option("--size", _size, "X,Y[,Z[,C[,T]]]: sizes of a raw input"),
        app.add_option("--type", _type,
                       "uint8|int8|uint16|int16|uint32|int32|real32|binary|label8|label16|label32: pixels of "
                       "a raw input"),
        app.add_option("--offset", _offset, "Bytes before the first plane of a raw input (0)"),
        app.add_option("--byte-order", _byteOrder, "little|big: byte order of a raw input (little)")};
    _tiffOptions = {app.add_option("--directories", _directories,
                                   "z|t: what the directories of a TIFF input are, planes or time steps, "
                                   "unless it says so itself (z)"),
                    addPixelsOption(app, _pixels, "a TIFF input")};
}

eFileFormat InputOptions::getFormat(boost::filesystem::path const& path) const {
    return chooseInputFormat(path, _format);
}

std::string const* InputOptions::findInput(std::vector<std::string> const& files, eFileFormat format) const {
    auto const pFile = std::find_if(files.begin(), files.end(),
                                    [&](std::string const& file) { return getFormat(file) == format; });
    return pFile != files.end() ? &*pFile : nullptr;
}

RawDescription InputOptions::describeRaw(std::string const& file) const {
    if (_size.empty() || _type.empty()) {
        requireReadable(file);
        throw WrongUse("a raw file does not say what is in it: it takes --size X,Y[,Z[,C[,T]]] and --type "
                       "TYPE, such as --size 181,217,181 --type uint8; " +
                       quoted(file) + " is read as one unless --format says tiff or im6");
    }
    return {parseSizes("--size", _size), parseChoice("--type", _type, g_types),
            parseNumber("--offset", _offset), parseChoice("--byte-order", _byteOrder, g_byteOrders)};
}

InputDescription InputOptions::describe(std::vector<std::string> const& files) const {
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
    return {pRaw != nullptr ? describeRaw(*pRaw) : RawDescription{{}, eIBT_None, 0, false}, tiff};
}

} // namespace velmo::tool
