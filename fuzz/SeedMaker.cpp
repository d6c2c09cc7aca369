// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FuzzInput.h"
#include "Samples.h"
#include "Sandbox.h"
#include "SandboxArchive.h"
#include "TiffTarget.h"

#include <VELMOAttributes/ZSteps.h>
#include <VELMOImage/JoinedImageAccessor.h>
#include <VELMOImage/MemoryImage.h>
#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/XmlArchive.h>
#include <VELMOSerialization/XmlFile.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <cstdio>
#include <iterator>
#include <sstream>
#include <tiffio.h>

// Writes the seeds of the fuzzers: seed_maker FIXTURES SEEDS creates SEEDS/TARGET/... from the TIFF files in
// FIXTURES and from generated files.

namespace velmo::fuzz {

namespace {

namespace fs = boost::filesystem;
using namespace image;
using AccessorPtr = boost::shared_ptr<BaseDiskImageAccessor>;

/// The seeds of one target.
class Seeds {
  public:
    Seeds(fs::path const& seeds, std::string const& target) : _folder(seeds / target) {
        fs::create_directories(_folder);
    }

    void add(std::string const& bytes) {
        fs::path const path = _folder / ("seed-" + std::to_string(++_nbSeeds));
        std::FILE* const pFile = std::fopen(path.c_str(), "wb");
        if (pFile == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), pFile) != bytes.size() ||
            std::fclose(pFile) != 0) {
            abortWith("cannot write " + path.string());
        }
    }
    void add(FuzzSeed const& seed) { add(seed.toBytes()); }

  private:
    fs::path _folder;
    unsigned int _nbSeeds = 0;
};

void require(BoolResult const& result) {
    if (!result) {
        abortWith(result.getMessage());
    }
}

void makeTiffSeeds(fs::path const& fixtures, fs::path const& seeds) {
    Seeds files(seeds, "tiff");
    unsigned int mode = 0;
    for (fs::directory_entry const& entry : fs::directory_iterator(fixtures)) {
        if (entry.path().extension() == ".tif") {
            std::string const bytes = readBytes(entry.path());
            files.add(FuzzSeed(bytes).putByte(mode % 6));
            files.add(FuzzSeed(bytes.substr(0, bytes.size() * 2 / 3)).putByte(mode % 6)); // a truncated copy
            ++mode;
        }
    }
}

/// `fixtures` is the folder of TIFF files; that of the files to import is beside it.
void makeImportSeeds(fs::path const& fixtures, fs::path const& seeds) {
    Seeds files(seeds, "import");
    constexpr unsigned int choices[] = {0, 1, 4, 8, 16, 32};
    unsigned int number = 0;
    for (fs::directory_entry const& entry : fs::directory_iterator(fixtures.parent_path() / "import")) {
        if (entry.path().extension() == ".tif") {
            std::string const bytes = readBytes(entry.path());
            files.add(FuzzSeed(bytes).putByte(choices[number % std::size(choices)]));
            files.add(FuzzSeed(bytes.substr(0, bytes.size() * 2 / 3)).putByte(0)); // a truncated copy
            ++number;
        }
    }
}

std::string readRecord(fs::path const& path) {
    std::uint32_t nbBytes = 0;
    char const* pBytes = nullptr;
    TIFF* const pTiff = TIFFOpen(path.c_str(), "r");
    if (pTiff == nullptr || TIFFGetField(pTiff, TIFFTAG_PHOTOSHOP, &nbBytes, &pBytes) != 1) {
        abortWith("no record in " + path.string());
    }
    std::string record(pBytes, nbBytes);
    TIFFClose(pTiff);
    return record;
}

