// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "Tiff/handle/TiffDirectories.h"
#include "Tiff/handle/TiffStream.h"
#include "Tiff/model/TiffForeignFile.h"
#include "Tiff/planes/TiffPlaneAccess.h"
#include "TiffFixture.h"

#include <VELMOImageFile/VELMOImageFileLog.h>
#include <boost/filesystem/operations.hpp>
#include <random>

namespace velmo::image::file {

namespace {

namespace fs = boost::filesystem;

constexpr unsigned int g_nbMutants = 4000; ///< for each seed

/// libtiff's errors and warnings, of this test alone.
std::vector<std::string>* g_pMessages = nullptr;

void keepMessage(char const* /*module*/, char const* format, va_list arguments) {
    char text[1024];
    vsnprintf(text, sizeof(text), format, arguments);
    g_pMessages->emplace_back(text);
}

class KeptMessages {
  public:
    KeptMessages() : _error(TIFFSetErrorHandler(keepMessage)), _warning(TIFFSetWarningHandler(keepMessage)) {
        g_pMessages = &texts;
    }
    ~KeptMessages() {
        TIFFSetErrorHandler(_error);
        TIFFSetWarningHandler(_warning);
        g_pMessages = nullptr;
    }
    KeptMessages(KeptMessages const&) = delete;
    KeptMessages& operator=(KeptMessages const&) = delete;

    std::vector<std::string> texts;

