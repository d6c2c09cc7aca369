// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/model/TiffCreation.h"

#include "Tiff/handle/TiffFileClosure.h"
#include "Tiff/handle/TiffStream.h"
#include "Tiff/handle/TiffTags.h"
#include "Tiff/model/PageAppender.h"
#include "Tiff/model/TiffPixels.h"
#include "Tiff/model/TiffStoredGeometry.h"
#include "Tiff/model/ZeroStrips.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/format.hpp>
#include <optional>

namespace velmo::image::file {

namespace {

using Message = eTiffImageFileMessage;

char const* const g_userPropertiesName = "TIFFTAG_USERPROPERTIES";
constexpr vlUInt64 g_largestPageCount = 0x7fff;
constexpr vlUInt64 g_largestClassicFile = 0x80000000;

/// The current local time as TIFF writes it, "YYYY:MM:DD HH:MM:SS".
std::string getTiffFormatedTime() {
    boost::posix_time::ptime const now = boost::posix_time::second_clock::local_time();
    auto const date = now.date().year_month_day();
    auto const time = now.time_of_day();
    boost::format text("%04d:%02d:%02d %02d:%02d:%02d");
    text % static_cast<int>(date.year) % date.month.as_number() % date.day.as_number();
    return (text % time.hours() % time.minutes() % time.seconds()).str();
}

int toCompressionTag(eTiffCompression compression) {
    switch (compression) {
    case eTC_Lzw:
        return COMPRESSION_LZW;
    case eTC_Deflate:
        return COMPRESSION_DEFLATE;
    default:
        return COMPRESSION_NONE;
    }
}

int toSampleFormat(eImageBufferType bufferType) {
    switch (bufferType) {
    case eIBT_Real32:
        return SAMPLEFORMAT_IEEEFP;
    case eIBT_Int8:
    case eIBT_Int16:
    case eIBT_Int32:
        return SAMPLEFORMAT_INT;
    default:
        return SAMPLEFORMAT_UINT;
    }
}

vlUInt64 multiplyOrMax(vlUInt64 a, vlUInt64 b) {
    return checkedMultiply(a, b).value_or(NumericLimits<vlUInt64>::s_max);
}

/// The steps of a creation. `pUserProperties` is null if the file gets no such tag.
class TiffCreation {
  public:
    TiffCreation(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                 GeometricCalibrationConstPtr const& pCalibration, std::string const* pUserProperties,
                 eTiffCompression compression)
        : _pTiff(pTiff), _path(path), _geometry(geometry), _pCalibration(pCalibration),
          _pUserProperties(pUserProperties), _compression(compression),
          _bInterleaved(isInterleavedColor(geometry)), _nbSamples(_bInterleaved ? geometry.getSizeC() : 1) {}

    BoolResult create() {
        return runSteps([&] { return countPages(); }, [&] { return checkUserProperties(); },
                        [&] { return storeGeometry(); }, [&] { return openHandle(); },
                        [&] { return setFileTags(); }, [&] { return writeDirectories(); },
                        [&] { return flush(); });
    }

    /// Offset of the pixels of each directory; empty if they are not stored as they are in memory, or if
    /// libtiff has written all pages.
    std::vector<vlUInt64> getPixelOffsets() const {
        return _bContiguous && _appender && _appender->isEnabled() ? _pixelOffsets : std::vector<vlUInt64>();
    }

  private:
    struct Page {
        vlUInt64 z;
        vlUInt64 c;
        vlUInt64 t;
        std::uint16_t number;     ///< the tag has 16 bits
        vlUInt64 pixelOffset = 0; ///< of a page that was collected
        std::string getName(bool bWithChannel) const {
            std::string const channel = bWithChannel ? " C=" + std::to_string(c) : std::string();
            return "T=" + std::to_string(t) + channel + " Z=" + std::to_string(z);
        }
    };

    vlUInt64 getNbPages() const {
        return multiplyOrMax(multiplyOrMax(_geometry.getSizeZ(), _bInterleaved ? 1 : _geometry.getSizeC()),
                             _geometry.getSizeT());
    }

