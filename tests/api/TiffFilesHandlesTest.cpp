// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFilesFixture.h"

#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;
namespace attr = velmo::imaproc::attr;
using testing::StartsWith;

namespace {

constexpr std::size_t g_nbFiles = 40;

class TiffFilesHandles : public TiffFiles {
  protected:
    TiffFilesHandles() {
        for (std::size_t index = 0; index < g_nbFiles; ++index) {
            _parts.push_back(makePart(makeVolume(1), static_cast<unsigned int>(index)));
        }
        save(_parts);
        writeEvenSteps(g_nbFiles);
    }

    std::vector<Part> _parts;
};

} // namespace

TEST_F(TiffFilesHandles, NoneIsLeftAfterALoadInMemory) {
    for (ImagePtr const& pImage : {load(eTDM_Volume), load(eTDM_Temporal), loadStack(3, attr::eIP_Linear)}) {
        EXPECT_TRUE(pImage);
        EXPECT_EQ(countOpenFiles(), 0U);
    }
}

TEST_F(TiffFilesHandles, OneForEachFileIsOpenWhileAJoinedDiskImageLives) {
    for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
        ImagePtr pImage = open(mode);
        for (std::size_t index = 0; index < g_nbFiles; ++index) {
            EXPECT_EQ(countOpen(numbered(index)), 1);
        }
        ImagePtr pOther = pImage;
        pImage.reset();
        EXPECT_EQ(countOpenFiles(), g_nbFiles);
        EXPECT_EQ(readPixels(*pOther), joinAlongZ(_parts));
        EXPECT_EQ(countOpenFiles(), g_nbFiles);
        pOther.reset();
        EXPECT_EQ(countOpenFiles(), 0U);
    }
}

TEST_F(TiffFilesHandles, AsManyAsThereAreFilesAreEnough) {
    for (Route const& route : getRoutes()) {
        EXPECT_EQ(withHandles(g_nbFiles + 1, [&] { return std::string(route() ? "an image" : "none"); }),
                  "an image")
            << route.name;
    }
}

TEST_F(TiffFilesHandles, WhereTheyRunOutTheFileThatIsCameToIsNamed) {
    for (Route const& route : getRoutes()) {
        for (std::size_t const nbMore : {std::size_t(1), std::size_t(2), std::size_t(20), g_nbFiles - 1}) {
            SCOPED_TRACE(std::string(route.name) + " with " + std::to_string(nbMore));
            std::string const text = withHandles(nbMore, [&] { return textThrownBy([&] { route(); }); });
            EXPECT_EQ(text, loadError(numbered(nbMore), openFailed(numbered(nbMore), "Too many open files")));
        }
    }
}

#if defined(VELMO_TEST_LEAVES_NO_HANDLE)
TEST_F(TiffFilesHandles, WhereThereIsNoneTheFileSystemSaysThatTheDirectoryCannotBeListed) {
    for (Route const& route : getRoutes()) {
        std::string const text = withHandles(0, [&]() -> std::string {
            try {
                route();
            } catch (fs::filesystem_error const& error) {
                return std::to_string(error.code().value());
            }
            return "no error of the file system";
        });
        EXPECT_EQ(text, std::to_string(EMFILE)) << route.name;
    }
}
#endif

TEST_F(TiffFilesHandles, AFileThatDiffersOrDoesNotOpenBehindTheLastHandleIsNamedAsThat) {
    std::size_t const last = g_nbFiles - 1;
    save(numbered(last), makePart(geometry3d(eIBT_UInt16, 6, 3, 1)));
    for (Route const& route : getRoutes()) {
        EXPECT_EQ(withHandles(10, [&] { return textThrownBy([&] { route(); }); }),
                  "SizeX mismatch between input image read from \"" + numbered(0).string() +
                      "\" (5) and input image read from \"" + numbered(last).string() + "\" (6)");
    }
    writeFile(numbered(last), "");
    for (Route const& route : getRoutes()) {
        EXPECT_THAT(withHandles(10, [&] { return textThrownBy([&] { route(); }); }),
                    StartsWith(loadError(numbered(last), "Failed to open tiff image file ")));
    }
}

TEST_F(TiffFilesHandles, ACountOfStepsThatDoesNotFitIsNamedBeforeTheLackOfHandles) {
    writeEvenSteps(3);
    EXPECT_EQ(withHandles(10, [&] { return textThrownBy([&] { loadStack(3, attr::eIP_Linear); }); }),
              "Number of z-steps (2) does not match with number of z-plans minus one (40-1)");
}

