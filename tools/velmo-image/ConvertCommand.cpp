// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ConvertCommand.h"

#include "CheckedParsing.h"
#include "InputImage.h"
#include "Interrupt.h"
#include "OutputFile.h"
#include "Progress.h"
#include "Terminal.h"

#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace velmo {
namespace tool {

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

ConvertCommand::ConvertCommand(CLI::App& parent)
    : Command(parent, "convert", "Write an image file anew",
              "  velmo-image convert brain.raw brain.tif --size 181,217,181 --type uint8 --compression lzw\n"
              "  velmo-image convert frames.tif frames.raw --directories t\n"
              "  velmo-image convert big.raw little.raw --size 512,512,100 --type int16 --byte-order big\n"
              "  velmo-image convert scan.bin planes.raw --size 256,256,64 --type uint16 --offset 348\n"
              "  velmo-image convert planes.raw scan.bin --size 256,256,64 --type uint16 --header scan.hdr") {
    getApp().add_option("INPUT", _inputFile, "File to read")->required();
    getApp().add_option("OUTPUT", _outputFile, "File to write")->required();
    _input.addTo(getApp());
    getApp().add_option("--output-format", _outputFormat,
                        "raw|tiff; without it the extension decides: .tif and .tiff are tiff, others raw");
    getApp().add_option("--compression", _compression, "none|lzw|deflate: of a TIFF output (none)");
    getApp().add_option("--header", _headerFile, "File whose bytes go before the planes of a raw output");
    getApp().add_flag("--overwrite", _bOverwrite, "Replace an output that exists");
    getApp().add_flag("--quiet", _bQuiet, "No progress bar");
}

eFileFormat ConvertCommand::getOutputFormat() const {
    eFileFormat const format = chooseFormat(_outputFile, "--output-format", _outputFormat);
    requireWritable(format, _outputFile);
    if (format == eFileFormat::Tiff && !_headerFile.empty()) {
        throw WrongUse("--header is for a raw output, and " + quoted(_outputFile) + " is a TIFF file");
    }
    if (format == eFileFormat::Raw && !_compression.empty()) {
        throw WrongUse("--compression is for a TIFF output, and " + quoted(_outputFile) + " is a raw file");
    }
    return format;
}

ConvertCommand::Writer ConvertCommand::createWriter(image::DiskImagePtr const& pImage) const {
    if (getOutputFormat() == eFileFormat::Tiff) {
        image::file::eTiffCompression const compression = getCompression();
        return [=](boost::filesystem::path const& path) {
            image::file::saveTiffImageFile(path, pImage, compression);
        };
    }
    std::string const header = _headerFile.empty() ? std::string() : readHeader(_headerFile);
    return [=](boost::filesystem::path const& path) { image::file::saveRawImageFile(path, pImage, header); };
}

image::file::eTiffCompression ConvertCommand::getCompression() const {
    return _compression.empty() ? image::file::eTC_None
                                : parseChoice("--compression", _compression, g_compressions);
}

eExitStatus ConvertCommand::run() const {
    getOutputFormat();
    getCompression();
    InputDescription const description = _input.describe({_inputFile});
    requireWritableTarget(_outputFile, _bOverwrite);
    InputImage const input = openInput(_inputFile, _input.getFormat(_inputFile), description);
    for (std::string const& warning : findWarnings(input)) {
        printMessage("warning: " + quoted(_inputFile) + ": " + warning);
    }
    Progress progress(input.pImage->getGeometry().getNbPixels(), _bQuiet);
    writeOutput(_outputFile, _bOverwrite, createWriter(observeInput(input, progress)));
    return eES_Done;
}

} // namespace tool
} // namespace velmo