  private:
    TIFFErrorHandler _error;
    TIFFErrorHandler _warning;
};

/// Everything that a caller sees of a file.
struct Seen {
    std::string opening;
    std::vector<std::string> planes; ///< the type, then the pixels or the failure
    std::vector<std::string> warnings;
    std::vector<std::string> openingMessages;
};

enum class eWay { Ours, Libtiffs };

std::string readText(TIFF*& pTiff, path const& path, BaseImageGeometry const& geometry, PlaneRun const& run,
                     eTiffPolicy policy) {
    eImageBufferType const type = geometry.getPlanGeometry(run.t).getBufferType();
    std::string pixels(run.nbPixels * getImageBufferBaseSize(type), '\x55');
    BoolResult const result = readPlane(pTiff, path, geometry, run, policy, pixels.data());
    return std::to_string(type) + (result ? pixels : result.getMessage());
}

void readPlanes(TIFF*& pTiff, path const& path, BaseImageGeometry const& geometry, eTiffPolicy policy,
                Seen& seen) {
    vlUInt64 const nbPixels = geometry.getPlanNbPixels();
    if (nbPixels == 0 || nbPixels > 4096 || geometry.getNbPlans() > 40) {
        return;
    }
    for (vlUInt64 t = 0; t < geometry.getSizeT(); ++t) {
        for (vlUInt64 c = 0; c < geometry.getSizeC(); ++c) {
            for (vlUInt64 z = geometry.getSizeZ(); z-- > 0;) { // not in their order
                seen.planes.push_back(readText(pTiff, path, geometry, {z, c, t, 0, nbPixels}, policy));
                seen.planes.push_back(
                    readText(pTiff, path, geometry, {z, c, t, nbPixels / 3, nbPixels / 2}, policy));
            }
        }
    }
}

/// All channels of each page of an interleaved file.
void readPages(TIFF*& pTiff, path const& path, BaseImageGeometry const& geometry, eTiffPolicy policy,
               Seen& seen) {
    vlUInt64 const nbPixels = geometry.getPlanNbPixels();
    if (geometry.getSizeC() < 3 || nbPixels > 4096) {
        return;
    }
    for (vlUInt64 z = 0; z < std::min<vlUInt64>(geometry.getSizeZ(), 40); ++z) {
        std::string pixels(geometry.getSizeC() * nbPixels * 4, '\x55');
        std::vector<void*> planes;
        for (vlUInt64 c = 0; c < geometry.getSizeC(); ++c) {
            planes.push_back(pixels.data() + c * nbPixels * 4);
        }
        BoolResult const result = readPage(pTiff, path, geometry, {z, 0, 0, 0, nbPixels}, policy, planes);
        seen.planes.push_back(result ? pixels : result.getMessage());
    }
}

Seen look(path const& path, eWay way, eTiffPolicy policy, eTiffDirectoryMode mode) {
    Seen seen;
    velmo::test::CapturedLog const log(getVELMOImageFileLogger());
    KeptMessages const messages;
    TIFF* pTiff = TiffStream::open(path, "r");
    if (pTiff == nullptr) {
        return seen;
    }
    if (way == eWay::Libtiffs) {
        TiffStream::find(pTiff)->accessChain().disableShapes();
    }
    ImageGeometryPtr pGeometry;
    GeometricCalibrationPtr pCalibration;
    try {
        BoolResult const result = TiffForeignFile(pTiff, path, eIAM_ReadOnly, mode, eTBM_Default, policy)
                                      .read(pGeometry, pCalibration);
        seen.opening = result ? "opens" : result.getMessage();
    } catch (std::exception const& exception) {
        seen.opening = exception.what();
    }
    seen.openingMessages = messages.texts;
    if (pGeometry) {
        seen.opening +=
            " " + std::to_string(pGeometry->getSizeX()) + " " + std::to_string(pGeometry->getNbPlans());
        readPlanes(pTiff, path, *pGeometry, policy, seen);
        readPages(pTiff, path, *pGeometry, policy, seen);
    }
    for (auto const& record : log.getRecords()) {
        seen.warnings.push_back(record.message);
    }
    if (pTiff != nullptr) {
        TIFFClose(pTiff);
    }
    return seen;
}

void compareWays(path const& path, eTiffPolicy policy, eTiffDirectoryMode mode) {
    Seen const ours = look(path, eWay::Ours, policy, mode);
    Seen const libtiffs = look(path, eWay::Libtiffs, policy, mode);
    EXPECT_EQ(ours.opening, libtiffs.opening);
    EXPECT_TRUE(ours.planes == libtiffs.planes);
    EXPECT_EQ(ours.warnings, libtiffs.warnings);
    EXPECT_EQ(ours.openingMessages, libtiffs.openingMessages);
}

Directory makePage(unsigned int kind, unsigned int page) {
    Directory directory;
    directory.sizeX = 6;
    directory.sizeY = 5;
    directory.rowsPerStrip = kind % 3 == 0 ? 0 : kind % 3 == 1 ? 2 : 1;
    directory.bits = kind % 2 == 0 ? 8 : 16;
    directory.samples = kind % 5 == 4 ? 3 : 1;
    directory.photometric = kind % 5 == 4 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    directory.compression = kind % 7 == 6 ? COMPRESSION_LZW : COMPRESSION_NONE;
    directory.tags[TIFFTAG_PAGENAME] = "page " + std::to_string(page);
    directory.tags[TIFFTAG_XRESOLUTION] = 72.0F;
    for (std::size_t byte = 0; byte < directory.countBytes(); ++byte) {
        directory.pixels += static_cast<char>(byte * 7 + page * 31 + kind);
    }
    return directory;
}

std::string makeFile(path const& path, unsigned int kind) {
    std::vector<Directory> directories;
    for (unsigned int page = 0; page < 3 + kind % 9; ++page) {
        directories.push_back(makePage(kind + (page == 5 ? 1 : 0), page));
    }
    char const* const modes[] = {"w", "w8", "wb", "wl"};
    writeTiff(path, directories, modes[kind % 4]);
    return readFile(path);
}

/// Changes bytes where directories lie, which is where the two ways could part.
std::string changeDirectories(std::string bytes, std::mt19937& random) {
    for (unsigned int change = 0; change < 1 + random() % 3; ++change) {
        auto const place = random() % bytes.size();
        switch (random() % 4) {
        case 0:
            bytes[place] = static_cast<char>(random());
            break;
        case 1:
            bytes[place] = static_cast<char>(bytes[place] + 1);
            break;
        case 2:
            bytes[place] = 0;
            break;
        default:
            bytes.resize(bytes.size() - random() % 3);
        }
    }
    return bytes;
}

using DirectoryWays = TiffTest;

/// The parameter is the seed of the changes.
class DamagedDirectoryWays : public TiffTest, public testing::WithParamInterface<unsigned int> {};

} // namespace

TEST_F(DirectoryWays, AgreeOnEachFileOfOtherPrograms) {
    std::size_t nbFiles = 0;
    for (fs::directory_entry const& entry : fs::directory_iterator(path(VELMO_TEST_DATA) / "tiff")) {
        for (eTiffPolicy const policy : {eTiffPolicy::Plain, eTiffPolicy::Strict}) {
            SCOPED_TRACE(entry.path().filename().string());
            compareWays(entry.path(), policy, nbFiles % 2 == 0 ? eTDM_Volume : eTDM_Temporal);
        }
        ++nbFiles;
    }
    EXPECT_GT(nbFiles, 100U);
}

TEST_F(DirectoryWays, AgreeOnSoundFilesOfManyKindsOfPages) {
    for (unsigned int kind = 0; kind < 420; ++kind) {
        SCOPED_TRACE(kind);
        makeFile(_path, kind);
        compareWays(_path, kind % 2 == 0 ? eTiffPolicy::Plain : eTiffPolicy::Strict, eTDM_Volume);
    }
}

TEST_P(DamagedDirectoryWays, AgreeOnEachFile) {
    std::mt19937 random(GetParam());
    std::vector<std::string> files;
    for (unsigned int kind = 0; kind < 60; ++kind) {
        files.push_back(makeFile(_path, kind));
    }
    constexpr eTiffPolicy policies[] = {eTiffPolicy::Plain, eTiffPolicy::Strict, eTiffPolicy::Tolerant};
    for (unsigned int mutant = 0; mutant < g_nbMutants && !HasFailure(); ++mutant) {
        SCOPED_TRACE(mutant);
        writeFile(_path, changeDirectories(files[random() % files.size()], random));
        compareWays(_path, policies[mutant % 3], eTDM_Volume);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, DamagedDirectoryWays, testing::Range(1U, 6U));

TEST_F(DirectoryWays, PagesThatAreAlikeNeedNoLibtiff) {
    makeFile(_path, 8);
    TIFF* const pTiff = TiffStream::open(_path, "r");
    DirectoryChain& chain = TiffStream::find(pTiff)->accessChain();
    vlUInt64 const nbDirectories = chain.count(pTiff, *TiffStream::find(pTiff));
    EXPECT_GT(nbDirectories, 5U);
    EXPECT_EQ(chain.findShape(1), chain.findShape(2));
    EXPECT_NE(chain.findShape(1), chain.findShape(5)); // other sizes of samples
    EXPECT_TRUE(TiffDirectories(pTiff).findStripsLikeCurrent(1));
    EXPECT_FALSE(TiffDirectories(pTiff).findStripsLikeCurrent(5));
    TIFFClose(pTiff);
}

} // namespace velmo::image::file
