// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/FileFormat.h"

#include "terminal/CheckedParsing.h"

#include <VELMOBase/FileKind.h>
#include <VELMOBase/TransferAll.h>
#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

namespace velmo::tool {

namespace {

constexpr std::array<Choice<eFileFormat>, 3> g_formats = {
    {{"raw", eFileFormat::Raw}, {"tiff", eFileFormat::Tiff}, {"im6", eFileFormat::Im6}}};
constexpr std::array<Choice<eFileFormat>, 2> g_outputFormats = {
    {{"raw", eFileFormat::Raw}, {"tiff", eFileFormat::Tiff}}};

std::string getLowerCaseExtension(boost::filesystem::path const& path) {
    return boost::algorithm::to_lower_copy(path.extension().string());
}

eFileFormat getFormatOfName(boost::filesystem::path const& path) {
    std::string const extension = getLowerCaseExtension(path);
    if (extension == ".tif" || extension == ".tiff") {
        return eFileFormat::Tiff;
    }
    return extension == ".im6" ? eFileFormat::Im6 : eFileFormat::Raw;
}

/// The first bytes of a file; fewer where it is shorter or cannot be read.
std::string readBeginning(boost::filesystem::path const& path, std::size_t nbBytes) {
    if (getReadAllError(path)) {
        return {};
    }
    int const descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    std::string bytes(nbBytes, '\0');
    bytes.resize(descriptor < 0 ? 0 : transferAll(nbBytes, [&](std::uint64_t done) {
                                          return pread(descriptor, bytes.data() + done, nbBytes - done,
                                                       static_cast<off_t>(done));
                                      }).nbBytes);
    if (descriptor >= 0) {
        close(descriptor);
    }
    return bytes;
}

} // namespace

std::optional<eFileFormat> findFormatOfContent(boost::filesystem::path const& path) {
    constexpr std::array<std::pair<std::string_view, eFileFormat>, 5> signatures = {
        {{std::string_view("II\x2a\0", 4), eFileFormat::Tiff},
         {std::string_view("MM\0\x2a", 4), eFileFormat::Tiff},
         {std::string_view("II\x2b\0\x08\0\0\0", 8), eFileFormat::Tiff},
         {std::string_view("MM\0\x2b\0\x08\0\0", 8), eFileFormat::Tiff},
         {std::string_view("\x34\x69\0\0", 4), eFileFormat::Im6}}};
    std::string const beginning = readBeginning(path, 8);
    for (auto const& [signature, format] : signatures) {
        if (beginning.compare(0, signature.size(), signature) == 0) {
            return format;
        }
    }
    return std::nullopt;
}

char const* getFormatName(eFileFormat format) {
    return g_formats[static_cast<std::size_t>(format)].first;
}

eFileFormat chooseInputFormat(boost::filesystem::path const& path, std::string const& optionValue) {
    return optionValue.empty() ? getFormatOfName(path) : parseChoice("--format", optionValue, g_formats);
}

eFileFormat chooseOutputFormat(boost::filesystem::path const& path, std::string const& optionValue) {
    if (!optionValue.empty()) {
        return parseChoice("--output-format", optionValue, g_outputFormats);
    }
    eFileFormat const format = getFormatOfName(path);
    if (format == eFileFormat::Im6) {
        throw WrongUse("cannot write " + quoted(path.string()) +
                       ": Im6 files can only be read; use --output-format raw or tiff");
    }
    return format;
}

bool hasPictureExtension(boost::filesystem::path const& path) {
    constexpr std::array<char const*, 28> extensions = {
        ".apng", ".avif", ".bmp", ".dib", ".exr",  ".gif", ".heic", ".heif", ".ico", ".j2k",
        ".jfif", ".jp2",  ".jpe", ".jpg", ".jpeg", ".jxl", ".pam",  ".pbm",  ".pcx", ".pgm",
        ".png",  ".pnm",  ".ppm", ".psd", ".svg",  ".tga", ".webp", ".xpm"};
    return std::find(extensions.begin(), extensions.end(), getLowerCaseExtension(path)) != extensions.end();
}

} // namespace velmo::tool
