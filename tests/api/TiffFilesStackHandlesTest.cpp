// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFilesFixture.h"

namespace velmo::test {

using namespace image;
using namespace image::file;

namespace {

constexpr std::size_t g_nbStacks = 8;
constexpr vlUInt64 g_nbStackPlanes = 3;
constexpr vlUInt64 g_stackPlaneSize = 12;

/// ImageJ stacks of one directory. Each read of a plane opens a stream besides the handle of the file.
class TiffFilesStackHandles : public TiffFiles {
  protected:
    TiffFilesStackHandles() {
        for (std::size_t index = 0; index < g_nbStacks; ++index) {
            RawDirectory directory = greyDirectory();
            directory.set(TIFFTAG_IMAGEDESCRIPTION, ascii("ImageJ=1.53\nimages=3\n"));
            directory.pixels =
                countingBytes(g_nbStackPlanes * g_stackPlaneSize, static_cast<unsigned int>(1 + 37 * index));
            writeRawTiff(numbered(index), {directory});
            _pixels += directory.pixels;
        }
        writeEvenSteps(g_nbStacks * g_nbStackPlanes);
    }

    /// "right", "wrong", or "thrown".
    std::string load(Route const& route) const {
        try {
            return readPixels(*route()) == _pixels ? "right" : "wrong";
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
        EXPECT_EQ(withHandles(g_nbStacks + 1, [&] { return load(route); }), "right");
    }
}

#if defined(VELMO_TEST_LEAVES_NO_HANDLE) // sanitizers need one to look at an exception

TEST_F(TiffFilesStackHandles, WithFewerALoadAlongZIsRightOrFails) {
    Route const route = getJoins().front();
    ASSERT_TRUE(route.bAlongZ && !route.bDisk);
    for (std::size_t nbMore = 1; nbMore <= g_nbStacks; ++nbMore) {
        SCOPED_TRACE(nbMore);
        EXPECT_THAT(withHandles(nbMore, [&] { return load(route); }), testing::AnyOf("thrown", "right"));
    }
}

TEST_F(TiffFilesStackHandles, WithFewerALoadAlongTIsRightOrFailsOrIsLogged) {
    Route const route = getJoins()[2];
    ASSERT_TRUE(!route.bAlongZ && !route.bDisk);
    for (std::size_t nbMore = 1; nbMore <= g_nbStacks; ++nbMore) {
        SCOPED_TRACE(nbMore);
        std::string const text = withHandles(nbMore, [&] {
            CapturedLog const log(log4cplus::Logger::getRoot());
            std::string const outcome = load(route);
            return outcome + (log.getRecords().empty() ? "" : " and logged");
        });
        EXPECT_THAT(text,
                    testing::AnyOf("right", "right and logged", "thrown and logged", "wrong and logged"));
    }
}

TEST_F(TiffFilesStackHandles, WithFewerAnOpenedImageHasNoWrongPlane) {
    for (Route const& route : getJoins()) {
        if (route.bDisk) {
            for (std::size_t nbMore = 1; nbMore <= g_nbStacks; ++nbMore) {
                SCOPED_TRACE(std::string(route.name) + " with " + std::to_string(nbMore));
                EXPECT_EQ(withHandles(nbMore, [&] { return readOpened(route); }),
                          nbMore < g_nbStacks ? "thrown" : "right");
            }
        }
    }
}

TEST_F(TiffFilesStackHandles, WithFewerACustomStackFailsOrIsTheSame) {
    Route const route = getRoutes().back();
    std::string const expected = readPixels(*route());
    for (std::size_t nbMore = 1; nbMore <= g_nbStacks; ++nbMore) {
        SCOPED_TRACE(nbMore);
        std::string const text = withHandles(nbMore, [&]() -> std::string {
            try {
                return readPixels(*route()) == expected ? "the same" : "another";
            } catch (std::exception const&) {
                return "thrown";
            }
        });
        EXPECT_THAT(text, testing::AnyOf("thrown", "the same"));
    }
}

#endif

} // namespace velmo::test
