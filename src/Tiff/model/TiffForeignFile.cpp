// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/model/TiffForeignFile.h"

#include "Frame/LogAccess.h"
#include "Tiff/handle/DirectoryWalk.h"
#include "Tiff/handle/TiffDirectories.h"
#include "Tiff/handle/TiffTags.h"
#include "Tiff/model/ImageJStack.h"
#include "Tiff/model/TiffPixels.h"

#include <boost/make_shared.hpp>
#include <sstream>

namespace velmo::image::file {

namespace {

using Message = eTiffImageFileMessage;
using Check = eImageFileCheckMessage;

char const* getName(eTiffBufferMode bufferMode) {
    switch (bufferMode) {
    case eTBM_Binary:
        return "eTBM_Binary";
    case eTBM_Label:
        return "eTBM_Label";
    default:
        return "eTBM_Default";
    }
}

std::string getName(eColorGeometryType type) {
    std::ostringstream name;
    name << type;
    return name.str();
}

/// Numbers of a directory appear in messages as libtiff's signed 16 bits.
short toShort(std::uint16_t value) {
    return static_cast<short>(value);
}

short getSampleFormat(TIFF* pTiff) {
    return toShort(getTag<std::uint16_t>(pTiff, TIFFTAG_SAMPLEFORMAT).value_or(SAMPLEFORMAT_UINT));
}

std::uint16_t getOrientation(TIFF* pTiff) {
    return getTag<std::uint16_t>(pTiff, TIFFTAG_ORIENTATION).value_or(ORIENTATION_TOPLEFT);
}

} // namespace

BoolResult checkTiffDirectory(TIFF* pTiff, boost::filesystem::path const& path) {
    auto const subFileType = getTag<std::uint32_t>(pTiff, TIFFTAG_SUBFILETYPE).value_or(0);
    if ((subFileType & ~static_cast<std::uint32_t>(FILETYPE_PAGE)) != 0) {
        return fail(Message::eTIFM_UnsupportedSubFileType, subFileType, path.string());
    }
    std::uint16_t const orientation = getOrientation(pTiff);
    if (orientation != ORIENTATION_TOPLEFT) {
        warn(VELMO_HERE, Message::eTIFM_UnsupportedOrientation, toShort(orientation), path.string());
    }
    return success();
}

BoolResult TiffForeignFile::read(ImageGeometryPtr& pGeometry, GeometricCalibrationPtr& pCalibration) {
    BoolResult result = runSteps([&] { return readFirstDirectory(); }, [&] { return countPlanes(); });
    if (result) {
        pGeometry = createGeometry();
        pCalibration = readCalibration();
    }
    return result;
}

// The first directory

BoolResult TiffForeignFile::readFirstDirectory() {
    std::uint16_t samples = 0;
    return runSteps(
        [&] { return checkTiffDirectory(_pTiff, _path); }, [&] { return readFirstColor(samples); },
        [&] { return requireTag(_pTiff, TIFFTAG_IMAGEWIDTH, "TIFFTAG_IMAGEWIDTH", _path, _walk.sizeX); },
        [&] { return requireTag(_pTiff, TIFFTAG_IMAGELENGTH, "TIFFTAG_IMAGELENGTH", _path, _walk.sizeY); },
        [&] { return readFirstBufferType(samples); });
}

BoolResult TiffForeignFile::readFirstColor(std::uint16_t& samples) {
    samples = getTag<std::uint16_t>(_pTiff, TIFFTAG_SAMPLESPERPIXEL).value_or(0);
    auto const photometric = getTag<std::uint16_t>(_pTiff, TIFFTAG_PHOTOMETRIC);
    if (toShort(samples) > 1) {
        BoolResult result = requireContiguous();
        if (!result) {
            return result;
        }
        std::uint16_t const number = photometric.value_or(0);
        FoundColor const found = retrieveColorGeometry(toShort(number), toShort(samples));
        if (!found.bInit) {
            return failForChannels(number, samples, _path);
        }
        _walk.color = found.color;
    }
    _walk.color.setMinIsBlack(photometric != PHOTOMETRIC_MINISWHITE);
    return success();
}

BoolResult TiffForeignFile::requireContiguous() const {
    std::uint16_t planarConfig = 0;
    BoolResult result = requireTag(_pTiff, TIFFTAG_PLANARCONFIG, "TIFFTAG_PLANARCONFIG", _path, planarConfig);
    if (result && planarConfig != PLANARCONFIG_CONTIG) {
        result = fail(Message::eTIFM_UnsupportedPlanarConfig, toShort(planarConfig), _path.string());
    }
    return result;
}

BoolResult TiffForeignFile::readFirstBufferType(std::uint16_t samples) {
    auto const found = findBitsPerSample(_pTiff, _policy);
    if (!found) {
        return failToGetTag("TIFFTAG_BITSPERSAMPLE", _path);
    }
    std::uint16_t const bits = *found;
    short const format = getSampleFormat(_pTiff);
    _walk.bufferType = toImageBufferType(toShort(bits), format, _bufferMode);
    if (_walk.bufferType == eIBT_None) {
        return fail(Message::eTIFM_UnsupportedBufferType, toShort(bits), format, getName(_bufferMode),
                    _path.string());
    }
    if (bits == 1 && samples >= 2) {
        return fail(Message::eTIFM_UnsupportedPackedColor, _path.string());
    }
    if (bits == 1 && _accessMode != eIAM_ReadOnly) {
        return fail(Message::eTIFM_UnsupportedPackedWrite, _path.string());
    }
    return success();
}

// The planes

BoolResult TiffForeignFile::countPlanes() {
    TiffDirectories const directories(_pTiff, _policy);
    vlUInt64 const nbDirectories = directories.count();
    vlUInt64 const nbAnnounced = extractNbPagesFromIJDescription(_pTiff);
    if (nbAnnounced == NumericLimits<vlUInt64>::s_max || nbAnnounced == nbDirectories) {
        return walkDirectories();
    }
    if (readsStacksAsStored(_policy)) {
        _walk.nbPlanes = nbAnnounced;
        warnOfStoredPlanes(nbDirectories);
        return success();
    }
    auto const further = findFurtherPlanes(_pTiff, nbAnnounced, directories);
    return further ? takeFurtherPlanes(nbAnnounced, *further) : walkDirectories();
}

/// Logs in which way the planes of a stack that is read without conversion differ from the pixels of the
/// file.
void TiffForeignFile::warnOfStoredPlanes(vlUInt64 nbDirectories) const {
    constexpr std::uint16_t bitsOfByte = 8;
    std::string const path = _path.string();
    if (TiffDirectories(_pTiff, _policy).isBroken()) {
        warn(VELMO_HERE, Check::eIFCM_ChainBreaksOff, nbDirectories - 1, path);
    }
    if (TIFFIsByteSwapped(_pTiff) != 0 && findBitsPerSample(_pTiff, _policy).value_or(1) > bitsOfByte) {
        warn(VELMO_HERE, Check::eIFCM_PlanesNotConverted, path);
    }
    if (_walk.nbPlanes > 1 && (nbDirectories != 1 || !countStackPlanes(_pTiff))) {
        warn(VELMO_HERE, Check::eIFCM_PlanesNotLocated, _walk.nbPlanes, path);
    }
    if (_walk.color.getColorGeometryType() != eCGT_Grey) {
        warn(VELMO_HERE, Check::eIFCM_ChannelsNotSeparated, path);
    }
    vlUInt64 const offset = TIFFGetStrileOffset(_pTiff, 0);
    vlUInt64 const cut = static_cast<std::uint32_t>(offset);
    if (cut != offset) {
        warn(VELMO_HERE, Check::eIFCM_OffsetCut, path, cut, offset);
    }
}

/// Planes that a description announces in addition to the directories must be those of a single-directory
/// stack.
BoolResult TiffForeignFile::takeFurtherPlanes(vlUInt64 nbAnnounced, FurtherPlanes const& further) {
    BoolResult result = success();
    if (further.nbHeld == 1 && !further.nbStacked) {
        result = warnOrFail(VELMO_HERE, Check::eIFCM_PlanesNotLocated, nbAnnounced, _path.string());
    } else if (further.nbHeld < nbAnnounced) {
        result =
            warnOrFail(VELMO_HERE, Check::eIFCM_PlanesMissing, nbAnnounced, _path.string(), further.nbHeld);
    }
    if (result && !further.nbStacked) {
        return walkDirectories();
    }
    _walk.nbPlanes = nbAnnounced;
    return result;
}

/// Logs a warning or fails, depending on the policy.
template <class... Arguments>
BoolResult TiffForeignFile::warnOrFail(RaiseSite const& site, Check::domain id,
                                       Arguments const&... arguments) const {
    if (acceptsBrokenChain(_policy)) {
        warn(site, id, arguments...);
        return success();
    }
    return fail(Message::eTIFM_OpenFileError, _path.string(), fail(id, arguments...));
}

// After the loop, at the end of the chain or at an unreadable directory, libtiff has no current directory.
// Closing such a handle can rewrite or damage the file.
BoolResult TiffForeignFile::walkDirectories() {
    BoolResult result = success();
    TiffDirectories const directories(_pTiff, _policy);
    DirectoryWalk walk(_pTiff);
    _walk.bufferTypes.push_back(_walk.bufferType);
    while (result && walk.next()) {
        result = walk.getModel() ? addPlane(_walk.bufferTypes[*walk.getModel()]) : checkFurtherDirectory();
        if (result && !walk.getModel() &&
            getOrientation(_pTiff) ==
                ORIENTATION_TOPLEFT) { // any other is logged as a warning for each directory
            walk.accept();
        }
    }
    _walk.nbPlanes = _walk.bufferTypes.size();
    bool const bWhole =
        !directories.isBroken() && directories.toNumber(_walk.nbPlanes) == directories.count();
    if (result && !bWhole) {
        result = warnOrFail(VELMO_HERE, Check::eIFCM_ChainBreaksOff, _walk.nbPlanes - 1, _path.string());
    }
    directories.reloadDirectory(walk.getOffset());
    return result;
}

BoolResult TiffForeignFile::checkFurtherDirectory() {
    eImageBufferType bufferType = eIBT_None;
    BoolResult result =
        runSteps([&] { return checkTiffDirectory(_pTiff, _path); }, [&] { return checkFurtherSize(); },
                 [&] { return checkFurtherColor(); }, [&] { return readFurtherBufferType(bufferType); });
    return result ? addPlane(bufferType) : result;
}

BoolResult TiffForeignFile::addPlane(eImageBufferType bufferType) {
    _walk.bHomogeneous = _walk.bHomogeneous && bufferType == _walk.bufferType;
    _walk.bufferTypes.push_back(bufferType);
    return success();
}

BoolResult TiffForeignFile::checkFurtherSize() const {
    std::uint32_t sizeX = 0;
    std::uint32_t sizeY = 0;
    BoolResult result = runSteps(
        [&] { return requireTag(_pTiff, TIFFTAG_IMAGEWIDTH, "TIFFTAG_IMAGEWIDTH", _path, sizeX); },
        [&] { return requireTag(_pTiff, TIFFTAG_IMAGELENGTH, "TIFFTAG_IMAGELENGTH", _path, sizeY); });
    if (result && (sizeX != _walk.sizeX || sizeY != _walk.sizeY)) {
        result =
            fail(Message::eTIFM_PlanSizeMismatch, sizeX, sizeY, _walk.sizeX, _walk.sizeY, _path.string());
    }
    return result;
}

BoolResult TiffForeignFile::checkFurtherColor() const {
    std::uint16_t samples = 0;
    BoolResult result =
        requireTag(_pTiff, TIFFTAG_SAMPLESPERPIXEL, "TIFFTAG_SAMPLESPERPIXEL", _path, samples);
    ColorGeometry color;
    if (result && samples != 1) {
        result = readFurtherColor(samples, color);
    }
    if (result && color.getColorGeometryType() != _walk.color.getColorGeometryType()) {
        result = fail(Message::eTIFM_UnsupportedBufferType, getName(color.getColorGeometryType()),
                      getName(_walk.color.getColorGeometryType()), _path.string());
    }
    return result;
}

// The colours are checked before the planar configuration; in the first directory it is the other way round.
BoolResult TiffForeignFile::readFurtherColor(std::uint16_t samples, ColorGeometry& color) const {
    std::uint16_t photometric = 0;
    BoolResult result = requireTag(_pTiff, TIFFTAG_PHOTOMETRIC, "TIFFTAG_PHOTOMETRIC", _path, photometric);
    if (!result) {
        return result;
    }
    FoundColor const found = retrieveColorGeometry(toShort(photometric), toShort(samples));
    if (!found.bInit) {
        return failForChannels(photometric, samples, _path);
    }
    color = found.color;
    return requireContiguous();
}

BoolResult TiffForeignFile::readFurtherBufferType(eImageBufferType& bufferType) const {
    auto const found = findBitsPerSample(_pTiff, _policy);
    if (!found) {
        return failToGetTag("TIFFTAG_BITSPERSAMPLE", _path);
    }
    std::uint16_t const bits = *found;
    short const format = getSampleFormat(_pTiff);
    bufferType = toImageBufferType(toShort(bits), format, _bufferMode);
    return bufferType != eIBT_None
               ? success()
               : fail(Message::eTIFM_UnsupportedBufferType, toShort(bits), format, _path.string());
}

// Results

ImageGeometryPtr TiffForeignFile::createGeometry() const {
    VolumeGeometry volume;
    TemporalGeometry temporal;
    if (_walk.nbPlanes != 1 && _directoryMode == eTDM_Temporal) {
        temporal.initSequence(_walk.nbPlanes);
    } else if (_walk.nbPlanes != 1) {
        volume.init3d(_walk.nbPlanes);
    }
    if (_walk.bHomogeneous) {
        return geometry(_walk.bufferType, _walk.sizeX, _walk.sizeY, volume, _walk.color, temporal);
    }
    auto const pGeometry = boost::make_shared<HeterogeneousImageGeometry>();
    pGeometry->init(volume, _walk.color, temporal, _walk.sizeX, _walk.sizeY, _walk.bufferTypes);
    return pGeometry;
}

GeometricCalibrationPtr TiffForeignFile::readCalibration() const {
    auto const resolutionUnit = getTag<std::uint16_t>(_pTiff, TIFFTAG_RESOLUTIONUNIT).value_or(RESUNIT_INCH);
    auto const x = getTag<float>(_pTiff, TIFFTAG_XRESOLUTION);
    auto const y = getTag<float>(_pTiff, TIFFTAG_YRESOLUTION);
    if (!x || !y) {
        return GeometricCalibrationPtr();
    }
    if (!(*x > 0.0F && *y > 0.0F)) {
        warn(VELMO_HERE, Message::eTIFM_InvalidResolutionValues, *x, *y, _path.string());
        return GeometricCalibrationPtr();
    }
    char const* const unit = resolutionUnit == RESUNIT_INCH         ? "inch"
                             : resolutionUnit == RESUNIT_CENTIMETER ? "cm"
                                                                    : "";
    return createGeometricCalibration2d(1.0F / *x, 1.0F / *y, unit, 0, 0, 0, 0, 0);
}

} // namespace velmo::image::file
