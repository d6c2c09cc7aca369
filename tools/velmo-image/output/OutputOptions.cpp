// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/OutputOptions.h"

#include "output/CalibrationTags.h"
#include "output/OutputFile.h"
#include "terminal/CheckedParsing.h"
#include "terminal/Interrupt.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

#include <CLI/CLI.hpp>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace velmo::tool {

namespace {

/// Headers are held in memory: one that is larger than this is taken for a mistake.
constexpr std::size_t g_maxHeaderSize = std::size_t{64} << 20;

struct FileCloser {
    void operator()(std::FILE* pFile) const { std::fclose(pFile); }
};

std::string readHeader(std::string const& file) {
    std::unique_ptr<std::FILE, FileCloser> const pFile(std::fopen(file.c_str(), "rbe"));
    std::string header;
    std::array<char, 65536> piece{};
    for (std::size_t nbRead = 1; pFile && nbRead != 0 && header.size() <= g_maxHeaderSize;) {
        nbRead = std::fread(piece.data(), 1, piece.size(), pFile.get());
        throwIfInterrupted();
        header.append(piece.data(), nbRead);
    }
    throwIfInterrupted();
    if (!pFile || std::ferror(pFile.get()) != 0) {
        throw WorkFailure("cannot read the header " + quoted(file) + ": " + std::strerror(errno));
    }
    if (header.size() > g_maxHeaderSize) {
        throw WorkFailure("the header " + quoted(file) + " is larger than 64 MiB");
    }
    return header;
}

constexpr std::array<Choice<image::file::eTiffCompression>, 3> g_compressions = {
    {{"none", image::file::eTC_None}, {"lzw", image::file::eTC_Lzw}, {"deflate", image::file::eTC_Deflate}}};

} // namespace

void OutputOptions::addTo(CLI::App& app) {
    app.add_option("OUTPUT", _file, "File to write")->required();
    app.add_option(
        "--output-format", _format,
        "raw|tiff; without it the extension decides: .tif and .tiff are tiff, others raw, but not those "
        "of pictures such as .png");
    app.add_option("--compression", _compression, "none|lzw|deflate: of a TIFF output (none)");
    app.add_option("--header", _headerFile, "File whose bytes go before the planes of a raw output");
    app.add_flag("--overwrite", _bOverwrite, "Replace an output that exists");
    app.add_flag("--quiet", _bQuiet, "No progress bar");
}

void OutputOptions::addCalibrationTagsTo(CLI::App& app) {
    app.add_flag("--calibration-tags", _bCalibrationTags,
                 "Tell other programs the pixel size along X and Y, in the resolution tags of a TIFF output: "
                 "pixels per cm; of a calibration whose unit is unknown or missing, pixels per unit; without "
                 "a calibration, none");
}

eFileFormat OutputOptions::getFormat() const {
    return chooseOutputFormat(_file, _format);
}

image::file::eTiffCompression OutputOptions::getCompression() const {
    return _compression.empty() ? image::file::eTC_None
                                : parseChoice("--compression", _compression, g_compressions);
}

void OutputOptions::requireFit() const {
    eFileFormat const format = getFormat();
    if (_format.empty() && hasPictureExtension(_file)) {
        throw WrongUse(quoted(_file) +
                       " is the name of a picture, which this command does not write: velmo-image preview "
                       "writes PNG pictures; --output-format raw or tiff writes under any name");
    }
    if (format == eFileFormat::Tiff && !_headerFile.empty()) {
        throw WrongUse("--header is for a raw output, and " + quoted(_file) + " is a TIFF file");
    }
    if (format == eFileFormat::Raw && !_compression.empty()) {
        throw WrongUse("--compression is for a TIFF output, and " + quoted(_file) + " is a raw file");
    }
    if (format == eFileFormat::Raw && _bCalibrationTags) {
        throw WrongUse("--calibration-tags is for a TIFF output, and " + quoted(_file) + " is a raw file");
    }
    getCompression();
    requireHeaderApartFrom(_file, "the output itself");
}

void OutputOptions::requireApartFrom(boost::filesystem::path const& input, std::string const& what) const {
    if (isSameFile(input, _file)) {
        throw WorkFailure("cannot write " + quoted(_file) + ": it is " + what);
    }
    requireHeaderApartFrom(input, what);
}

void OutputOptions::requireHeaderApartFrom(boost::filesystem::path const& input,
                                           std::string const& what) const {
    if (!_headerFile.empty() && isSameFile(input, _headerFile)) {
        throw WrongUse("--header " + quoted(_headerFile) + " is " + what);
    }
}

void OutputOptions::requireWritable() const {
    requireWritableTarget(_file, _bOverwrite);
}

std::optional<TiffResolution> OutputOptions::getResolution(image::DiskImage const& image) const {
    if (!_bCalibrationTags) {
        return std::nullopt;
    }
    CalibrationTags const tags = toTags(image.getGeometricCalibrationConstPtr());
    if (!tags.warning.empty()) {
        printMessage("warning: " + quoted(_file) + ": " + tags.warning);
    }
    return tags.resolution;
}

OutputOptions::Writer OutputOptions::createWriter(image::DiskImagePtr const& pImage) const {
    if (getFormat() == eFileFormat::Tiff) {
        image::file::TiffWriteOptions options;
        options.compression = getCompression();
        options.bReplaceWhenWhole = false; // the path is a temporary one already
        std::optional<TiffResolution> const resolution = getResolution(*pImage);
        return [=](boost::filesystem::path const& path) {
            image::file::saveTiffImageFile(path, pImage, options);
            if (resolution) {
                setTiffResolution(path, *resolution);
            }
        };
    }
    image::file::RawWriteOptions options;
    options.fileHeader = _headerFile.empty() ? std::string() : readHeader(_headerFile);
    options.bReplaceWhenWhole = false; // the path is a temporary one already
    return [=](boost::filesystem::path const& path) { image::file::saveRawImageFile(path, pImage, options); };
}

void OutputOptions::save(ObservedSource const& source) const {
    Progress progress(source.pImage->getGeometry().getNbPixels(), _bQuiet);
    writeOutput(_file, _bOverwrite, createWriter(observe(source, progress)));
}

} // namespace velmo::tool
