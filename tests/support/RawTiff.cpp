// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFixture.h"

#include <cstring>

namespace velmo::image::file {

namespace {

std::size_t widthOf(std::uint16_t type) {
    switch (type) {
    case TIFF_SHORT:
    case TIFF_SSHORT:
        return 2;
    case TIFF_LONG:
    case TIFF_SLONG:
    case TIFF_RATIONAL:
    case TIFF_SRATIONAL:
    case TIFF_FLOAT:
        return 4;
    case TIFF_DOUBLE:
    case TIFF_LONG8:
        return 8;
    default:
        return 1;
    }
}

std::size_t sizeOf(RawField const& field) {
    return field.values.size() * widthOf(field.type);
}

std::uint64_t countOf(RawField const& field) {
    bool const bPairs = field.type == TIFF_RATIONAL || field.type == TIFF_SRATIONAL;
    return field.count == RawField::g_asValues ? field.values.size() / (bPairs ? 2 : 1) : field.count;
}

/// Numbers of the file's widths and order, one behind the other.
struct Writer {
    explicit Writer(RawLayout const& ofFile) : layout(ofFile) {}

    std::size_t getWidth() const { return layout.bBigTiff ? 8 : 4; } ///< of counts and places
    std::size_t sizeOfHeader() const { return layout.bBigTiff ? 16 : 8; }
    std::size_t sizeOfTable(RawDirectory const& directory) const {
        return (layout.bBigTiff ? 8U : 2U) + directory.fields.size() * (4 + 2 * getWidth()) + getWidth();
    }

    void put(std::uint64_t value, std::size_t width) {
        for (std::size_t index = 0; index < width; ++index) {
            std::size_t const shift = 8 * (layout.bBigEndian ? width - 1 - index : index);
            bytes.push_back(static_cast<char>(value >> shift & 0xFFU));
        }
    }
    void putWide(std::uint64_t value) { put(value, getWidth()); }

    void putHeader() {
        bytes += layout.bBigEndian ? "MM" : "II";
        put(layout.bBigTiff ? 43 : 42, 2);
        if (layout.bBigTiff) {
            put(8, 2);
            put(0, 2);
        }
        putWide(sizeOfHeader());
    }

    void putValues(RawField const& field, std::uint64_t pixelsPlace) {
        for (std::uint64_t const value : field.values) {
            put(value == g_atPixels ? pixelsPlace : value, widthOf(field.type));
        }
    }

    RawLayout const layout;
    std::string bytes;
};

struct Places {
    std::uint64_t values;
    std::uint64_t pixels;
    std::uint64_t next;
};

Places findPlaces(Writer const& writer, RawDirectory const& directory, std::uint64_t begin) {
    Places places{begin + writer.sizeOfTable(directory), 0, 0};
    places.pixels = places.values;
    for (auto const& [tag, field] : directory.fields) {
        places.pixels += sizeOf(field) > writer.getWidth() ? (sizeOf(field) + 1) / 2 * 2 : 0;
    }
    places.next = (places.pixels + directory.pixels.size() + 1) / 2 * 2;
    return places;
}

void putTable(Writer& writer, RawDirectory const& directory, Places const& places, std::uint64_t next) {
    writer.put(directory.fields.size(), writer.getWidth() == 8 ? 8 : 2);
    std::uint64_t place = places.values;
    for (auto const& [tag, field] : directory.fields) {
        writer.put(tag, 2);
        writer.put(field.type, 2);
        writer.putWide(countOf(field));
        if (sizeOf(field) > writer.getWidth()) {
            writer.putWide(place);
            place += (sizeOf(field) + 1) / 2 * 2;
        } else {
            writer.putValues(field, places.pixels);
            writer.bytes.append(writer.getWidth() - sizeOf(field), '\0');
        }
    }
    writer.putWide(next);
}

void putDirectory(Writer& writer, RawDirectory const& directory, bool bLast) {
    Places const places = findPlaces(writer, directory, writer.bytes.size());
    std::uint64_t const following = bLast ? 0 : places.next;
    putTable(writer, directory, places, directory.next == g_following ? following : directory.next);
    for (auto const& [tag, field] : directory.fields) {
        if (sizeOf(field) > writer.getWidth()) {
            writer.putValues(field, places.pixels);
            writer.bytes.append(sizeOf(field) % 2, '\0');
        }
    }
    writer.bytes += directory.pixels;
    writer.bytes.resize(bLast ? writer.bytes.size() : places.next, '\0');
}

RawField characters(std::uint16_t type, std::string const& text) {
    RawField field;
    field.type = type;
    for (char const character : text) {
        field.values.push_back(static_cast<unsigned char>(character));
    }
    return field;
}

} // namespace

RawField shorts(std::vector<std::uint64_t> const& values) {
    return {TIFF_SHORT, values, RawField::g_asValues};
}

RawField longs(std::vector<std::uint64_t> const& values) {
    return {TIFF_LONG, values, RawField::g_asValues};
}

RawField octets(std::string const& text) {
    return characters(TIFF_BYTE, text);
}

RawField ascii(std::string const& text) {
    return characters(TIFF_ASCII, text + '\0');
}

RawField real(float value) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return {TIFF_FLOAT, {bits}, RawField::g_asValues};
}