    BoolResult countPages() {
        vlUInt64 const nbPages = getNbPages();
        if (!_bInterleaved && nbPages > g_largestPageCount) {
            return fail(Message::eTIFM_TooManyImagePlans, nbPages, g_largestPageCount, _path.string());
        }
        _nbPages = static_cast<std::uint16_t>(nbPages); // the tag has 16 bits
        return success();
    }

    /// Stores the geometry and calibration. Throws before an old file is touched if they cannot be stored.
    BoolResult storeGeometry() {
        _stored = toStoredGeometry(_geometry, _pCalibration);
        return success();
    }

    BoolResult openHandle() {
        _pTiff = TiffStream::open(_path, _geometry.getFullMemorySize() > g_largestClassicFile ? "w8" : "w");
        return _pTiff != nullptr ? success()
                                 : fail(Message::eTIFM_CreateFileError, _path.string(), lastTiffMessage());
    }

    BoolResult setFileTags() const {
        return runSteps(
            [&] { return setTag("TIFFTAG_SOFTWARE", TIFFTAG_SOFTWARE, VelmoSoftware::get().c_str()); },
            [&] { return setTag("TIFFTAG_DATETIME", TIFFTAG_DATETIME, getTiffFormatedTime().c_str()); },
            [&] {
                return setTag("TIFFTAG_PHOTOSHOP", TIFFTAG_PHOTOSHOP,
                              static_cast<std::uint32_t>(_stored.size()), _stored.data());
            },
            [&] { return setUserProperties(); });
    }

    /// Rejects a text with a zero byte before an old file is touched, because a text tag ends at its first
    /// zero byte.
    BoolResult checkUserProperties() const {
        bool const bWhole = _pUserProperties == nullptr || _pUserProperties->find('\0') == std::string::npos;
        return bWhole ? success()
                      : fail(Message::eTIFM_SetTagError, g_userPropertiesName, _path.string(),
                             fail(eImageFileCheckMessage::eIFCM_ZeroByteInText));
    }

    BoolResult setUserProperties() const {
        return _pUserProperties == nullptr
                   ? success()
                   : setTag(g_userPropertiesName, g_userPropertiesTag, _pUserProperties->c_str());
    }

    BoolResult writeDirectories() {
        _appender.emplace(_pTiff, getNbPages());
        BoolResult result = success();
        std::uint16_t number = 0;
        vlUInt64 const nbChannels = _bInterleaved ? 1 : _geometry.getSizeC();
        for (vlUInt64 t = 0; result && t < _geometry.getSizeT(); ++t) {
            for (vlUInt64 c = 0; result && c < nbChannels; ++c) {
                for (vlUInt64 z = 0; result && z < _geometry.getSizeZ(); ++z) {
                    result = writePage({z, c, t, number++, 0});
                }
            }
        }
        return result ? flushPages() : result;
    }

    BoolResult writePage(Page page) {
        auto const pixelOffset = _appender->append(getPlaneBufferType(_geometry, page.t), getLabel(page));
        if (pixelOffset) {
            page.pixelOffset = *pixelOffset;
            _collected.push_back(page);
            return _appender->isFlushDue() ? flushPages() : success();
        }
        BoolResult result = flushPages();
        return result ? writeDirectory(page) : result;
    }

    /// Writes the collected pages. If that fails, libtiff writes them, which reports errors.
    BoolResult flushPages() {
        BoolResult result = success();
        if (_appender->flush()) {
            for (Page const& page : _collected) {
                _pixelOffsets.push_back(page.pixelOffset);
            }
        } else {
            for (auto page = _collected.begin(); result && page != _collected.end(); ++page) {
                result = writeDirectory(*page);
            }
        }
        _collected.clear();
        return result;
    }

    PageLabel getLabel(Page const& page) const { return {page.number, page.getName(!_bInterleaved)}; }

    /// Writes a page with libtiff.
    BoolResult writeDirectory(Page const& page) {
        PageLabel const label = getLabel(page);
        eImageBufferType const bufferType = getPlaneBufferType(_geometry, page.t);
        _appender->beginPage();
        BoolResult result = runSteps([&] { return setDirectoryTags(page, label.name); },
                                     [&] { return writeZeros(page, bufferType); });
        _appender->endStrips();
        if (result && TIFFWriteDirectory(_pTiff) != 1) {
            result = fail(Message::eTIFM_WriteDirectoryError, label.name, _path.string(),
                          lastTiffWriteMessage(_pTiff));
        }
        if (result) {
            _appender->endPage(bufferType, label, isPlain());
        }
        return result;
    }