void makeRecordSeeds(fs::path const& seeds) {
    Seeds records(seeds, "tiff_record");
    fs::path const path = Sandbox::get() / "record.tif";
    VolumeGeometry volume;
    volume.init3d(2);
    ColorGeometry rgb;
    rgb.initRgb();
    TemporalGeometry sequence;
    sequence.initSequence(2);
    auto const pTypes = boost::make_shared<HeterogeneousImageGeometry>();
    pTypes->init(VolumeGeometry(), ColorGeometry(), sequence, 5, 4, {eIBT_UInt8, eIBT_UInt16});
    auto const pCalibration = boost::make_shared<GeometricCalibration>();
    pCalibration->init3d(1, 2, 3, "um", 0, 0, 0, 0, 0, 0, 0);
    for (ImageGeometryPtr const& pGeometry :
         {geometry(eIBT_UInt8, 5, 4, {}, {}, {}), geometry(eIBT_UInt16, 5, 4, volume, {}, {}),
          geometry(eIBT_UInt8, 5, 4, {}, rgb, {}), geometry(eIBT_Label8, 5, 4, {}, {}, sequence),
          ImageGeometryPtr(pTypes)}) {
        for (GeometricCalibrationConstPtr const& pWith :
             {GeometricCalibrationConstPtr(), GeometricCalibrationConstPtr(pCalibration)}) {
            require(file::TiffImageFile().createFile(path, *pGeometry, pWith));
            std::string const record = readRecord(path);
            for (unsigned int const choice : {0U, 24U, 36U, 64U, 88U}) {
                records.add(FuzzSeed(record).putByte(choice));
            }
        }
    }
}

void makeIm6Seeds(fs::path const& seeds) {
    Seeds files(seeds, "im6");
    files.add(makeIm6("", false));
    files.add(makeIm6(std::string("some words\0", 11), false));
    files.add(makeIm6(std::string("Calibration\0", 12), true));
    files.add(makeIm6(std::string("Calibration\0", 12), false));
    std::string const whole = makeIm6("Calibration", true);
    files.add(whole.substr(0, 50));
    files.add(whole.substr(0, 116));
}

void makeRawSeeds(fs::path const& seeds) {
    Seeds files(seeds, "raw");
    std::string const pixels(240, 'p');
    files.add(FuzzSeed(pixels).putByte(0).putNumber(5).putNumber(4).putByte(eIBT_UInt8).putNumber(0));
    FuzzSeed all(pixels); // 2 planes, 3 time steps, 2 channels
    all.putByte(7).putNumber(2).putNumber(3).putNumber(2).putNumber(5).putNumber(2).putByte(eIBT_UInt16);
    files.add(all.putNumber(0));
    FuzzSeed types(pixels); // 2 time steps of different types
    types.putByte(10).putNumber(2).putNumber(5).putNumber(2).putByte(2).putByte(eIBT_UInt8);
    files.add(types.putByte(eIBT_Real32).putNumber(17));
    FuzzSeed wide(pixels);
    wide.putByte(1).putNumber(vlUInt64{1} << 60U).putNumber(1).putNumber(1).putByte(eIBT_UInt8);
    files.add(wide.putNumber(vlUInt64{1} << 62U));
}

template <class Archive>
std::string toRecord(BaseDiskImageAccessor const& accessor) {
    std::ostringstream stream;
    {
        Archive archive(stream);
        require(accessor.write(archive));
    }
    return stream.str();
}

AccessorPtr openTiff(std::string const& name, eImageAccessMode accessMode) {
    auto pAccessor = boost::make_shared<file::TiffImageFile>();
    std::string userProperties;
    require(pAccessor->openFile(Sandbox::get() / name, accessMode, file::eTDM_Volume, file::eTBM_Default,
                                userProperties));
    return pAccessor;
}

