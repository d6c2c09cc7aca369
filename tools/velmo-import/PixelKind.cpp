// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PixelKind.h"

#include "LabColours.h"
#include "Palette.h"
#include "PixelNames.h"
#include "Refusal.h"

#include <VELMOImageFile/PixelTypeNames.h>
#include <algorithm>
#include <array>

namespace velmo::importer {

namespace {

using namespace image;

constexpr std::uint16_t g_bitsOfByte = 8;
constexpr std::uint16_t g_bitsOfShort = 16;
constexpr std::uint16_t g_bitsOfFloat24 = 24;
constexpr std::uint16_t g_bitsOfLong = 32;
constexpr std::uint16_t g_bitsOfLongLong = 64;
constexpr std::uint16_t g_jpeg2000 = 34712;

bool isInteger(PageShape const& shape) {
    return shape.sampleFormat == SAMPLEFORMAT_UINT || shape.sampleFormat == SAMPLEFORMAT_INT ||
           shape.sampleFormat == SAMPLEFORMAT_VOID;
}

bool isSigned(PageShape const& shape) {
    return shape.sampleFormat == SAMPLEFORMAT_INT;
}

bool isLab(std::uint16_t photometric) {
    return photometric == PHOTOMETRIC_CIELAB || photometric == PHOTOMETRIC_ICCLAB ||
           photometric == PHOTOMETRIC_ITULAB;
}

bool isLog(std::uint16_t photometric) {
    return photometric == PHOTOMETRIC_LOGL || photometric == PHOTOMETRIC_LOGLUV;
}

bool isAlpha(std::uint16_t extraSample) {
    return extraSample == EXTRASAMPLE_ASSOCALPHA || extraSample == EXTRASAMPLE_UNASSALPHA;
}

/// Chooses the kind step by step. Each step adds its change.
class KindChoice {
  public:
    KindChoice(TiffHandle& handle, PageShape const& shape, ImportOptions const& options,
               std::vector<ImportChange>& changes)
        : _handle(handle), _shape(shape), _options(options), _changes(changes) {}

    PixelKind choose() {
        requireReadable();
        reportStorage();
        _kind.decoding = chooseDecoding();
        if (_kind.decoding == eDecoding::Samples) {
            chooseSamples();
            chooseColour();
            chooseTurn();
        } else {
            chooseRgb();
        }
        return _kind;
    }

  private:
    void add(std::string const& kind, std::string const& text) { _changes.push_back({kind, text}); }

    void requireReadable() const {
        if (_shape.depth > 1) {
            refuse("a directory holds a volume of " + std::to_string(_shape.depth) +
                   " planes (tag ImageDepth), which is not supported");
        }
        if (_shape.compression == g_jpeg2000 || TIFFIsCODECConfigured(_shape.compression) == 0) {
            refuse("the pixels have a compression that libtiff cannot decode here: " +
                   getCompressionName(_shape.compression));
        }
    }

    void reportStorage() {
        if (_shape.bTiled) {
            add("tiles", "tiles of " + std::to_string(_shape.chunkX) + " x " + std::to_string(_shape.chunkY) +
                             " pixels became rows");
        }
        if (_shape.bSeparate) {
            add("planes", "the channels are in planes of their own, from which they are read");
        }
        if (_shape.orientation != ORIENTATION_TOPLEFT) {
            add("orientation", "orientation " + std::to_string(_shape.orientation) +
                                   ", not top left: rows and columns are kept as stored");
        }
        if (!_shape.bHasBits) {
            add("bits", "the tag BitsPerSample is missing: 1 bit, as TIFF defines");
        }
        if (!_shape.bHasPhotometric) {
            add("colour", "the tag PhotometricInterpretation is missing: taken as minimum is black");
        }
    }

