// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Description.h"

#include "Calls.h"
#include "Text.h"

#include <VELMOImageFile/PixelTypeNames.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <algorithm>
#include <iterator>
#include <pybind11/stl.h>
#include <sstream>
#include <stdexcept>

namespace velmo::python {

namespace py = pybind11;
using namespace image;

namespace {

/// Name of the numpy type of a pixel type; null for a type without pixels.
char const* findDtypeName(eImageBufferType type) {
    switch (toDataType(type)) {
    case eDT_Int8:
        return "int8";
    case eDT_UInt8:
        return "uint8";
    case eDT_Int16:
        return "int16";
    case eDT_UInt16:
        return "uint16";
    case eDT_Int32:
        return "int32";
    case eDT_UInt32:
        return "uint32";
    case eDT_Real32:
        return "float32";
    default:
        return nullptr;
    }
}

/// The pixel types of all planes, each at least once.
std::vector<eImageBufferType> getTypes(BaseImageGeometry const& geometry) {
    auto const* const pMixed = dynamic_cast<HeterogeneousImageGeometry const*>(&geometry);
    return pMixed == nullptr ? std::vector<eImageBufferType>{geometry.getBufferType()}
                             : pMixed->getBufferTypeRuns().getTypesOfRuns();
}

bool hasOneNumberType(BaseImageGeometry const& geometry) {
    std::vector<eImageBufferType> const types = getTypes(geometry);
    return std::all_of(types.begin(), types.end(),
                       [&](eImageBufferType type) { return toDataType(type) == toDataType(types.front()); });
}

/// Planes of different types, such as binary and uint8 ones, have the name of their numbers.
std::string getTypeName(BaseImageGeometry const& geometry) {
    std::vector<eImageBufferType> const types = getTypes(geometry);
    bool const bOneType =
        std::all_of(types.begin(), types.end(), [&](eImageBufferType type) { return type == types.front(); });
    return bOneType ? file::getPixelTypeName(geometry.getBufferType())
                    : findDtypeName(geometry.getBufferType());
}

void requireOneType(BaseImageGeometry const& geometry, std::string const& path) {
    if (findDtypeName(geometry.getBufferType()) == nullptr || !hasOneNumberType(geometry)) {
        raiseError("The planes of the image \"" + path +
                       "\" have different or unknown pixel types: a numpy array has one",
                   path);
    }
}

ColorGeometry toColor(std::string const& name, vlUInt64 nbChannels) {
    ColorGeometry color;
    vlUInt64 type = eCGT_Grey;
    while (type <= eCGT_User && file::getColorName(static_cast<eColorGeometryType>(type)) != name) {
        ++type;
    }
    if (type > eCGT_User) {
        throw std::invalid_argument("unknown color \"" + name + "\"");
    }
    if (type == eCGT_User) {
        color.initUser(nbChannels);
    } else {
        color.init(static_cast<eColorGeometryType>(type));
    }
    if (color.getSizeC() != nbChannels) {
        throw std::invalid_argument("the color \"" + name + "\" has " + std::to_string(color.getSizeC()) +
                                    " channels, the array has " + std::to_string(nbChannels));
    }
    return color;
}

std::vector<float> getPixelSize(GeometricCalibration const& calibration) {
    std::vector<float> sizes{calibration.getPixelSizeY(), calibration.getPixelSizeX()};
    if (calibration.is3d()) {
        sizes.insert(sizes.begin(), calibration.getPixelSizeZ());
    }
    return sizes;
}

GeometricCalibrationConstPtr makeCalibration(std::vector<float> const& sizes, std::string const& unit,
                                             std::array<float, 7> const& terms) {
    auto const pCalibration = boost::make_shared<GeometricCalibration>();
    if (sizes.size() == 2) {
        pCalibration->init2d(sizes[1], sizes[0], unit, terms[0], terms[1], terms[2], terms[3], terms[4]);
    } else if (sizes.size() == 3) {
        pCalibration->init3d(sizes[2], sizes[1], sizes[0], unit, terms[0], terms[1], terms[2], terms[3],
                             terms[4], terms[5], terms[6]);
    } else {
        throw std::invalid_argument("a pixel size has the form (y, x) or (z, y, x)");
    }
    return pCalibration;
}

ImageGeometryPtr nameChannels(BaseImageGeometry const& geometry, std::vector<std::string> const& names) {
    ImageGeometryPtr pNamed = duplicateGeometry(geometry);
    if (names.size() != pNamed->getSizeC()) {
        throw std::invalid_argument(std::to_string(names.size()) + " names for " +
                                    std::to_string(pNamed->getSizeC()) + " channels");
    }
    for (vlUInt64 c = 0; c < names.size(); ++c) {
        pNamed->getColorGeometry().setChannelName(names[c], c);
    }
    return pNamed;
}

std::optional<std::string> encode(std::optional<py::str> const& text) {
    return text ? std::optional(toBytes(*text)) : std::nullopt;
}

std::optional<std::vector<std::string>> encode(std::optional<std::vector<py::str>> const& texts) {
    if (!texts) {
        return std::nullopt;
    }
    std::vector<std::string> encoded;
    std::transform(texts->begin(), texts->end(), std::back_inserter(encoded), &toBytes);
    return encoded;
}

py::bytes write(Description const& description) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    archive.writeObject("geometry", description.pGeometry);
    archive.writeObject("calibration", description.pCalibration);
    archive << oItem("userProperties", description.userProperties);
    return stream.str();
}

Description read(std::string const& record) {
    std::istringstream stream(record);
    BinaryIArchive archive(stream);
    Description description;
    description.pGeometry = readObjectOf<BaseImageGeometry>(archive, "geometry");
    description.pCalibration = readObjectOf<GeometricCalibration>(archive, "calibration");
    archive >> iItem("userProperties", description.userProperties);
    if (!description.pGeometry) {
        throw std::invalid_argument("the record has no geometry");
    }
    return description;
}

py::object getUnit(Description const& description) {
    return description.pCalibration ? py::object(toPython(description.pCalibration->getUnit())) : py::none();
}

std::vector<py::str> getChannelNames(Description const& description) {
    ColorGeometry const& color = description.pGeometry->getColorGeometry();
    std::vector<py::str> names;
    if (!color.getChannelNames().empty()) {
        for (vlUInt64 c = 0; c < color.getSizeC(); ++c) {
            names.push_back(toPython(color.getChannelName(c)));
        }
    }
    return names;
}

} // namespace

