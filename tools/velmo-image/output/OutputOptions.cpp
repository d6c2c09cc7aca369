// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/OutputOptions.h"

#include "output/CalibrationTags.h"
#include "output/OutputFile.h"
#include "output/StreamedOutput.h"
#include "terminal/CheckedParsing.h"
#include "terminal/CommandOptions.h"
#include "terminal/Interrupt.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <unistd.h>

namespace velmo::tool {

namespace {

/// Headers are held in memory; larger files are rejected.
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

void OutputOptions::addTo(CommandOptions& options) {
    options.addArgument("OUTPUT", _file, "File to write; - writes raw planes to standard output");
    options.addOption("--output-format", _format,
                      "raw|tiff: format of the output (default: by extension, .tif and .tiff are tiff, all "
                      "others raw; extensions of pictures such as .png are rejected)");
    options.addOption("--compression", _compression,
                      "none|lzw|deflate: compression of a TIFF output (default: none)");
    options.addOption("--header", _headerFile,
                      "File whose bytes are written before the planes of a raw output");
    options.addOption("--threads", _threads,
                      "Number of threads that read the input and encode a TIFF output (default: as many as "
                      "there are processors)");
    options.addFlag("--overwrite", _bOverwrite, "Replace an existing output");
    options.addFlag("--quiet", _bQuiet, "Hide the progress bar");
}

void OutputOptions::addCalibrationTagsTo(CommandOptions& options) {
    options.addFlag("--calibration-tags", _bCalibrationTags,
                    "Write the pixel size along X and Y into the resolution tags of a TIFF output, for other "
                    "programs: pixels per cm, or pixels per unit if the unit is unknown or missing");
}

eFileFormat OutputOptions::getFormat() const {
    return chooseOutputFormat(_file, _format);
}

image::file::eTiffCompression OutputOptions::getCompression() const {
    return _compression.empty() ? image::file::eTC_None
                                : parseChoice("--compression", _compression, g_compressions);
}

processor::ProcessorDispatchPolicy OutputOptions::getThreads() const {
    return _threads.empty() ? image::file::useAllProcessors()
                            : image::file::useThreads(parseThreads("--threads", _threads));
}

void OutputOptions::requireFit(bool bThreadsCompute) const {
    eFileFormat const format = getFormat();
    if (_format.empty() && hasPictureExtension(_file)) {
        throw WrongUse(quoted(_file) +
                       " has the extension of a picture, which this command cannot write; use velmo-image "
                       "preview for PNG pictures, or --output-format raw or tiff");
    }
    requireFitOfStream(format);
    if (format == eFileFormat::Tiff && !_headerFile.empty()) {
        throw WrongUse("--header applies only to raw outputs; " + quoted(_file) + " is a TIFF file");
    }
    if (format == eFileFormat::Raw && !_compression.empty()) {
        throw WrongUse("--compression applies only to TIFF outputs; " + quoted(_file) + " is a raw file");
    }
    if (format == eFileFormat::Raw && !_threads.empty() && !bThreadsCompute) {
        throw WrongUse("--threads applies only to TIFF outputs; " + quoted(_file) + " is a raw file");
    }
    if (format == eFileFormat::Raw && _bCalibrationTags) {
        throw WrongUse("--calibration-tags applies only to TIFF outputs; " + quoted(_file) +
                       " is a raw file");
    }
    getCompression();
    getThreads();
    requireHeaderApartFrom(getOutputFile(_file), "the output");
}

void OutputOptions::requireFitOfStream(eFileFormat format) const {
    if (isStandardOutput(_file) && format == eFileFormat::Tiff) {
        throw WrongUse("a TIFF file cannot be written to standard output: its writing needs a seekable file; "
                       "give the name of a file, or write raw planes");
    }
    if (isStandardOutput(_file) && isatty(STDOUT_FILENO) == 1) {
        throw WrongUse(
            "planes are not written to a terminal: redirect the standard output to a file or a pipe");
    }
}

void OutputOptions::requireApartFrom(boost::filesystem::path const& input, std::string const& what) const {
    if (isSameFile(input, getOutputFile(_file))) {
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
    if (!isStandardOutput(_file)) {
        requireWritableTarget(_file, _bOverwrite);
    }
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
        options.threads = getThreads();
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
    saveAll({{_file, source}});
}

void OutputOptions::saveAll(std::vector<OutputImage> const& images) const {
    vlUInt64 nbPixels = 0;
    for (OutputImage const& image : images) {
        nbPixels += image.source.pImage->getGeometry().getNbPixels();
    }
    Progress progress(nbPixels, _bQuiet);
    if (!isTiff() && images.size() == 1 && isStreamedOutput(images.front().file)) {
        writeStream(images.front().file, _headerFile.empty() ? std::string() : readHeader(_headerFile),
                    *observe(images.front().source, progress));
        return;
    }
    std::vector<OutputTarget> targets;
    targets.reserve(images.size());
    for (OutputImage const& image : images) {
        targets.push_back({image.file, createWriter(observe(image.source, progress))});
    }
    writeOutputs(targets, _bOverwrite);
}

bool OutputOptions::isTiff() const {
    return getFormat() == eFileFormat::Tiff;
}

} // namespace velmo::tool