    eDecoding chooseDecoding() {
        if (_shape.photometric == PHOTOMETRIC_YCBCR) {
            bool const bJpeg = _shape.compression == COMPRESSION_JPEG && !_shape.bSeparate;
            add("colour",
                bJpeg ? "YCbCr became RGB, by the JPEG codec" : "YCbCr became RGB of 8 bits, by libtiff");
            return bJpeg ? eDecoding::JpegRgb : eDecoding::Rgba;
        }
        bool const bConvertible = _shape.photometric == PHOTOMETRIC_SEPARATED || isLab(_shape.photometric) ||
                                  isLog(_shape.photometric);
        if (isLog(_shape.photometric) && !_options.bToRgb) {
            refuse("the pixels are " + nameColours(_shape.photometric) +
                       ", which the library has no type for",
                   "--to-rgb");
        }
        if (!bConvertible || !_options.bToRgb) {
            return eDecoding::Samples;
        }
        if (!_shape.extraSamples.empty()) {
            refuse("--to-rgb cannot convert " + nameColours(_shape.photometric) + " with " +
                   std::to_string(_shape.countExtraSamples()) + " extra samples");
        }
        if (isLab(_shape.photometric)) {
            if (!isConvertibleLab(_shape)) {
                refuse("--to-rgb converts interleaved CIE Lab and ICC Lab of 8 or 16 bits; the file has " +
                       describePixels(_shape));
            }
            add("colour", nameColours(_shape.photometric) + " (white of D50) became sRGB of 8 bits");
            return eDecoding::LabRgb;
        }
        add("colour",
            nameColours(_shape.photometric) + " became RGB of 8 bits, by libtiff without a profile");
        return eDecoding::Rgba;
    }

    void chooseRgb() {
        if (_kind.decoding == eDecoding::JpegRgb && (_shape.bits != g_bitsOfByte || _shape.samples != 3)) {
            refuse("YCbCr of " + std::to_string(_shape.samples) + " samples of " +
                   std::to_string(_shape.bits) + " bits is not supported");
        }
        std::array<char, 1024> reason{};
        if (_kind.decoding == eDecoding::Rgba && TIFFRGBAImageOK(_handle.get(), reason.data()) != 1) {
            refuse("libtiff cannot convert the colours: " + std::string(reason.data()));
        }
        _kind.nbStored = _kind.decoding == eDecoding::Rgba ? 4 : 3;
        _kind.type = eIBT_UInt8;
        _kind.color.initRgb();
    }

    void chooseSamples() {
        _kind.bits = _shape.bits;
        _kind.bSigned = isSigned(_shape);
        _kind.nbStored = _shape.bSeparate ? 1 : _shape.samples;
        if (isInteger(_shape)) {
            chooseIntegers();
        } else if (_shape.sampleFormat == SAMPLEFORMAT_IEEEFP) {
            chooseFloatingPoint();
        } else {
            refuse("the samples are complex numbers (" + describeSamples(_shape) +
                   "), which the library has no type for");
        }
    }

    void chooseIntegers() {
        if (_shape.bits == 0 || (_shape.bits > g_bitsOfLong && _shape.bits != g_bitsOfLongLong)) {
            refuseBits();
        }
        _kind.largestValue = _shape.bits == g_bitsOfLongLong ? NumericLimits<vlUInt64>::s_max
                                                             : (vlUInt64{1} << _shape.bits) - 1;
        if (_shape.bits == 1 && !_kind.bSigned && _shape.photometric != PHOTOMETRIC_PALETTE) {
            _kind.type = eIBT_Binary;
        } else if (_shape.bits <= g_bitsOfByte) {
            _kind.type = _kind.bSigned ? eIBT_Int8 : eIBT_UInt8;
        } else if (_shape.bits <= g_bitsOfShort) {
            _kind.type = _kind.bSigned ? eIBT_Int16 : eIBT_UInt16;
        } else {
            _kind.type = _kind.bSigned ? eIBT_Int32 : eIBT_UInt32;
        }
        if (_shape.bits == g_bitsOfLongLong) {
            _kind.code = eSampleCode::Int64;
            addBits();
        } else if (_shape.bits != g_bitsOfByte * _kind.getPixelSize()) {
            _kind.code = eSampleCode::Bits;
            addBits();
        }
    }

