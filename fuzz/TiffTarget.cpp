// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffTarget.h"

#include "Sandbox.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOUtil/BaseException.h>
#include <algorithm>
#include <memory>
#include <set>
#include <tiffio.h>

namespace velmo::fuzz {

namespace {

using namespace image;
using namespace image::file;

constexpr unsigned int g_nbModes = 6;

struct Modes {
    eTiffDirectoryMode directories;
    eTiffBufferMode buffers;
};

Modes toModes(unsigned int choice) {
    return {choice % 2 == 0 ? eTDM_Volume : eTDM_Temporal, choice / 2 % 3 == 0   ? eTBM_Default
                                                           : choice / 2 % 3 == 1 ? eTBM_Binary
                                                                                 : eTBM_Label};
}

bool hasBinary(BaseImageGeometry const& geometry) {
    auto const* const pTypes = dynamic_cast<HeterogeneousImageGeometry const*>(&geometry);
    auto const types = pTypes != nullptr ? pTypes->getBufferTypes() : std::vector{geometry.getBufferType()};
    return std::find(types.begin(), types.end(), eIBT_Binary) != types.end();
}

bool hasCompression(boost::filesystem::path const& path, std::set<std::uint16_t> const& compressions) {
    std::unique_ptr<TIFF, decltype(&TIFFClose)> const pTiff(TIFFOpen(path.c_str(), "r"), TIFFClose);
    bool bFound = false;
    bool bMore = pTiff != nullptr;
    while (bMore && !bFound) {
        std::uint16_t compression = COMPRESSION_NONE;
        TIFFGetField(pTiff.get(), TIFFTAG_COMPRESSION, &compression);
        bFound = compressions.count(compression) != 0;
        bMore = TIFFReadDirectory(pTiff.get()) == 1;
    }
    return bFound;
}

/// In plain calls, reads of a run can differ from reads of the whole plane in these cases: a stack that an
/// ImageJ description announces, 1-bit samples in long rows, a damaged fax strip, and a damaged strip of
/// colours, which is zero.
tool::ExerciseLimits getLimits(BaseImageGeometry const& geometry, boost::filesystem::path const& path) {
    tool::ExerciseLimits limits = getFuzzLimits();
    limits.bComparesRuns = readBytes(path).find("ImageJ=") == std::string::npos && !hasBinary(geometry) &&
                           geometry.getSizeC() == 1;
    limits.bRequiresRuns = false; // libtiff can read some strips only as a whole
    return limits;
}

/// Opening for writing must not change the file.
void openForWriting(boost::filesystem::path const& path, Modes const& modes, std::string const& bytes) {
    {
        TiffImageFile accessor;
        std::string userProperties;
        static_cast<void>(
            accessor.openFile(path, eIAM_ReadWrite, modes.directories, modes.buffers, userProperties));
    }
    if (readBytes(path) != bytes) {
        abortWith("a file that was opened and not written has changed");
    }
}

/// Writes a run in the middle of the first plane, then the whole plane. Both may fail.
void writePixels(TiffImageFile& accessor) {
    BaseImageGeometry const& geometry = accessor.getGeometry();
    vlUInt64 const nbPixels = geometry.getPlanNbPixels();
    if (geometry.getNbPlans() == 0 || geometry.getPlanMemorySize(0) > getFuzzLimits().planeBytes) {
        return;
    }
    std::vector<unsigned char> const pixels(geometry.getPlanMemorySize(0) + 1, 7);
    try {
        static_cast<void>(accessor.writeRawData(0, 0, 0, nbPixels / 3, nbPixels / 2, pixels.data()));
        static_cast<void>(accessor.writeRawData(0, 0, 0, 0, nbPixels, pixels.data()));
    } catch (BaseException const&) {
        return; // pixels without a type throw
    }
}

/// A file that was written must be readable like any other.
void writeAndRead(boost::filesystem::path const& path, Modes const& modes) {
    std::string userProperties;
    TiffImageFile accessor;
    if (!accessor.openFile(path, eIAM_ReadWrite, modes.directories, modes.buffers, userProperties)) {
        return;
    }
    writePixels(accessor);
    if (accessor.openFile(path, eIAM_ReadOnly, modes.directories, modes.buffers, userProperties)) {
        exerciseOrAbort(accessor, getLimits(accessor.getGeometry(), path));
    }
}

/// Whether libtiff decodes a damaged strip to other pixels when a part of it is requested.
bool hasFax(boost::filesystem::path const& path) {
    return hasCompression(
        path, {COMPRESSION_CCITTRLE, COMPRESSION_CCITTRLEW, COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4});
}

/// The pixels of a load with options must be those of the image on disk.
void loadAndCompare(boost::filesystem::path const& path, TiffReadOptions const& options,
                    DiskImage const& onDisk) {
    BaseImageGeometry const& geometry = onDisk.getGeometry();
    ImagePtr const pLoaded = loadTiffImageFile(path, options);
    std::vector<unsigned char> loaded;
    std::vector<unsigned char> read;
    for (vlUInt64 t = 0; t < geometry.getSizeT(); ++t) {
        loaded.assign(geometry.getPlanMemorySize(t), 1);
        read.assign(geometry.getPlanMemorySize(t), 2);
        for (vlUInt64 plane = 0; plane < geometry.getSizeZ() * geometry.getSizeC(); ++plane) {
            vlUInt64 const z = plane % geometry.getSizeZ();
            vlUInt64 const c = plane / geometry.getSizeZ();
            vlUInt64 const nbPixels = geometry.getPlanNbPixels();
            bool const bRead = pLoaded->readPixels(z, c, t, 0, nbPixels, loaded.data()) &&
                               onDisk.readPixels(z, c, t, 0, nbPixels, read.data());
            if (!bRead || loaded != read) {
                abortWith("a load with options differs from the image on disk");
            }
        }
    }
}

/// Calls with options must read the same pixels each time, in parts and as a whole.
void openWithOptions(boost::filesystem::path const& path, Modes const& modes, bool bTolerant) {
    TiffReadOptions const options = {modes.directories, modes.buffers, bTolerant};
    try {
        DiskImagePtr const pOnDisk = openTiffImageFile(path, options);
        tool::ExerciseLimits limits = getFuzzLimits();
        limits.bComparesRuns = !bTolerant && !hasFax(path);
        limits.bRequiresRuns = false; // the damage may be behind the end of the part
        exerciseOrAbort(*pOnDisk->getAccessor(), limits);
        constexpr vlUInt64 largestLoad = vlUInt64{1} << 22U;
        if (pOnDisk->getGeometry().getFullMemorySize() <= largestLoad) {
            loadAndCompare(path, options, *pOnDisk);
        }
    } catch (BaseException const&) {
        return; // an error is a valid result
    }
}

/// Directories of a TIFF file, built field by field.
class TiffBytes {
  public:
    explicit TiffBytes(bool bBigEndian) : _bBigEndian(bBigEndian) {
        _bytes = bBigEndian ? "MM" : "II";
        putNumber(_bytes, 42, 2);
        putNumber(_bytes, 0, 4);
    }

