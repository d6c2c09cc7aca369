// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffDistributedFixture.h"

#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

// Models that do not fit

TEST_F(TiffDistributedLoad, AFileThatDoesNotFitTheModelIsTheProcessorsException) {
    ImageGeometryPtr const models[] = {makeModelGeometry(2, false), makeModelGeometry(4, false),
                                       makeModelGeometry(2, true), geometry3d(eIBT_UInt8, 5, 3, 3),
                                       geometry3d(eIBT_UInt8, 4, 2, 3)};
    writeTiff(_path, makePages(3));
    for (ImageGeometryPtr const& pGeometry : models) {
        SCOPED_TRACE(describeGeometry(*pGeometry));
        auto const pModel = makeModel(*pGeometry);
        for (bool const defaultDispatch : {false, true}) {
            resetCounts();
            expectPassedThrough<processor::VELMOBaseProcessingException>(
                [&] { loadDistributedTiffImageFile(_path, *pModel, eTBM_Default, defaultDispatch); });
            EXPECT_GT(_pRecord->nbAdded, 0); // the image is made before
            EXPECT_EQ(_pRecord->nbDropped, _pRecord->nbAdded);
            EXPECT_EQ(countOpen(_path), 0);
        }
    }
}

// A model whose first type is that of the first step alone fits no other step.
TEST_F(TiffDistributedLoad, AHeterogeneousFileDoesNotFitAnyModel) {
    std::vector<Directory> pages = makePages(2);
    pages[1].bits = 16;
    pages[1].pixels = countingBytes(24, 90);
    writeTiff(_path, pages);
    auto const pModel = makeModel(*makeModelGeometry(2, true));
    expectPassedThrough<processor::VELMOBaseProcessingException>(
        [&] { loadDistributedTiffImageFile(_path, *pModel, eTBM_Default, true); });
}

// Steps that fail

TEST_F(TiffDistributedLoad, AMissingFileIsTheLoadErrorBeforeTheWorkersAreAsked) {
    fs::path const missing = _folder / "missing.tif";
    for (Form const& load : getForms()) {
        for (bool const defaultDispatch : {false, true}) {
            resetCounts();
            expectRaisedText([&] { load(missing, defaultDispatch); },
                             loadError(missing, openFailed(missing, "No such file or directory")));
            EXPECT_EQ(_pRecord->nbAdded, 0);
        }
    }
}

TEST_F(TiffDistributedLoad, AFileThatIsNoTiffIsTheLoadError) {
    writeFile(_path, "no tiff at all");
    for (Form const& load : getForms()) {
        for (bool const defaultDispatch : {false, true}) {
            expectRaisedBeginning(
                [&] { load(_path, defaultDispatch); },
                loadError(_path, "Failed to open tiff image file " + _path.string() + '\n'));
            EXPECT_EQ(countOpen(_path), 0);
        }
    }
}

TEST_F(TiffDistributedLoad, TheSecondFormFailsAtTheSameTextAsTheFirst) {
    spoilStrip(_path, 0);
    std::vector<Form> const forms = getForms();
    for (bool const defaultDispatch : {false, true}) {
        EXPECT_EQ(textThrownBy([&] { forms[0](_path, defaultDispatch); }),
                  textThrownBy([&] { forms[1](_path, defaultDispatch); }));
    }
}

TEST_F(TiffDistributedLoad, AStripThatCannotBeDecodedIsTheLoadErrorUnderEachDispatch) {
    spoilStrip(_path, 0);
    for (Form const& load : getForms()) {
        for (bool const defaultDispatch : {false, true}) {
            resetCounts();
            expectRaisedBeginning([&] { load(_path, defaultDispatch); }, loadError(_path, "Failed to read "));
            EXPECT_EQ(_pRecord->nbDropped, 8);
            EXPECT_EQ(countOpen(_path), 0);
        }
    }
}

TEST_F(TiffDistributedLoad, AWorkerWithoutRoomIsAFailedCreation) {
    _pRecord->addFailure = "no room";
    for (Form const& load : getForms()) {
        for (bool const defaultDispatch : {false, true}) {
            resetCounts();
            expectRaisedText([&] { load(_path, defaultDispatch); },
                             "Failed to create distributed image\nno room");
            EXPECT_EQ(_pRecord->nbDropped, 1);
            EXPECT_EQ(countOpen(_path), 0);
        }
    }
}

TEST_F(TiffDistributedLoad, AnEngineWithoutWorkersIsAFailedCreation) {
    ReplacedEngine const empty(createThreadDistributionEngine(0));
    for (Form const& load : getForms()) {
        expectRaisedText([&] { load(_path, true); },
                         "Failed to create distributed image\nA distributed image needs a worker");
    }
}

TEST_F(TiffDistributedLoad, AWorkersFailureIsTheLoadError) {
    _pRecord->fillFailure = "the worker has lost its network";
    _pRecord->writeFailure = "the worker refuses";
    for (Form const& load : getForms()) {
        resetCounts();
        expectRaisedText([&] { load(_path, true); }, loadError(_path, "the worker has lost its network"));
        expectRaisedText([&] { load(_path, false); }, loadError(_path, "the worker refuses"));
        EXPECT_EQ(_pRecord->nbDropped, 16);
        EXPECT_EQ(countOpen(_path), 0);
    }
}

TEST_F(TiffDistributedLoad, QuotesAndAmpersandsAreMarkedInThePath) {
    fs::path const odd = _folder / "&\"a b\".tif";
    for (Form const& load : getForms()) {
        expectRaisedBeginning([&] { load(odd, true); }, "Error while loading tiff image file \"" +
                                                            _folder.getPath().string() +
                                                            "/&&&\"a b&\".tif\"\n");
    }
}

#if !defined(__clang__)
TEST_F(TiffDistributedLoad, ARaiseNamesThePublicFunctionInFull) {
    std::string const start =
        "velmo::image::DistributedImagePtr velmo::image::file::loadDistributedTiffImageFile(const "
        "boost::filesystem::path&, const ";
    std::string const functions[] = {start + "eTiffDirectoryMode&, const eTiffBufferMode&, bool)",
                                     start +
                                         "velmo::image::DistributedImage&, const eTiffBufferMode&, bool)"};
    for (std::size_t form = 0; form < 2; ++form) {
        auto const raised = expectRaised([&] { getForms()[form]("/missing", false); });
        EXPECT_EQ(raised ? raised->function : std::string(), functions[form]);
    }
}
#endif

} // namespace velmo::test