/// One accessor of each class, with the number that the target uses for it, and some more.
std::vector<std::pair<unsigned int, AccessorPtr>> makeAccessors() {
    auto const pRaw = boost::make_shared<file::RawImageFile>();
    require(pRaw->openFile(Sandbox::get() / "d.raw", eIAM_ReadWrite, 0, *geometry3d(eIBT_UInt8, 5, 4, 12)));
    auto const pIm6 = boost::make_shared<file::Im6ImageFile>();
    require(pIm6->openFile(Sandbox::get() / "c.im6", eIAM_ReadOnly));
    auto const pJoined = boost::make_shared<JoinedImageAccessor>();
    require(
        pJoined->join({openTiff("a.tif", eIAM_ReadOnly), openTiff("b.tif", eIAM_ReadOnly)}, eJoinAxis::Z));
    auto const pTwice = boost::make_shared<JoinedImageAccessor>();
    require(pTwice->join({pJoined, pRaw}, eJoinAxis::Z));
    auto const pCreated = boost::make_shared<file::TiffImageFile>();
    require(pCreated->createFile(Sandbox::get() / g_missingName, *geometry3d(eIBT_UInt16, 5, 4, 2), {}));
    return {{0, pRaw},    {1, pIm6},   {2, openTiff("b.tif", eIAM_ReadWrite)},        {2, pCreated},
            {3, pJoined}, {3, pTwice}, {2, boost::make_shared<file::TiffImageFile>()}};
}

void makeArchiveSeeds(fs::path const& seeds) {
    Seeds records(seeds, "archive");
    writeSamples();
    for (auto const& [choice, pAccessor] : makeAccessors()) {
        records.add(FuzzSeed(toRecord<BinaryOArchive>(*pAccessor)).putByte(choice));
        records.add(FuzzSeed(toRecord<XmlOArchive>(*pAccessor)).putByte(choice + 4));
    }
}

void makePatternSeeds(fs::path const& seeds) {
    Seeds texts(seeds, "pattern");
    for (char const* const text :
         {"img<INDEX>.tif\nimg0012.tif", "*.tif|*.tiff\nscan.tiff", "a?c*<INDEX>*.t?f\nabc-17-x.tif", "\n",
          "plain.tif\nplain.tif", "<INDEX>_<INDEX>\n1_2", "<INDEX>|*\n18446744073709551616",
          "*a*b*c*\nxaxbxcx"}) {
        texts.add(text);
    }
}

void makeZStepsSeeds(fs::path const& seeds) {
    Seeds texts(seeds, "z_steps");
    imaproc::attr::ZSteps steps;
    steps.accessSteps() = {1.0F, 2.5F};
    fs::path const path = Sandbox::get() / "seed.xml";
    writeToXmlFile(path, steps);
    for (unsigned int const policy : {0U, 1U, 2U}) {
        texts.add(FuzzSeed("1.0\n2.5\n").putByte(5 * 8 + policy * 2));
        texts.add(FuzzSeed(readBytes(path)).putByte(5 * 8 + policy * 2 + 1));
    }
    texts.add(FuzzSeed(" 1e3\r\n\n nan\n").putByte(24));
    texts.add(FuzzSeed("0x1p-3\n-inf").putByte(24));
}

void makeImageJSeeds(fs::path const& seeds) {
    Seeds texts(seeds, "imagej");
    for (std::string const text :
         {"ImageJ=1.53t\nimages=3\nslices=3\nloop=false\n", "ImageJ=\nslices=2\n", "ImageJ=1\nimages=1\n",
          "ImageJ=1\nimages=-1\n", "ImageJ=1\nimages=2147483647\n", "slices=4\n", "ImageJ=1\nimages=\n"}) {
        for (unsigned int const choice : {0U, 8U, 16U, 32U, 64U, 121U}) {
            texts.add(FuzzSeed(text).putByte(choice));
        }
    }
}

} // namespace

} // namespace velmo::fuzz

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s FIXTURES SEEDS\n", argv[0]);
        return 2;
    }
    boost::filesystem::path const seeds(argv[2]);
    velmo::fuzz::Sandbox::get();
    velmo::fuzz::makeTiffSeeds(argv[1], seeds);
    velmo::fuzz::makeImportSeeds(argv[1], seeds);
    velmo::fuzz::makeRecordSeeds(seeds);
    velmo::fuzz::makeIm6Seeds(seeds);
    velmo::fuzz::makeRawSeeds(seeds);
    velmo::fuzz::makeArchiveSeeds(seeds);
    velmo::fuzz::makePatternSeeds(seeds);
    velmo::fuzz::makeZStepsSeeds(seeds);
    velmo::fuzz::makeImageJSeeds(seeds);
    return 0;
}