    void addBits() {
        add("bits", describeSamples(_shape) + " became " + file::getPixelTypeName(_kind.type) +
                        ", with the same values");
    }

    void chooseFloatingPoint() {
        _kind.type = eIBT_Real32;
        switch (_shape.bits) {
        case g_bitsOfLong:
            return;
        case g_bitsOfShort:
            _kind.code = eSampleCode::Half;
            break;
        case g_bitsOfFloat24:
            _kind.code = eSampleCode::Float24;
            break;
        case g_bitsOfLongLong:
            if (!_options.bLossy) {
                refuse("the samples are 64-bit floating point; real32 cannot hold all of their digits",
                       "--lossy");
            }
            _kind.code = eSampleCode::Double;
            return; // the greatest error is reported after the pixels have been read
        default:
            refuseBits();
        }
        addBits();
    }

    [[noreturn]] void refuseBits() const {
        refuse("samples of " + std::to_string(_shape.bits) + " bits (" + describeSamples(_shape) +
               ") are not supported");
    }

    void chooseColour() {
        _kind.color.setMinIsBlack(_shape.photometric != PHOTOMETRIC_MINISWHITE);
        switch (_shape.photometric) {
        case PHOTOMETRIC_MINISWHITE:
        case PHOTOMETRIC_MINISBLACK:
        case PHOTOMETRIC_MASK:
            setChannels({"grey"}, eCGT_Grey);
            break;
        case PHOTOMETRIC_RGB:
            setRgb();
            break;
        case PHOTOMETRIC_PALETTE:
            setPalette();
            break;
        case PHOTOMETRIC_SEPARATED:
            setInks();
            break;
        case PHOTOMETRIC_CIELAB:
        case PHOTOMETRIC_ICCLAB:
        case PHOTOMETRIC_ITULAB:
            setChannels({"L", "a", "b"}, eCGT_CieLab);
            add("colour",
                nameColours(_shape.photometric) + ": the samples are kept as stored; --to-rgb converts them");
            break;
        case g_colourFilterArray:
        case g_linearRaw:
            setChannels({}, eCGT_Grey);
            add("colour", nameColours(_shape.photometric) + ": the samples are kept as stored");
            break;
        default:
            refuse("the colours have the unknown " + nameColours(_shape.photometric));
        }
    }

    /// Sets the colours if they are all samples, otherwise named channels.
    void setChannels(std::vector<std::string> const& names, eColorGeometryType type) {
        if (_shape.samples == 1 && type == eCGT_Grey) {
            return;
        }
        if (_shape.samples == names.size()) {
            initColour(type);
            return;
        }
        initUser(names);
        add("channels", std::to_string(_shape.samples) + " samples for each pixel (" +
                            nameColours(_shape.photometric) + describeExtraSamples() +
                            ") became channels, with the same values");
    }

    void initColour(eColorGeometryType type) {
        bool const bMinIsBlack = _kind.color.minIsBlack();
        _kind.color.init(type);
        _kind.color.setMinIsBlack(bMinIsBlack);
    }

    void initUser(std::vector<std::string> const& names) {
        bool const bMinIsBlack = _kind.color.minIsBlack();
        _kind.color.initUser(_shape.samples);
        _kind.color.setMinIsBlack(bMinIsBlack);
        vlUInt64 const nbExtra = std::min<vlUInt64>(_shape.countExtraSamples(), _shape.samples);
        for (vlUInt64 channel = 0; channel < _shape.samples; ++channel) {
            vlUInt64 const firstExtra = _shape.samples - nbExtra;
            if (channel < names.size() && channel < firstExtra) {
                _kind.color.setChannelName(names[channel], channel);
            } else if (channel >= firstExtra && isAlpha(_shape.extraSamples[channel - firstExtra])) {
                _kind.color.setChannelName("alpha", channel);
            }
        }
    }