    /// Stores the offset of the pixels that were written last, if they are stored without gaps.
    void addPixelOffset(StripLayout const& layout) {
        bool const bPixels = isPlain() && layout.getNbPixels() != 0;
        vlUInt64 const lastStrip = bPixels ? divideUp(layout.sizeY, layout.rowsPerStrip) - 1 : 0;
        vlUInt64 const offset = bPixels ? TIFFGetStrileOffset(_pTiff, 0) : 0;
        _bContiguous = _bContiguous && bPixels &&
                       TIFFGetStrileOffset(_pTiff, static_cast<std::uint32_t>(lastStrip)) ==
                           offset + lastStrip * layout.getStripBytes();
        _pixelOffsets.push_back(offset);
    }

    bool isPlain() const { return toCompressionTag(_compression) == COMPRESSION_NONE; }

    BoolResult setDirectoryTags(Page const& page, std::string const& pageName) const {
        eImageBufferType const bufferType = getPlaneBufferType(_geometry, page.t);
        constexpr int bitsOfByte = 8;
        int const bits = static_cast<int>(getImageBufferBaseSize(bufferType)) * bitsOfByte;
        int const photometric = _bInterleaved ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
        return runSteps(
            [&] { return setTag("TIFFTAG_SUBFILETYPE", TIFFTAG_SUBFILETYPE, FILETYPE_PAGE); },
            [&] { return setSize("TIFFTAG_IMAGEWIDTH", TIFFTAG_IMAGEWIDTH, _geometry.getSizeX()); },
            [&] { return setSize("TIFFTAG_IMAGELENGTH", TIFFTAG_IMAGELENGTH, _geometry.getSizeY()); },
            [&] { return setTag("TIFFTAG_BITSPERSAMPLE", TIFFTAG_BITSPERSAMPLE, bits); },
            [&] {
                return setTag("TIFFTAG_SAMPLESPERPIXEL", TIFFTAG_SAMPLESPERPIXEL,
                              static_cast<int>(_nbSamples));
            },
            [&] { return setTag("TIFFTAG_PHOTOMETRIC", TIFFTAG_PHOTOMETRIC, photometric); },
            [&] {
                return _bInterleaved
                           ? setTag("TIFFTAG_PLANARCONFIG", TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG)
                           : success();
            },
            [&] {
                return setTag("TIFFTAG_COMPRESSION", TIFFTAG_COMPRESSION, toCompressionTag(_compression));
            },
            [&] { return setTag("TIFFTAG_ORIENTATION", TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT); },
            [&] { return setTag("TIFFTAG_PAGENUMBER", TIFFTAG_PAGENUMBER, int{page.number}, int{_nbPages}); },
            [&] { return setTag("TIFFTAG_PAGENAME", TIFFTAG_PAGENAME, pageName.c_str()); },
            [&] { return setTag("TIFFTAG_SAMPLEFORMAT", TIFFTAG_SAMPLEFORMAT, toSampleFormat(bufferType)); });
    }

    BoolResult writeZeros(Page const& page, eImageBufferType bufferType) {
        vlUInt64 const sizeY = _geometry.getSizeY();
        vlUInt64 const rowsPerStrip = std::min<vlUInt64>(TIFFDefaultStripSize(_pTiff, 0), sizeY);
        BoolResult result =
            setTag("TIFFTAG_ROWSPERSTRIP", TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(rowsPerStrip));
        if (!result) {
            return result;
        }
        vlUInt64 const pixelStride = getImageBufferBaseSize(bufferType) * _nbSamples;
        StripLayout const layout = {_geometry.getSizeX(), sizeY, rowsPerStrip, pixelStride};
        if (!_zeros.write(_pTiff, layout)) {
            return fail(Message::eTIFM_InitStripDataError, page.number, _path.string(),
                        lastTiffWriteMessage(_pTiff));
        }
        addPixelOffset(layout);
        return success();
    }

