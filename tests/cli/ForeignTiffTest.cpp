// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ForeignFile.h"
#include "InfoEntries.h"

#include <VELMOImageFile/PixelTypeNames.h>

namespace velmo::test {

using nlohmann::json;
using Checksums = std::vector<std::uint32_t>;

namespace {

/// All files with what calls with options give: all planes that a file holds, in native order, and a bilevel
/// image where BitsPerSample is left out.
std::map<std::string, ForeignFile> readTrueFiles() {
    std::map<std::string, ForeignFile> files;
    for (ForeignFile file : readForeignFiles()) {
        if (!file.checkedPlanes.empty()) {
            file.bLoads = true;
            file.planes = file.checkedPlanes;
            file.nbPages = file.planes.size() / file.sizeC;
        }
        files[file.path.filename().string()] = file;
    }
    ForeignFile& withoutBits = files.at("tf-bilevel-without-bits.tif");
    boost::filesystem::path const path = withoutBits.path;
    withoutBits = files.at("lt-bilevel-37.tif");
    withoutBits.path = path;
    return files;
}

/// Checksums of the planes that lie one behind the other.
Checksums getChecksums(std::string const& bytes, std::size_t nbPlanes) {
    Checksums checksums;
    for (std::size_t plane = 0; plane < nbPlanes; ++plane) {
        std::size_t const size = bytes.size() / nbPlanes;
        checksums.push_back(getCrc(bytes.substr(plane * size, size)));
    }
    return checksums;
}

json getTypes(ForeignFile const& file) {
    json types = json::array();
    for (image::eImageBufferType const type : file.bufferTypes) {
        types.push_back(image::file::getPixelTypeName(type));
    }
    return file.isHeterogeneous() ? types : types.at(0);
}

/// Whose pixels come out of every command as the file's maker shows them. They are big-endian stacks of
/// ImageJ's kind, with a directory for each plane or with a single one.
char const* const g_bigEndianStacks[] = {"ij-stack-16-bit.tif", "tf-imagej-single-u2-be.tif",
                                         "tf-imagej-single-f4-be.tif", "tf-imagej-stack-u2-be.tif"};

class ForeignTiff : public CliTest {
  protected:
    ToolResult convert(ForeignFile const& file) const {
        return runTool({"convert", file.path.string(), path("out.raw"), "--overwrite"});
    }

    std::map<std::string, ForeignFile> const _files = readTrueFiles();
};

} // namespace

TEST_F(ForeignTiff, InfoTellsOfEachFileWhatItsMakerPutIn) {
    Arguments arguments = {"info", "--json"};
    for (auto const& [name, file] : _files) {
        arguments.push_back(file.path.string());
    }
    json const entries = getEntries(runTool(arguments));
    ASSERT_EQ(_files.size(), entries.size());
    std::size_t index = 0;
    for (auto const& [name, file] : _files) {
        SCOPED_TRACE(name);
        json const& entry = entries.at(index++);
        if (!file.bOpens) {
            ASSERT_TRUE(entry.at("error").is_string());
            EXPECT_THAT(entry.at("error").get<std::string>(), hasWords(file.path.string(), file.message));
            continue;
        }
        EXPECT_EQ(json(nullptr), entry.at("error"));
        EXPECT_EQ(json({file.sizeX, file.sizeY, file.nbPages, file.sizeC, 1}),
                  json({entry.at("sizeX"), entry.at("sizeY"), entry.at("sizeZ"), entry.at("sizeC"),
                        entry.at("sizeT")}));
        EXPECT_EQ(file.bMinIsBlack, entry.at("minIsBlack"));
        std::string const color = entry.at("color");
        EXPECT_STRCASEEQ(file.colorGeometry.c_str(), ("eCGT_" + color).c_str());
        EXPECT_EQ(getTypes(file), entry.at(file.isHeterogeneous() ? "pixelTypes" : "pixelType"));
    }
}

TEST_F(ForeignTiff, ConversionGivesThePixelsThatTheMakersReadInThem) {
    std::size_t nbCompared = 0;
    for (auto const& [name, file] : _files) {
        SCOPED_TRACE(name);
        ToolResult const result = convert(file);
        if (!file.bLoads) {
            EXPECT_EQ(1, result.status);
            EXPECT_THAT(result.err, testing::HasSubstr(file.bOpens ? "Failed to read " : file.message));
        } else if (!file.isHeterogeneous()) {
            ASSERT_EQ(0, result.status) << result.err;
            EXPECT_EQ(file.planes, getChecksums(read("out.raw"), file.planes.size()));
            ++nbCompared;
        }
    }
    EXPECT_GT(nbCompared, 100U);
}

TEST_F(ForeignTiff, TheCheckFailsWhereAConversionDoes) {
    for (auto const& [name, file] : _files) {
        ToolResult const checked = runTool({"info", "--check", file.path.string()});
        EXPECT_EQ(convert(file).status, checked.status) << name << checked.err;
    }
}

TEST_F(ForeignTiff, BigEndianStacksGiveNumbersOfThisMachineInEveryCommand) {
    for (char const* const name : g_bigEndianStacks) {
        SCOPED_TRACE(name);
        ForeignFile const& file = _files.at(name);
        bool const bChannels = std::string(name) == "tf-imagej-stack-u2-be.tif"; // which are read as planes
        std::string const warnings = describe({"--check", file.path.string()}).at("warnings").dump();
        EXPECT_EQ(bChannels, warnings.find("velmo-image import") != std::string::npos) << warnings;
        EXPECT_EQ(0, convert(file).status);
        std::string const pixels = read("out.raw");
        EXPECT_EQ(file.planes, getChecksums(pixels, file.planes.size()));

        boost::filesystem::create_directories(_folder / name);
        boost::filesystem::copy_file(file.path, _folder / name / "a1.tif");
        boost::filesystem::copy_file(file.path, _folder / name / "a2.tif");
        expectDone(runTool({"stack", path(name), "a<INDEX>.tif", path("out.raw"), "--overwrite"}));
        EXPECT_EQ(pixels + pixels, read("out.raw"));
        expectDone(runTool({"stack", path(name), "a1.tif", path("out.raw"), "--overwrite"}));
        EXPECT_EQ(pixels, read("out.raw"));

        Arguments const options = {path("out.png"), "--montage", "--overwrite"};
        expectDone(runTool(Arguments{"preview", file.path.string()} + options));
        std::string const picture = read("out.png");
        std::string const size = "37,17," + std::to_string(file.nbPages);
        expectDone(runTool(Arguments{"preview", path("out.raw")} + options +
                           raw(size, image::file::getPixelTypeName(file.bufferTypes.front()))));
        EXPECT_TRUE(picture == read("out.png"));
    }
}

} // namespace velmo::test