    std::string describeExtraSamples() const {
        std::string text;
        for (std::uint16_t const kind : _shape.extraSamples) {
            text += kind == EXTRASAMPLE_ASSOCALPHA   ? " + premultiplied alpha"
                    : kind == EXTRASAMPLE_UNASSALPHA ? " + alpha"
                                                     : " + sample";
        }
        return text;
    }

    void setRgb() {
        constexpr std::uint16_t nbRgba = 4;
        if (_shape.samples != nbRgba) {
            setChannels({"red", "green", "blue"}, eCGT_Rgb);
            return;
        }
        _kind.color.init(eCGT_Rgba);
        std::uint16_t const fourth =
            _shape.extraSamples.empty() ? EXTRASAMPLE_UNSPECIFIED : _shape.extraSamples.front();
        if (fourth == EXTRASAMPLE_ASSOCALPHA) {
            add("alpha", "the colours are premultiplied with alpha: they are kept as stored");
        } else if (fourth != EXTRASAMPLE_UNASSALPHA) {
            add("alpha", "the kind of the fourth sample is not specified: taken as alpha");
        }
    }

    void setPalette() {
        if (!_options.bPaletteToRgb) {
            setChannels({"index"}, eCGT_Grey);
            add("palette",
                "the palette was left out: the values are its indexes; --palette rgb writes colours");
            return;
        }
        if (_shape.samples != 1 || _kind.type == eIBT_Real32 || _shape.bits > g_bitsOfShort ||
            _kind.bSigned) {
            refuse("--palette rgb needs one sample of at most 16 bits for each pixel; the file has " +
                   std::to_string(_shape.samples) + " of " + describeSamples(_shape));
        }
        Palette const palette = readPalette(_handle, _shape);
        _kind.bPalette = true;
        _kind.type = palette.shift != 0 ? eIBT_UInt8 : eIBT_UInt16;
        _kind.color.initRgb();
        auto const isOfBits = [](ImportChange const& change) { return change.kind == "bits"; };
        _changes.erase(std::remove_if(_changes.begin(), _changes.end(), isOfBits), _changes.end());
        add("palette", std::string("the indexes became the colours of the palette, RGB of ") +
                           (palette.shift != 0 ? "8" : "16") + " bits");
    }

    void setInks() {
        constexpr vlUInt64 nbCmyk = 4;
        bool const bCmyk = _shape.inkSet == INKSET_CMYK && _shape.samples >= nbCmyk;
        std::vector<std::string> const names =
            bCmyk ? std::vector<std::string>{"cyan", "magenta", "yellow", "black"}
                  : std::vector<std::string>{};
        initUser(names);
        add("colour", std::to_string(_shape.samples) + (bCmyk ? " inks (CMYK" : " inks (not CMYK") +
                          describeExtraSamples() + ") became channels, with the same values" +
                          (bCmyk ? "; --to-rgb converts them" : ""));
    }

    void chooseTurn() {
        if (_shape.photometric != PHOTOMETRIC_MINISWHITE) {
            return;
        }
        if (!_options.bMinIsBlack) {
            add("minimum", "the minimum is white: the values are kept; --min-is-black turns them");
            return;
        }
        if (!isInteger(_shape) || _kind.bSigned || _shape.bits == g_bitsOfLongLong) {
            refuse("--min-is-black applies to unsigned samples of at most 32 bits; the file has " +
                   describeSamples(_shape));
        }
        _kind.bTurn = true;
        _kind.color.setMinIsBlack(true);
        add("minimum",
            "the minimum was white: each value v became " + std::to_string(_kind.largestValue) + " - v");
    }

    TiffHandle& _handle;
    PageShape const& _shape;
    ImportOptions const& _options;
    std::vector<ImportChange>& _changes;
    PixelKind _kind;
};

} // namespace

PixelKind choosePixelKind(TiffHandle& handle, PageShape const& shape, ImportOptions const& options,
                          std::vector<ImportChange>& changes) {
    return KindChoice(handle, shape, options, changes).choose();
}

} // namespace velmo::importer