    BoolResult flush() const {
        return TIFFFlush(_pTiff) == 1
                   ? success()
                   : fail(Message::eTIFM_FlushError, _path.string(), lastTiffWriteMessage(_pTiff));
    }

    /// Sets a size; fails if it does not fit into 32 bits.
    BoolResult setSize(char const* name, std::uint32_t tag, vlUInt64 size) const {
        return size <= NumericLimits<std::uint32_t>::s_max
                   ? setTag(name, tag, static_cast<std::uint32_t>(size))
                   : failToSetTag(name);
    }

    template <class... Values>
    BoolResult setTag(char const* name, std::uint32_t tag, Values... values) const {
        return TIFFSetField(_pTiff, tag, values...) == 1 ? success() : failToSetTag(name);
    }

    BoolResult failToSetTag(char const* name) const {
        return fail(Message::eTIFM_SetTagError, name, _path.string(), lastTiffMessage());
    }

    TIFF*& _pTiff;
    boost::filesystem::path const& _path;
    BaseImageGeometry const& _geometry;
    GeometricCalibrationConstPtr const& _pCalibration;
    std::string const* _pUserProperties;
    eTiffCompression _compression;
    bool _bInterleaved;
    vlUInt64 _nbSamples;
    std::string _stored; ///< the record of the geometry and the calibration
    std::uint16_t _nbPages = 0;
    ZeroStrips _zeros;
    std::optional<PageAppender> _appender; ///< after the opening of the handle
    bool _bContiguous = true;              ///< whether the pixels of all pages are stored without gaps
    std::vector<vlUInt64> _pixelOffsets;
    std::vector<Page> _collected; ///< by the appender, since its last flush
};

BoolResult create(boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                  GeometricCalibrationConstPtr const& pCalibration, std::string const* pUserProperties,
                  eTiffCompression compression, TIFF*& pTiff,
                  std::vector<vlUInt64>* pPixelOffsets = nullptr) {
    pTiff = nullptr;
    TiffFileClosure closure(path.string(), pTiff);
    return failOnException(Message::eTIFM_CreateFileException, path, [&] {
        TiffCreation creation(pTiff, path, geometry, pCalibration, pUserProperties, compression);
        BoolResult result = creation.create();
        if (result) {
            closure.disarm();
        }
        if (pPixelOffsets != nullptr) {
            *pPixelOffsets = creation.getPixelOffsets();
        }
        return result;
    });
}

BoolResult createWithText(boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                          GeometricCalibrationConstPtr const& pCalibration, std::string const& userProperties,
                          eTiffCompression compression, TIFF*& pTiff,
                          std::vector<vlUInt64>* pPixelOffsets = nullptr) {
    TIFFInitializeExtend();
    return create(path, geometry, pCalibration, &userProperties, compression, pTiff, pPixelOffsets);
}

} // namespace

BoolResult createTiffFile(boost::filesystem::path const& filePath, BaseImageGeometry const& imageGeometry,
                          boost::shared_ptr<GeometricCalibration const> const& pGeometricCalibration,
                          eTiffCompression const& compression, TIFF*& pTiff) {
    return create(filePath, imageGeometry, pGeometricCalibration, nullptr, compression, pTiff);
}

BoolResult createTiffFile(boost::filesystem::path const& filePath, BaseImageGeometry const& imageGeometry,
                          boost::shared_ptr<GeometricCalibration const> const& pGeometricCalibration,
                          std::string const& userProperties, eTiffCompression const& compression,
                          TIFF*& pTiff) {
    return createWithText(filePath, imageGeometry, pGeometricCalibration, userProperties, compression, pTiff);
}

BoolResult createTiffFile(boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                          GeometricCalibrationConstPtr const& pCalibration, std::string const& userProperties,
                          eTiffCompression compression, TIFF*& pTiff, std::vector<vlUInt64>& pixelOffsets) {
    return userProperties.empty()
               ? create(path, geometry, pCalibration, nullptr, compression, pTiff, &pixelOffsets)
               : createWithText(path, geometry, pCalibration, userProperties, compression, pTiff,
                                &pixelOffsets);
}

} // namespace velmo::image::file
