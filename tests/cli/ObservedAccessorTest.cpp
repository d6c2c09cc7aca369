// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SeriesFixture.h"

#include "terminal/Progress.h"
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <input/ObservedAccessor.h>

namespace velmo::test {

namespace {

using ObservedAccessor = SeriesFixture;

} // namespace

TEST_F(ObservedAccessor, IsStoredInEveryFileOfTheImageThatItReads) {
    put("a1.tif", "abcdef");
    put("a2.tif", "ghijkl");
    put("b3.tif", "mnopqr");
    boost::filesystem::create_symlink("s/a2.tif", _folder / "link");
    tool::Progress progress(12, true);
    image::DiskImagePtr const pObserved =
        tool::observe({image::file::openTiffImageFiles(path("s"), "a<INDEX>.tif"), false, true}, progress);
    for (char const* const name : {"s/a1.tif", "s/a2.tif", "link"}) {
        EXPECT_TRUE(pObserved->isStoredIn(path(name))) << name;
    }
    EXPECT_FALSE(pObserved->isStoredIn(path("s/b3.tif")));
    EXPECT_FALSE(pObserved->isStoredIn(path("nowhere")));
}

TEST_F(ObservedAccessor, HasNoCopiesAndIsReadOnly) {
    put("a1.tif", "abcdef");
    tool::Progress progress(6, true);
    auto const pAccessor =
        tool::observe({image::file::openTiffImageFile(path("s/a1.tif")), false, true}, progress)
            ->getAccessor();
    EXPECT_FALSE(pAccessor->hasCopySupport());
    EXPECT_FALSE(pAccessor->canBeRebuilt());
    EXPECT_THROW(pAccessor->createNew(), std::logic_error);
    EXPECT_THROW(pAccessor->createShared(), std::logic_error);
    EXPECT_THROW(pAccessor->duplicate(), std::logic_error);
    EXPECT_THROW(pAccessor->duplicateShared(), std::logic_error);
    EXPECT_THROW(pAccessor->copy(*pAccessor), std::logic_error);
    EXPECT_FALSE(pAccessor->resizeData(pAccessor->getGeometry()));
    EXPECT_FALSE(pAccessor->writeRawData(0, 0, 0, 0, 1, "x"));
    EXPECT_EQ("velmo::tool::ObservedAccessor", pAccessor->getClassName());
}

} // namespace velmo::test