TEST_F(TiffFilesHandles, AllAreFreeAfterTheyRanOut) {
    for (Route const& route : getRoutes()) {
        EXPECT_EQ(withHandles(10,
                              [&] {
                                  textThrownBy([&] { route(); });
                                  return std::to_string(countOpenFiles());
                              }),
                  "0")
            << route.name;
    }
}

namespace {

constexpr std::size_t g_nbStacks = 8;
constexpr vlUInt64 g_nbStackPlanes = 3;
constexpr vlUInt64 g_stackPlaneSize = 12;

/// ImageJ stacks of one directory. Each read of a plane opens a stream besides the handle of the file.
class TiffFilesStackHandles : public TiffFiles {
  protected:
    TiffFilesStackHandles() {
        for (std::size_t index = 0; index < g_nbStacks; ++index) {
            RawDirectory const directory =
                imageJStack("3", countingBytes(g_nbStackPlanes * g_stackPlaneSize,
                                               static_cast<unsigned int>(1 + 37 * index)));
            writeRawTiff(numbered(index), {directory});
            _pixels += directory.pixels;
        }
        writeEvenSteps(g_nbStacks * g_nbStackPlanes);
    }

    /// "right", "wrong", or "thrown".
    std::string load(Route const& route, std::string const& expected) const {
        try {
            return readPixels(*route()) == expected ? "right" : "wrong";
        } catch (std::exception const&) {
            return "thrown";
        }
    }

    /// "right" where each plane is or fails, else "wrong"; "thrown" where there is no image.
    std::string readOpened(Route const& route) const {
        ImagePtr pImage;
        try {
            pImage = route();
        } catch (std::exception const&) {
            return "thrown";
        }
        for (std::size_t plane = 0; plane < g_nbStacks * g_nbStackPlanes; ++plane) {
            std::size_t const z = route.bAlongZ ? plane : plane % g_nbStackPlanes;
            std::size_t const t = route.bAlongZ ? 0 : plane / g_nbStackPlanes;
            std::string pixels(g_stackPlaneSize, '?');
            bool const bRead =
                static_cast<bool>(pImage->readPixels(z, 0, t, 0, g_stackPlaneSize, pixels.data()));
            if (bRead && pixels != _pixels.substr(plane * g_stackPlaneSize, g_stackPlaneSize)) {
                return "wrong";
            }
        }
        return "right";
    }

    std::string _pixels;
};

} // namespace

TEST_F(TiffFilesStackHandles, OneMoreThanThereAreFilesIsEnough) {
    for (Route const& route : getJoins()) {
        SCOPED_TRACE(route.name);
        EXPECT_EQ(withHandles(g_nbStacks + 1, [&] { return load(route, _pixels); }), "right");
    }
}

#if defined(VELMO_TEST_LEAVES_NO_HANDLE) // sanitizers need one to look at an exception

TEST_F(TiffFilesStackHandles, WithFewerALoadIsRightOrFailsOrAlongTIsLogged) {
    for (Route const& route : getRoutes()) {
        std::string const expected = readPixels(*route());
        for (std::size_t nbMore = 1; !route.bDisk && nbMore <= g_nbStacks; ++nbMore) {
            std::string const text = withHandles(nbMore, [&] {
                CapturedLog const log(log4cplus::Logger::getRoot());
                std::string const outcome = load(route, expected);
                return outcome + (log.getRecords().empty() ? "" : " and logged");
            });
            EXPECT_THAT(text, testing::AnyOf("right", "right and logged", "thrown", "thrown and logged",
                                             route.bAlongZ ? "right" : "wrong and logged"))
                << route.name << " with " << nbMore;
        }
    }
}

TEST_F(TiffFilesStackHandles, WithFewerAnOpenedImageHasNoWrongPlane) {
    for (Route const& route : getJoins()) {
        for (std::size_t nbMore = 1; route.bDisk && nbMore <= g_nbStacks; ++nbMore) {
            EXPECT_EQ(withHandles(nbMore, [&] { return readOpened(route); }),
                      nbMore < g_nbStacks ? "thrown" : "right")
                << route.name << " with " << nbMore;
        }
    }
}

#endif

} // namespace velmo::test
