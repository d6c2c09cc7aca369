// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/OutputOptions.h"

#include "input/StreamedInput.h"
#include "output/CalibrationTags.h"
#include "output/ImageJDescription.h"
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
    addCompressionTo(options);
    options.addOption("--header", _headerFile,
                      "File whose bytes are written before the planes of a raw output");
    addRunOptionsTo(options);
}

void OutputOptions::addFolderTo(CommandOptions& options) {
    _format = "tiff";
    options.addArgument("FOLDER", _file, "Folder of the files; created if it does not exist");
    addCompressionTo(options);
    addRunOptionsTo(options);
}

void OutputOptions::addCompressionTo(CommandOptions& options) {
    options.addOption("--compression", _compression,
                      "none|lzw|deflate: compression of a TIFF output (default: none)");
}

void OutputOptions::addRunOptionsTo(CommandOptions& options) {
    options.addOption("--threads", _threads,
                      "Number of threads that read the input and encode a TIFF output (default: as many as "
                      "there are processors)");
    options.addFlag("--overwrite", _bOverwrite, "Replace an existing output");
    options.addFlag("--quiet", _bQuiet, "Hide the progress bar");
}

void OutputOptions::addCalibrationTagsTo(CommandOptions& options) {
    _calibrationTagsOption = options.addFlag(
        "--calibration-tags", _bCalibrationTags,
        "Write the pixel size along X and Y into the resolution tags of a TIFF output, for other "
        "programs: pixels per cm, or pixels per unit if the unit is unknown or missing");
}

void OutputOptions::addImageJTo(CommandOptions& options) {
    CommandOption const option = options.addFlag(
        "--imagej", _bImageJ,
        "Describe axes and calibration of a TIFF output for ImageJ, which opens it as a hyperstack; writes "
        "the pixel size into the resolution tags as well, in pixels per unit");
    option.exclude(_calibrationTagsOption);
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

void OutputOptions::requireFit() const {
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
    std::array<std::pair<char const*, bool>, 4> const tiffOptions = {
        {{"--compression", !_compression.empty()},
         {"--threads", !_threads.empty() && !_bThreadsForRaw},
         {"--calibration-tags", _bCalibrationTags},
         {"--imagej", _bImageJ}}};
    for (auto const& [option, bGiven] : tiffOptions) {
        if (format == eFileFormat::Raw && bGiven) {
            throw WrongUse(std::string(option) + " applies only to TIFF outputs; " + quoted(_file) +
                           " is a raw file");
        }
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
    if (isSameFile(toInputPath(input), getOutputFile(_file))) {
        throw WorkFailure("cannot write " + quoted(_file) + ": it is " + what);
    }
    requireHeaderApartFrom(input, what);
}

void OutputOptions::requireHeaderApartFrom(boost::filesystem::path const& input,
                                           std::string const& what) const {
    if (!_headerFile.empty() && isSameFile(toInputPath(input), _headerFile)) {
        throw WrongUse("--header " + quoted(_headerFile) + " is " + what);
    }
}

void OutputOptions::requireWritable() const {
    if (!isStandardOutput(_file)) {
        requireWritableTarget(_file, _bOverwrite);
    }
}

TiffTagEdits OutputOptions::getTagEdits(image::BaseImage const& image) const {
    ImageJTags tags;
    if (_bImageJ) {
        tags = describeForImageJ(image, _file);
    } else if (_bCalibrationTags) {
        CalibrationTags const calibration = toTags(image.getGeometricCalibrationConstPtr());
        tags = {{calibration.resolution, {}}, calibration.warning};
    }
    if (!tags.warning.empty()) {
        printMessage("warning: " + quoted(_file) + ": " + tags.warning);
    }
    return tags.edits;
}

OutputOptions::Writer OutputOptions::createWriter(image::DiskImagePtr const& pImage,
                                                  TiffTagEdits const& edits) const {
    if (getFormat() == eFileFormat::Tiff) {
        image::file::TiffWriteOptions options;
        options.compression = getCompression();
        options.threads = getThreads();
        options.bReplaceWhenWhole = false; // the path is a temporary one already
        return [=](boost::filesystem::path const& path) {
            image::file::saveTiffImageFile(path, pImage, options);
            setTiffTags(path, edits);
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
        image::DiskImagePtr const pImage = observe(image.source, progress);
        targets.push_back({image.file, createWriter(pImage, getTagEdits(*pImage))});
    }
    writeOutputs(targets, _bOverwrite);
}

void OutputOptions::saveAll(OutputImages const& images) const {
    Progress progress(images.nbPixels, _bQuiet);
    TiffTagEdits const edits =
        images.files.empty() ? TiffTagEdits{} : getTagEdits(*images.createSource(0).pImage);
    std::vector<OutputTarget> targets;
    targets.reserve(images.files.size());
    for (std::size_t index = 0; index < images.files.size(); ++index) {
        targets.push_back({images.files[index], [this, &images, &progress, &edits, index](auto const& path) {
                               createWriter(observe(images.createSource(index), progress), edits)(path);
                           }});
    }
    writeOutputs(targets, _bOverwrite);
}

bool OutputOptions::isTiff() const {
    return getFormat() == eFileFormat::Tiff;
}

} // namespace velmo::tool