    /// Appends bytes to which a field refers.
    vlUInt64 append(std::string const& bytes) {
        vlUInt64 const offset = _bytes.size();
        _bytes += bytes;
        _bytes.append(_bytes.size() % 2, '\0');
        return offset;
    }

    TiffBytes& addShort(unsigned int tag, unsigned int value) {
        addEntry(tag, 3, 1);
        putNumber(_entries, value, 2);
        putNumber(_entries, 0, 2);
        return *this;
    }

    TiffBytes& addLong(unsigned int tag, vlUInt64 value) {
        addEntry(tag, 4, 1);
        putNumber(_entries, value, 4);
        return *this;
    }

    /// Adds a field of bytes, or of a text with a zero at its end; nothing if `bytes` is empty.
    TiffBytes& addBytes(unsigned int tag, unsigned int type, std::string const& bytes) {
        if (!bytes.empty()) {
            addEntry(tag, type, bytes.size());
            std::string padded = bytes + std::string(4, '\0');
            if (bytes.size() > 4) {
                putNumber(_entries, append(bytes), 4);
            } else {
                _entries += padded.substr(0, 4);
            }
        }
        return *this;
    }

    /// Ends a directory and writes its offset into the one before.
    void endDirectory() {
        std::string directory;
        putNumber(directory, _entries.size() / 12, 2);
        directory += _entries;
        putNumber(directory, 0, 4);
        vlUInt64 const offset = append(directory);
        std::string link;
        putNumber(link, offset, 4);
        _bytes.replace(_link, 4, link);
        _link = offset + 2 + _entries.size();
        _entries.clear();
    }

