// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FileSizeLimit.h"
#include "Tiff/handle/DirectoryChain.h"
#include "Tiff/handle/TiffStream.h"
#include "Tiff/model/PageAppender.h"
#include "planes/TiffPlaneFixture.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <fcntl.h>
#include <functional>
#include <unistd.h>

namespace velmo::image::file {

namespace {

using velmo::test::FileSizeLimit;
using velmo::test::onPrivateDisk;

struct NewFile {
    std::string name;
    ImageGeometryPtr pGeometry;
    eTiffCompression compression = eTC_None;
    std::string userProperties;
    GeometricCalibrationConstPtr pCalibration;
    friend void PrintTo(NewFile const& file, std::ostream* pStream) { *pStream << file.name; }
};

ImageGeometryPtr makeTypes(std::vector<eImageBufferType> const& types, PlaneSizes const& sizes) {
    ImageGeometryPtr const pModel = makeGeometry(types.front(), sizes);
    auto pGeometry = boost::make_shared<HeterogeneousImageGeometry>();
    pGeometry->init(pModel->getVolumeGeometry(), pModel->getColorGeometry(), pModel->getTemporalGeometry(),
                    sizes.x, sizes.y, types);
    return pGeometry;
}

std::vector<NewFile> makeFiles() {
    std::vector<NewFile> files;
    auto const add = [&](std::string const& name, ImageGeometryPtr const& pGeometry,
                         eTiffCompression compression = eTC_None, std::string const& text = "",
                         GeometricCalibrationConstPtr const& pCalibration = nullptr) {
        files.push_back({name, pGeometry, compression, text, pCalibration});
    };
    for (vlUInt64 const nbPlanes :
         std::vector<vlUInt64>{0, 1, 2, 3, 4, 5, 11, 12, 13, 255, 256, 1001, 32767}) {
        add(std::to_string(nbPlanes), makeGeometry(eIBT_UInt8, {3, 2, nbPlanes}));
    }
    for (vlUInt64 const nbPages : std::vector<vlUInt64>{65535, 65536, 65537}) {
        add("Rgb" + std::to_string(nbPages), makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {1, 1, nbPages}));
    }
    constexpr eImageBufferType types[] = {eIBT_UInt8,  eIBT_Int8,  eIBT_UInt16, eIBT_Int16,
                                          eIBT_UInt32, eIBT_Int32, eIBT_Real32};
    constexpr char const* compressions[] = {"", "Lzw", "Deflate"};
    int index = 0;
    for (eTiffCompression const compression : {eTC_None, eTC_Lzw, eTC_Deflate}) {
        std::string const name = compressions[index++];
        for (eImageBufferType const type : types) {
            std::string const typed = name + "Type" + std::to_string(type);
            add(typed, makeGeometry(type, {5, 3, 12, 2, 3}), compression, "text");
            add(typed + "Rgb", makeColorGeometry(eCGT_Rgb, type, {5, 3, 12, 1, 3}), compression);
            add(typed + "Rgba", makeColorGeometry(eCGT_Rgba, type, {5, 3, 12, 1, 3}), compression);
        }
        add(name + "Strips", makeGeometry(eIBT_UInt16, {100, 333, 9}), compression); // some with a rest
        add(name + "RgbStrips", makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {101, 333, 9}), compression);
        add(name + "RgbMedium", makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {80, 81, 9}), compression);
        add(name + "LongStrips", makeGeometry(eIBT_UInt8, {20001, 3, 7}), compression);
        add(name + "Large", makeGeometry(eIBT_UInt8, {1001, 901, 12}), compression);
        add(name + "Times", makeGeometry(eIBT_UInt8, {3, 1, 3, 1, 111}), compression);
        add(name + "Types",
            makeTypes({eIBT_UInt8, eIBT_UInt16, eIBT_UInt8, eIBT_Real32, eIBT_UInt16, eIBT_UInt8},
                      {3, 3, 11, 1, 6}),
            compression);
    }
    auto const pCalibration = boost::make_shared<GeometricCalibration>();
    add("Calibration", makeGeometry(eIBT_UInt16, {4, 3, 20}), eTC_None, "", pCalibration);
    add("LongText", makeGeometry(eIBT_UInt16, {4, 3, 20}), eTC_None, std::string(3000, 'x'), pCalibration);
    return files;
}

/// What is left of a creation, or of a save: the failure, and the bytes of the file.
struct Outcome {
    std::string text;
    std::string bytes;
};

