// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ConvertCommand.h"

#include "InputImage.h"
#include "OutputFile.h"
#include "Progress.h"
#include "Terminal.h"

#include <VELMOImageFile/RawImageFileUtils.h>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

namespace velmo {
namespace tool {

namespace {

/// Headers are held in memory: one that is larger than this is taken for a mistake.
constexpr std::size_t g_maxHeaderSize = std::size_t{64} << 20;

std::string readHeader(std::string const& file) {
    if (file.empty()) {
        return {};
    }
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    std::string header;
    for (std::istreambuf_iterator<char> byte(stream), end; byte != end && header.size() <= g_maxHeaderSize;
         ++byte) {
        header += *byte;
    }
    if (!stream || errno != 0) {
        throw WorkFailure("cannot read the header " + quoted(file) + ": " + std::strerror(errno));
    }
    if (header.size() > g_maxHeaderSize) {
        throw WorkFailure("the header " + quoted(file) + " is larger than 64 MiB");
    }
    return header;
}

} // namespace

ConvertCommand::ConvertCommand(CLI::App& parent)
    : Command(parent, "convert", "Write an image file anew",
              "  velmo-image convert big.raw little.raw --size 512,512,100 --type int16 --byte-order big\n"
              "  velmo-image convert scan.bin planes.raw --size 256,256,64 --type uint16 --offset 348\n"
              "  velmo-image convert planes.raw scan.bin --size 256,256,64 --type uint16 --header scan.hdr") {
    getApp().add_option("INPUT", _inputFile, "File to read")->required();
    getApp().add_option("OUTPUT", _outputFile, "File to write")->required();
    _input.addTo(getApp());
    getApp().add_option("--output-format", _outputFormat,
                        "raw|tiff; without it the extension decides, and none is raw");
    getApp().add_option("--header", _headerFile, "File whose bytes go before the planes of a raw output");
    getApp().add_flag("--overwrite", _bOverwrite, "Replace an output that exists");
    getApp().add_flag("--quiet", _bQuiet, "No progress bar");
}

eExitStatus ConvertCommand::run() const {
    requireWritable(chooseFormat(_outputFile, "--output-format", _outputFormat), _outputFile);
    _input.check(_inputFile);
    requireWritableTarget(_outputFile, _bOverwrite);
    InputImage const input = openInput(_inputFile, _input);
    for (std::string const& warning : findWarnings(_inputFile, _input)) {
        printMessage("warning: " + quoted(_inputFile) + ": " + warning);
    }
    std::string const header = readHeader(_headerFile);
    Progress progress(input.pImage->getGeometry().getNbPixels(), _bQuiet);
    image::DiskImagePtr const pImage = observeInput(input, progress);
    writeOutput(_outputFile, _bOverwrite, [&](boost::filesystem::path const& path) {
        image::file::saveRawImageFile(path, pImage, header);
    });
    return eES_Done;
}

} // namespace tool
} // namespace velmo
