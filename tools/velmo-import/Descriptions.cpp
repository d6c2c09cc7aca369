// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Descriptions.h"

#include "Refusal.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <cctype>
#include <charconv>
#include <cmath>
#include <map>
#include <pugixml.hpp>
#include <sstream>

namespace velmo::importer {

namespace {

std::optional<vlUInt64> parseCount(std::string const& text) {
    std::string const trimmed = boost::algorithm::trim_copy(text);
    vlUInt64 count = 0;
    auto const [pEnd, error] = std::from_chars(trimmed.data(), trimmed.data() + trimmed.size(), count);
    bool const bWhole = pEnd == trimmed.data() + trimmed.size();
    return error == std::errc() && bWhole ? std::optional(count) : std::nullopt;
}

/// A positive, finite number; a minus sign is ignored, since some programs write a direction.
std::optional<double> parseLength(std::string const& text) {
    std::string const trimmed = boost::algorithm::trim_copy(text);
    double number = 0;
    auto const [pEnd, error] = std::from_chars(trimmed.data(), trimmed.data() + trimmed.size(), number);
    number = std::fabs(number);
    bool const bValid = error == std::errc() && std::isfinite(number) && number > 0;
    return bValid ? std::optional(number) : std::nullopt;
}

/// "um" for the ways in which programs write micrometres.
std::string normaliseUnit(std::string unit) {
    boost::algorithm::trim(unit);
    for (char const* const sign : {"\\u00B5", "\\u00b5", "\xc2\xb5", "\xce\xbc"}) {
        boost::algorithm::replace_first(unit, sign, "u");
    }
    if (!unit.empty() && unit.front() == '\xb5') { // Latin-1
        unit.front() = 'u';
    }
    return unit;
}

// ImageJ

std::map<std::string, std::string> parseLines(std::string const& description) {
    std::map<std::string, std::string> values;
    std::istringstream stream(description);
    for (std::string line; std::getline(stream, line);) {
        std::size_t const equals = line.find('=');
        if (equals != std::string::npos) {
            values.emplace(line.substr(0, equals), boost::algorithm::trim_copy(line.substr(equals + 1)));
        }
    }
    return values;
}

StackDescription parseImageJ(std::string const& description) {
    std::map<std::string, std::string> const values = parseLines(description);
    auto const getValue = [&](char const* key) {
        auto const found = values.find(key);
        return found == values.end() ? std::string() : found->second;
    };
    auto const getCount = [&](char const* key) { return parseCount(getValue(key)); };
    StackDescription stack;
    stack.program = "ImageJ";
    DescribedAxes axes = {"czt", getCount("slices").value_or(1), getCount("channels").value_or(1),
                          getCount("frames").value_or(1)};
    auto const nbOfAxes = axes.countPages();
    auto const nbImages = getCount("images");
    stack.nbPlanes = nbImages.value_or(nbOfAxes.value_or(1));
    if (nbOfAxes == stack.nbPlanes) {
        stack.axes = axes;
    }
    stack.size.unit = normaliseUnit(getValue("unit"));
    stack.size.z = parseLength(getValue("spacing"));
    stack.bValueFunction = !getValue("cf").empty();
    return stack;
}

// The JSON of tifffile: {"shape": [2, 3, 17, 37], "axes": "TZYX"}

/// The characters between two signs behind a key; empty if they are missing.
std::string findBetween(std::string const& text, std::string const& key, char open, char close) {
    std::size_t const position = text.find('"' + key + '"');
    std::size_t const start =
        position == std::string::npos ? position : text.find(open, position + key.size() + 2);
    std::size_t const end = start == std::string::npos ? start : text.find(close, start + 1);
    return end == std::string::npos ? std::string() : text.substr(start + 1, end - start - 1);
}

std::vector<vlUInt64> parseShape(std::string const& text) {
    std::vector<vlUInt64> shape;
    std::istringstream stream(text);
    for (std::string number; std::getline(stream, number, ',');) {
        shape.push_back(parseCount(number).value_or(0));
    }
    return shape;
}

/// Whether the axes are those of planes with rows, such as TZCYX or ZYXS.
std::optional<DescribedAxes> toAxes(std::string const& letters, std::vector<vlUInt64> const& shape) {
    std::size_t const rows = letters.find("YX");
    if (letters.size() != shape.size() || rows == std::string::npos) {
        return std::nullopt;
    }
    DescribedAxes axes;
    for (std::size_t index = rows; index > 0; --index) { // the last one is the fastest
        auto const axis = static_cast<char>(std::tolower(static_cast<unsigned char>(letters[index - 1])));
        bool const bKnown = axis == 'z' || axis == 'c' || axis == 't';
        if (!bKnown || axes.order.find(axis) != std::string::npos) {
            return std::nullopt;
        }
        axes.order += axis;
        axes.accessSize(axis) = shape[index - 1];
    }
    return axes;
}

std::optional<StackDescription> parseShaped(std::string const& description) {
    std::vector<vlUInt64> const shape = parseShape(findBetween(description, "shape", '[', ']'));
    if (shape.size() < 2) {
        return std::nullopt;
    }
    StackDescription stack;
    stack.program = "tifffile";
    stack.axes = toAxes(findBetween(description, "axes", '"', '"'), shape);
    stack.nbValues = 1;
    for (vlUInt64 const size : shape) {
        stack.nbValues = checkedMultiply(stack.nbValues, size).value_or(NumericLimits<vlUInt64>::s_max);
    }
    return stack;
}

// OME-XML

std::optional<vlUInt64> findCount(pugi::xml_node node, char const* name) {
    pugi::xml_attribute const attribute = node.attribute(name);
    return attribute ? parseCount(attribute.value()) : std::nullopt;
}

vlUInt64 requireSize(pugi::xml_node pixels, char const* name) {
    auto const size = findCount(pixels, name);
    if (!size || *size == 0) {
        refuse(std::string("the OME-XML has no valid ") + name);
    }
    return *size;
}

/// Metres of a unit of length; empty for others.
std::optional<double> getMetres(std::string const& unit) {
    static std::map<std::string, double> const units = {
        {"m", 1}, {"cm", 1e-2}, {"mm", 1e-3}, {"um", 1e-6}, {"nm", 1e-9}, {"pm", 1e-12}, {"in", 0.0254}};
    auto const found = units.find(unit);
    return found == units.end() ? std::nullopt : std::optional(found->second);
}

std::string getUnit(pugi::xml_node pixels, char const* name) {
    pugi::xml_attribute const unit = pixels.attribute(name);
    return unit ? normaliseUnit(unit.value()) : "um";
}

DescribedSize readSize(pugi::xml_node pixels) {
    DescribedSize size;
    size.unit = getUnit(pixels, "PhysicalSizeXUnit");
    size.x = parseLength(pixels.attribute("PhysicalSizeX").value());
    auto const read = [&](char const* name, char const* unitName) {
        auto length = parseLength(pixels.attribute(name).value());
        std::string const unit = getUnit(pixels, unitName);
        auto const metres = getMetres(unit);
        auto const metresOfX = getMetres(size.unit);
        if (length && unit != size.unit) {
            length = metres && metresOfX ? std::optional(*length * *metres / *metresOfX) : std::nullopt;
        }
        return length;
    };
    size.y = read("PhysicalSizeY", "PhysicalSizeYUnit");
    size.z = read("PhysicalSizeZ", "PhysicalSizeZUnit");
    if (!size.x || !size.y) { // the unit of the resolution tags counts, if there are any
        return {};
    }
    return size;
}

OmeBlock readBlock(pugi::xml_node node) {
    OmeBlock block;
    block.directory = findCount(node, "IFD");
    block.nbPlanes = findCount(node, "PlaneCount");
    block.firstZ = findCount(node, "FirstZ").value_or(0);
    block.firstC = findCount(node, "FirstC").value_or(0);
    block.firstT = findCount(node, "FirstT").value_or(0);
    pugi::xml_node const uuid = node.child("UUID");
    block.fileName = uuid.attribute("FileName").value();
    block.uuid = boost::algorithm::trim_copy(std::string(uuid.text().get()));
    return block;
}

OmeImage readImage(pugi::xml_node pixels) {
    OmeImage image;
    image.sizeX = requireSize(pixels, "SizeX");
    image.sizeY = requireSize(pixels, "SizeY");
    std::string const order = pixels.attribute("DimensionOrder").value();
    for (std::size_t index = 2; index < order.size(); ++index) {
        image.axes.order += static_cast<char>(std::tolower(static_cast<unsigned char>(order[index])));
    }
    std::string sorted = image.axes.order;
    std::sort(sorted.begin(), sorted.end());
    if (sorted != "ctz" || !boost::algorithm::starts_with(order, "XY")) {
        refuse("the OME-XML has the unknown order of axes \"" + order + '"');
    }
    image.axes.sizeZ = requireSize(pixels, "SizeZ");
    image.axes.sizeC = requireSize(pixels, "SizeC");
    image.axes.sizeT = requireSize(pixels, "SizeT");
    image.size = readSize(pixels);
    for (pugi::xml_node const channel : pixels.children("Channel")) {
        vlUInt64 const samples = findCount(channel, "SamplesPerPixel").value_or(1);
        if (!image.channelNames.empty() && samples != image.samples) {
            refuse("the OME-XML has channels with different numbers of samples");
        }
        image.samples = samples;
        image.channelNames.emplace_back(channel.attribute("Name").value());
    }
    for (pugi::xml_node const node : pixels.children("TiffData")) {
        image.blocks.push_back(readBlock(node));
    }
    return image;
}

} // namespace

std::optional<vlUInt64> DescribedAxes::countPages() const {
    auto const nbPlanes = checkedMultiply(sizeZ, sizeC);
    return nbPlanes ? checkedMultiply(*nbPlanes, sizeT) : nbPlanes;
}

std::optional<StackDescription> parseStackDescription(std::string const& description) {
    if (boost::algorithm::starts_with(description, "ImageJ=")) {
        return parseImageJ(description);
    }
    bool const bShaped = boost::algorithm::starts_with(description, "{") &&
                         description.find("\"shape\":") != std::string::npos;
    return bShaped ? parseShaped(description) : std::nullopt;
}

std::optional<OmeDescription> parseOmeXml(std::string const& description) {
    if (description.find("<OME") == std::string::npos) {
        return std::nullopt;
    }
    pugi::xml_document document;
    pugi::xml_parse_result const parsed = document.load_buffer(description.data(), description.size());
    pugi::xml_node const root = document.child("OME");
    if (!parsed) {
        refuse(std::string("the OME-XML is not well-formed: ") + parsed.description());
    }
    if (!root) {
        return std::nullopt;
    }
    OmeDescription ome;
    ome.uuid = root.attribute("UUID").value();
    ome.metadataFile = root.child("BinaryOnly").attribute("MetadataFile").value();
    for (pugi::xml_node const image : root.children("Image")) {
        ome.images.push_back(readImage(image.child("Pixels")));
    }
    return ome;
}

} // namespace velmo::importer