RawDirectory& RawDirectory::set(std::uint16_t tag, RawField const& field) {
    fields[tag] = field;
    return *this;
}

RawDirectory& RawDirectory::without(std::uint16_t tag) {
    fields.erase(tag);
    return *this;
}

RawDirectory greyDirectory(unsigned int sizeX, unsigned int sizeY, unsigned int bits) {
    std::size_t const nbBytes = (std::size_t(sizeX) * bits + 7) / 8 * sizeY;
    RawDirectory directory;
    directory.set(TIFFTAG_IMAGEWIDTH, longs({sizeX})).set(TIFFTAG_IMAGELENGTH, longs({sizeY}));
    directory.set(TIFFTAG_BITSPERSAMPLE, shorts({bits})).set(TIFFTAG_COMPRESSION, shorts({COMPRESSION_NONE}));
    directory.set(TIFFTAG_PHOTOMETRIC, shorts({PHOTOMETRIC_MINISBLACK}));
    directory.set(TIFFTAG_STRIPOFFSETS, longs({g_atPixels})).set(TIFFTAG_SAMPLESPERPIXEL, shorts({1}));
    directory.set(TIFFTAG_ROWSPERSTRIP, longs({sizeY})).set(TIFFTAG_STRIPBYTECOUNTS, longs({nbBytes}));
    directory.pixels = countingBytes(nbBytes);
    return directory;
}

RawDirectory colorDirectory(unsigned int samples, unsigned int photometric) {
    RawDirectory directory = greyDirectory();
    directory.set(TIFFTAG_BITSPERSAMPLE, shorts(std::vector<std::uint64_t>(samples, 8)));
    directory.set(TIFFTAG_PHOTOMETRIC, shorts({photometric})).set(TIFFTAG_SAMPLESPERPIXEL, shorts({samples}));
    directory.set(TIFFTAG_PLANARCONFIG, shorts({PLANARCONFIG_CONTIG}));
    directory.pixels = countingBytes(std::size_t(12) * samples);
    directory.set(TIFFTAG_STRIPBYTECOUNTS, longs({directory.pixels.size()}));
    return directory;
}

std::string rawTiff(std::vector<RawDirectory> const& directories, RawLayout const& layout) {
    Writer writer(layout);
    writer.putHeader();
    for (std::size_t index = 0; index < directories.size(); ++index) {
        putDirectory(writer, directories[index], index + 1 == directories.size());
    }
    return writer.bytes;
}

std::vector<std::uint64_t> findDirectories(std::vector<RawDirectory> const& directories,
                                           RawLayout const& layout) {
    Writer const writer(layout);
    std::vector<std::uint64_t> places;
    std::uint64_t place = writer.sizeOfHeader();
    for (RawDirectory const& directory : directories) {
        places.push_back(place);
        place = findPlaces(writer, directory, place).next;
    }
    return places;
}

void writeRawTiff(path const& path, std::vector<RawDirectory> const& directories, RawLayout const& layout) {
    writeFile(path, rawTiff(directories, layout));
}

RawDirectory imageJStack(std::string const& nbPlanes, std::string const& pixels, RawDirectory directory) {
    directory.set(TIFFTAG_IMAGEDESCRIPTION, ascii("ImageJ=1.53t\nimages=" + nbPlanes + "\n"));
    directory.pixels = pixels;
    return directory;
}

} // namespace velmo::image::file