void expectSame(Outcome const& ours, Outcome const& libtiffs) {
    EXPECT_EQ(ours.text, libtiffs.text);
    EXPECT_EQ(ours.bytes.size(), libtiffs.bytes.size());
    EXPECT_TRUE(ours.bytes == libtiffs.bytes);
}

/// Replaces the time of the creation, "2026:01:31 12:59:59".
std::string withoutTime(std::string bytes) {
    for (std::size_t i = bytes.find(':'); i != std::string::npos; i = bytes.find(':', i + 1)) {
        bool const bTime = i >= 4 && i + 15 < bytes.size() && bytes[i + 3] == ':' && bytes[i + 6] == ' ' &&
                           bytes[i + 9] == ':' && bytes[i + 12] == ':';
        if (bTime) {
            bytes.replace(i - 4, 19, 19, '?');
        }
    }
    return bytes;
}

Outcome outcomeOf(path const& path, std::function<std::string()> const& work) {
    boost::filesystem::remove(path);
    TiffErrorHandler::getInstance().clearCurrentError();
    std::string const text = work();
    return {text, withoutTime(boost::filesystem::exists(path) ? readFile(path) : "no file")};
}

/// Compares both ways.
void compareWays(path const& path, std::function<std::string()> const& work) {
    Outcome const ours = outcomeOf(path, work);
    PageAppender::Disabled const libtiff;
    expectSame(ours, outcomeOf(path, work));
}

BoolResult create(path const& path, NewFile const& file, TIFF*& pTiff) {
    return file.userProperties.empty()
               ? createTiffFile(path, *file.pGeometry, file.pCalibration, file.compression, pTiff)
               : createTiffFile(path, *file.pGeometry, file.pCalibration, file.userProperties,
                                file.compression, pTiff);
}

ImagePtr makeNoisyImage(NewFile const& file) {
    ImagePtr pImage;
    EXPECT_THAT(ImageFactory::getInstance().createDefaultImage(*file.pGeometry, pImage), Succeeds());
    pImage->setUserPropertiesStr(file.userProperties);
    if (file.pCalibration) {
        pImage->setGeometricCalibration(boost::make_shared<GeometricCalibration>(*file.pCalibration));
    }
    BaseImageGeometry const& geometry = *file.pGeometry;
    unsigned int seed = 0;
    for (vlUInt64 plane = 0; plane < geometry.getNbPlans(); ++plane) {
        auto const at = geometry.getPlanIndexes(plane);
        eImageBufferType const type = geometry.getPlanGeometry(at.t).getBufferType();
        std::string const pixels =
            noise(geometry.getPlanNbPixels() * getImageBufferBaseSize(type), ++seed % 100);
        EXPECT_THAT(pImage->writePixels(at.z, at.c, at.t, 0, geometry.getPlanNbPixels(), pixels.data()),
                    Succeeds());
    }
    return pImage;
}

template <class Save>
std::string trySave(Save const& save) {
    try {
        save();
        return "saved";
    } catch (std::exception const& exception) {
        return exception.what();
    }
}

/// Writes planes from the last to the first, then half of some of them.
std::string writeBackwards(path const& path, NewFile const& file) {
    TIFF* pTiff = nullptr;
    if (BoolResult result = create(path, file, pTiff); !result) {
        return result.getMessage();
    }
    TiffPtr const closes(pTiff);
    BaseImageGeometry const& geometry = *file.pGeometry;
    vlUInt64 const nbPixels = geometry.getPlanNbPixels();
    std::string text;
    for (vlUInt64 plane = geometry.getNbPlans(); plane-- > 0;) {
        auto const at = geometry.getPlanIndexes(plane);
        std::string const pixels = noise(nbPixels * 4, static_cast<unsigned int>(plane % 100));
        text += toText(writeTiffData(pTiff, path, geometry, at.z, at.c, at.t, 0, nbPixels, pixels.data()));
        if (plane % 3 == 0) {
            text += toText(
                writeTiffData(pTiff, path, geometry, at.z, at.c, at.t, 0, nbPixels / 2, pixels.data() + 1));
        }
    }
    return text;
}

class CreationWays : public TiffTest, public testing::WithParamInterface<NewFile> {};

} // namespace

TEST_P(CreationWays, MakeTheSameBytes) {
    compareWays(_path, [&] {
        TIFF* pTiff = nullptr;
        std::string text = toText(create(_path, GetParam(), pTiff));
        TiffPtr const closes(pTiff);
        return text;
    });
}