Description describe(BaseImage const& image, std::string const& path) {
    requireOneType(image.getGeometry(), path);
    return {duplicateGeometry(image.getGeometry()), image.getGeometricCalibrationConstPtr(),
            image.getUserPropertiesStr()};
}

Description describeArray(std::array<vlUInt64, 5> const& shape, std::string const& pixelType,
                          std::string const& color) {
    auto const [sizeT, sizeC, sizeZ, sizeY, sizeX] = shape;
    std::optional<eImageBufferType> const type = file::findPixelType(pixelType);
    if (!type) {
        throw std::invalid_argument("unknown pixel type \"" + pixelType + "\"");
    }
    VolumeGeometry volume;
    if (sizeZ != 1) {
        volume.init3d(sizeZ);
    }
    TemporalGeometry temporal;
    if (sizeT != 1) {
        temporal.initSequence(sizeT);
    }
    return {geometry(*type, sizeX, sizeY, volume, toColor(color, sizeC), temporal), nullptr, {}};
}

Description changeDescription(Description const& description,
                              std::optional<std::vector<float>> const& pixelSize,
                              std::optional<std::string> const& unit,
                              std::optional<std::string> const& userProperties,
                              std::optional<std::vector<std::string>> const& channelNames) {
    Description changed = description;
    GeometricCalibrationConstPtr const& pOld = description.pCalibration;
    if (unit && !pixelSize && !pOld) {
        throw std::invalid_argument("a unit needs a pixel size");
    }
    if (pixelSize || unit) {
        changed.pCalibration = makeCalibration(pixelSize ? *pixelSize : getPixelSize(*pOld),
                                               unit ? *unit : (pOld ? pOld->getUnit() : std::string()),
                                               pOld ? pOld->getFurtherTerms() : std::array<float, 7>());
    }
    if (userProperties) {
        changed.userProperties = *userProperties;
    }
    if (channelNames) {
        changed.pGeometry = nameChannels(*description.pGeometry, *channelNames);
    }
    return changed;
}

std::array<vlUInt64, 5> getShape(Description const& description) {
    BaseImageGeometry const& geometry = *description.pGeometry;
    return {geometry.getSizeT(), geometry.getSizeC(), geometry.getSizeZ(), geometry.getSizeY(),
            geometry.getSizeX()};
}

py::dtype getDtype(Description const& description) {
    return py::dtype(findDtypeName(description.pGeometry->getBufferType()));
}

void bindDescription(py::module_& module) {
    py::class_<Description>(module, "Description", "All properties of an image except its pixels.")
        .def_property_readonly(
            "shape", [](Description const& self) { return py::tuple(py::cast(getShape(self))); },
            "Sizes in the order (T, C, Z, Y, X).")
        .def_property_readonly("dtype", &getDtype, "The numpy type of the pixels.")
        .def_property_readonly(
            "pixel_type", [](Description const& self) { return getTypeName(*self.pGeometry); },
            "Name of the pixel type, such as \"uint16\", \"label8\" or \"binary\".")
        .def_property_readonly(
            "color",
            [](Description const& self) {
                return file::getColorName(self.pGeometry->getColorGeometryType());
            },
            "Meaning of the channels, such as \"grey\", \"rgb\" or \"user\".")
        .def_property_readonly(
            "channel_names",
            [](Description const& self) { return py::tuple(py::cast(getChannelNames(self))); },
            "Names of all channels; empty if none has a name.")
        .def_property_readonly(
            "pixel_size",
            [](Description const& self) -> py::object {
                return self.pCalibration ? py::tuple(py::cast(getPixelSize(*self.pCalibration)))
                                         : py::object(py::none());
            },
            "Size of a pixel, (z, y, x) or (y, x); None without calibration.")
        .def_property_readonly("unit", &getUnit, "Unit of the pixel size; None without calibration.")
        .def_property_readonly(
            "user_properties", [](Description const& self) { return toPython(self.userProperties); },
            "The user properties.")
        .def(
            "change",
            [](Description const& self, std::optional<std::vector<float>> const& pixelSize,
               std::optional<py::str> const& unit, std::optional<py::str> const& userProperties,
               std::optional<std::vector<py::str>> const& channelNames) {
                return changeDescription(self, pixelSize, encode(unit), encode(userProperties),
                                         encode(channelNames));
            },
            py::arg("pixel_size"), py::arg("unit"), py::arg("user_properties"), py::arg("channel_names"),
            "A copy with other values; those that are None are kept.")
        .def(py::pickle(&write, [](py::bytes const& record) { return read(record); }));
    module.def("describe_array", &describeArray, py::arg("shape"), py::arg("pixel_type"), py::arg("color"),
               "The description of an array of the shape (T, C, Z, Y, X).");
}

} // namespace velmo::python
