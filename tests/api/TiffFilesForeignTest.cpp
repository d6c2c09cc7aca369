// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ForeignFile.h"
#include "TiffFilesFixture.h"

#include <VELMOImageFile/VELMOImageFileException.h>
#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;
using testing::StartsWith;

namespace {

/// Files of other programs, each joined with itself.
class TiffFilesForeign : public TiffFiles {
  protected:
    void take(ForeignFile const& file) const {
        for (std::size_t index = 0; index < 2; ++index) {
            fs::copy_file(file.path, numbered(index), fs::copy_option::overwrite_if_exists);
        }
    }

    static std::uint32_t getCrcOf(BaseImage const& image, PlanIndexes const& at) {
        std::string plane(image.getGeometry().getPlanMemorySize(at.t), '\0');
        BoolResult const result =
            image.readPixels(at.z, at.c, at.t, 0, image.getGeometry().getPlanNbPixels(), plane.data());
        EXPECT_TRUE(result) << result.getMessage();
        return getCrc(plane);
    }

    /// Each page of the file stands in the image twice, along Z or T.
    static void expectTwice(BaseImage const& image, ForeignFile const& file, bool bAlongZ) {
        BaseImageGeometry const& geometry = image.getGeometry();
        ASSERT_EQ(geometry.getSizeZ(), bAlongZ ? 2 * file.nbPages : file.nbPages);
        ASSERT_EQ(geometry.getSizeT(), bAlongZ ? 1U : 2U);
        ASSERT_EQ(geometry.getSizeC(), file.sizeC);
        for (vlUInt64 c = 0; c < file.sizeC; ++c) {
            for (vlUInt64 page = 0; page < 2 * file.nbPages; ++page) {
                PlanIndexes const at = bAlongZ ? PlanIndexes{page, c, 0}
                                               : PlanIndexes{page % file.nbPages, c, page / file.nbPages};
                EXPECT_EQ(getCrcOf(image, at), file.planes[c * file.nbPages + page % file.nbPages])
                    << "page " << page << ", channel " << c;
            }
        }
    }
};

} // namespace

TEST_F(TiffFilesForeign, EveryFileThatLoadsJoinsWithItself) {
    std::size_t nbJoined = 0;
    for (ForeignFile const& file : readForeignFiles()) {
        if (!file.bLoads || file.isHeterogeneous()) {
            continue;
        }
        SCOPED_TRACE(file.shows);
        take(file);
        for (Route const& route : getJoins()) {
            SCOPED_TRACE(route.name);
            ImagePtr const pImage = route();
            EXPECT_EQ(pImage->getBufferType(), file.getBufferType(0));
            expectTwice(*pImage, file, route.bAlongZ);
        }
        ++nbJoined;
    }
    EXPECT_GT(nbJoined, 100U);
}

TEST_F(TiffFilesForeign, EveryFileThatDoesNotOpenIsTheLoadErrorOfTheFirst) {
    std::size_t nbRefused = 0;
    writeEvenSteps(2);
    for (ForeignFile const& file : readForeignFiles()) {
        if (file.bOpens) {
            continue;
        }
        SCOPED_TRACE(file.shows);
        take(file);
        for (Route const& route : getRoutes()) {
            try {
                route();
                ADD_FAILURE() << route.name;
            } catch (VELMOImageFileException const& exception) {
                EXPECT_THAT(exception.what(), StartsWith(loadError(numbered(0), file.message)));
            }
        }
        ++nbRefused;
    }
    EXPECT_GT(nbRefused, 5U);
}

} // namespace velmo::test