TEST_P(CreationWays, MakeTheSameBytesOfASavedImage) {
    ImagePtr const pImage = makeNoisyImage(GetParam());
    TiffWriteOptions options;
    options.compression = GetParam().compression;
    compareWays(_path,
                [&] { return trySave([&] { saveTiffImageFile(_path, pImage, GetParam().compression); }); });
    compareWays(_path, [&] { return trySave([&] { saveTiffImageFile(_path, pImage, options); }); });
}

TEST_P(CreationWays, MakeTheSameBytesIfPlanesAreWrittenInAnyOrder) {
    if (GetParam().pGeometry->getNbPlans() < 2000) {
        compareWays(_path, [&] { return writeBackwards(_path, GetParam()); });
    }
}

TEST_P(CreationWays, KnowTheDirectoriesAsAReaderFindsThem) {
    TIFF* pTiff = nullptr;
    ASSERT_THAT(create(_path, GetParam(), pTiff), Succeeds());
    TiffPtr const created(pTiff);
    if (GetParam().pGeometry->getNbPlans() == 0) {
        return; // libtiff does not open the file
    }
    TiffPtr const opened(TiffStream::open(_path, "r"));
    TiffStream& ours = *TiffStream::find(created.get());
    TiffStream& readers = *TiffStream::find(opened.get());
    vlUInt64 const nbPages = readers.accessChain().count(opened.get(), readers);
    ASSERT_EQ(ours.accessChain().count(created.get(), ours), nbPages);
    for (vlUInt64 page = 0; page < nbPages; ++page) {
        EXPECT_EQ(ours.accessChain().find(created.get(), ours, page),
                  readers.accessChain().find(opened.get(), readers, page));
        EXPECT_EQ(ours.accessChain().findShape(page), readers.accessChain().findShape(page));
        if (readers.accessChain().findShape(page)) {
            auto const places = ours.accessChain().readStripPlaces(created.get(), ours, page);
            auto const expected = readers.accessChain().readStripPlaces(opened.get(), readers, page);
            ASSERT_TRUE(places && expected);
            EXPECT_EQ(places->offsets, expected->offsets);
            EXPECT_EQ(places->byteCounts, expected->byteCounts);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Files, CreationWays, testing::ValuesIn(makeFiles()),
                         testing::PrintToStringParamName());

namespace {

class CreationWaysFailure : public TiffTest, public testing::WithParamInterface<NewFile> {};

std::vector<NewFile> makeFailingFiles() {
    return {
        {"Plain", makeGeometry(eIBT_UInt8, {30, 10, 24}), eTC_None, "", nullptr},
        {"Types", makeTypes({eIBT_UInt8, eIBT_UInt16, eIBT_UInt8}, {7, 5, 12, 1, 3}), eTC_None, "", nullptr},
        {"Rgb", makeColorGeometry(eCGT_Rgb, eIBT_UInt16, {9, 7, 20}), eTC_None, "text", nullptr},
        {"Lzw", makeGeometry(eIBT_UInt8, {30, 10, 20}), eTC_Lzw, "", nullptr},
        {"Large", makeGeometry(eIBT_UInt8, {300, 200, 9}), eTC_None, "", nullptr},
        {"Many", makeGeometry(eIBT_UInt8, {30, 10, 1200}), eTC_None, "", nullptr}};
}

} // namespace

TEST_P(CreationWaysFailure, LeavesTheSameBytesAndTextAtEachSizeOfAFile) {
    ImagePtr const pImage = makeNoisyImage(GetParam());
    auto const save = [&] {
        return trySave([&] { saveTiffImageFile(_path, pImage, GetParam().compression); });
    };
    vlUInt64 const whole = outcomeOf(_path, save).bytes.size();
    for (vlUInt64 limit = 0; limit < whole + 100; limit += whole / 40 + 1) {
        SCOPED_TRACE(limit);
        FileSizeLimit const limited(limit);
        compareWays(_path, save);
    }
}

TEST_P(CreationWaysFailure, LeavesTheSameBytesAndTextOnAFullDisk) {
    ImagePtr const pImage = makeNoisyImage(GetParam());
    path const disk = _folder / "disk";
    path const file = disk / "image.tif";
    std::string const text = onPrivateDisk(disk, std::size_t{2} << 20, [&] {
        vlUInt64 nbFailed = 0;
        auto const save = [&] {
            std::string outcome = trySave([&] { saveTiffImageFile(file, pImage, GetParam().compression); });
            nbFailed += outcome == "saved" ? 0 : 1;
            return outcome;
        };
        vlUInt64 const nbPages = outcomeOf(file, save).bytes.size() / 4096 + 2;
        for (vlUInt64 left = 0; left < nbPages; left += nbPages / 20 + 1) {
            SCOPED_TRACE(left);
            boost::filesystem::remove(file);
            velmo::test::fillDisk(disk / "filler", left * 4096);
            compareWays(file, save);
            boost::filesystem::remove(disk / "filler");
        }
        return (HasFailure() ? "different, " : "same, ") + std::to_string(nbFailed != 0 ? 1 : 0);
    });
    if (text != velmo::test::g_noMount) {
        EXPECT_EQ(text, "same, 1");
    }
}

INSTANTIATE_TEST_SUITE_P(Files, CreationWaysFailure, testing::ValuesIn(makeFailingFiles()),
                         testing::PrintToStringParamName());

namespace {

using CreationWaysTest = TiffTest;

/// The blocks of a file that are not zero, with their offsets.
std::string readBlocks(path const& path) {
    std::string blocks;
    int const descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    std::string block(4096, '\0');
    std::string const zeros = block;
    off_t offset = 0;
    while ((offset = lseek(descriptor, offset, SEEK_DATA)) >= 0) {
        offset -= offset % 4096;
        auto const size = static_cast<std::size_t>(pread(descriptor, block.data(), block.size(), offset));
        if (block.compare(0, size, zeros, 0, size) != 0) {
            blocks += std::to_string(offset) + ' ' + block.substr(0, size);
        }
        offset += 4096;
    }
    close(descriptor);
    return withoutTime(blocks) + std::to_string(boost::filesystem::file_size(path));
}

} // namespace

TEST_F(CreationWaysTest, MakeTheSameBytesOfABigTiff) {
    NewFile const file = {"big", makeGeometry(eIBT_UInt8, {100000, 2000, 11}), eTC_None, "", nullptr};
    auto const createBlocks = [&] {
        TIFF* pTiff = nullptr;
        EXPECT_THAT(create(_path, file, pTiff), Succeeds());
        EXPECT_NE(TIFFIsBigTIFF(pTiff), 0);
        TIFFClose(pTiff);
        return readBlocks(_path);
    };
    std::string const ours = createBlocks();
    PageAppender::Disabled const libtiff;
    EXPECT_TRUE(ours == createBlocks());
    EXPECT_GT(ours.size(), 11U * 2000 * 8);
}

TEST_F(CreationWaysTest, LeaveTheSameBytesAndTextIfTheSourceFails) {
    path const source = _folder / "source.tif";
    for (std::uint16_t const nbSamples : {std::uint16_t{1}, std::uint16_t{3}}) {
        Directory directory = stripDirectory(8, 6, 0, COMPRESSION_LZW, nbSamples);
        std::vector<Directory> directories;
        for (unsigned int page = 0; page < 30; ++page) {
            directory.pixels = noise(directory.countBytes(), page);
            directories.push_back(directory);
        }
        for (std::uint16_t const broken : std::vector<std::uint16_t>{0, 3, 17}) {
            SCOPED_TRACE(broken);
            writeTiff(source, directories);
            DiskImagePtr const pSource = openTiffImageFile(source);
            std::uint64_t const offset = TIFFGetStrileOffset(openPlain(source, "r", broken).get(), 0);
            writeFile(source, readFile(source).replace(offset, 8, 8, '\xff'));
            std::string text;
            compareWays(_path, [&] {
                text = trySave([&] { saveTiffImageFile(_path, pSource); });
                return text;
            });
            EXPECT_THAT(text, testing::HasSubstr("directory z=" + std::to_string(broken)));
        }
    }
}

TEST_F(CreationWaysTest, LibtiffIsNotNeededForEachPage) {
    for (bool const bDisabled : {false, true}) {
        std::optional<PageAppender::Disabled> libtiff;
        if (bDisabled) {
            libtiff.emplace();
        }
        Planes const planes = createPlanes(_path, makeGeometry(eIBT_UInt8, {3, 2, 100}));
        DirectoryChain const& chain = TiffStream::find(planes.pTiff.get())->accessChain();
        EXPECT_EQ(chain.findShape(99).has_value(), !bDisabled);
    }
}

} // namespace velmo::image::file