    std::string const& get() const { return _bytes; }

  private:
    void addEntry(unsigned int tag, unsigned int type, vlUInt64 nbValues) {
        putNumber(_entries, tag, 2);
        putNumber(_entries, type, 2);
        putNumber(_entries, nbValues, 4);
    }

    void putNumber(std::string& bytes, vlUInt64 number, unsigned int nbBytes) const {
        for (unsigned int byte = 0; byte < nbBytes; ++byte) {
            unsigned int const place = _bBigEndian ? nbBytes - 1 - byte : byte;
            bytes += static_cast<char>((number >> (8 * place)) & 0xFFU);
        }
    }

    bool _bBigEndian;
    std::string _bytes;
    std::string _entries;
    vlUInt64 _link = 4; ///< where the offset of the next directory is written
};

std::string toText(std::string const& text) {
    return text.empty() ? text : text + '\0';
}

} // namespace

void openAndRead(std::string const& bytes, unsigned int choice) {
    boost::filesystem::path const path = Sandbox::get().write("in.tif", bytes);
    for (unsigned int mode = 0; mode < g_nbModes; ++mode) {
        Modes const modes = toModes(mode);
        TiffImageFile accessor;
        std::string userProperties;
        BoolResult const result =
            accessor.openFile(path, eIAM_ReadOnly, modes.directories, modes.buffers, userProperties);
        if (result && mode == choice % g_nbModes) {
            exerciseOrAbort(accessor, getLimits(accessor.getGeometry(), path));
        }
    }
    openWithOptions(path, toModes(choice), false);
    openWithOptions(path, toModes(choice), true);
    openForWriting(path, toModes(choice), bytes);
    writeAndRead(path, toModes(choice));
}

std::string makeTiff(std::string const& software, std::string const& description, std::string const& record,
                     unsigned int choice) {
    constexpr unsigned int sizeX = 5;
    constexpr unsigned int sizeY = 4;
    TiffBytes bytes((choice & 8U) != 0);
    unsigned int const samples = (choice & 16U) != 0 ? 3 : 1;
    unsigned int const sampleBits = (choice & 32U) != 0 ? 16 : 8;
    std::string pixels(vlUInt64{sizeX} * sizeY * samples * sampleBits / 8, '\0');
    for (std::size_t index = 0; index < pixels.size(); ++index) {
        pixels[index] = static_cast<char>(index + 1);
    }
    for (unsigned int directory = 0; directory < ((choice & 64U) != 0 ? 2U : 1U); ++directory) {
        vlUInt64 const strip = bytes.append(pixels);
        bytes.addLong(256, sizeX).addLong(257, sizeY).addShort(258, sampleBits);
        bytes.addShort(259, 1).addShort(262, samples == 1 ? 1 : 2);
        bytes.addBytes(270, 2, toText(description)).addLong(273, strip).addShort(277, samples);
        bytes.addLong(278, sizeY).addLong(279, pixels.size()).addShort(284, 1);
        bytes.addBytes(305, 2, toText(software)).addBytes(34377, 1, record);
        bytes.endDirectory();
    }
    return bytes.get();
}

} // namespace velmo::fuzz
