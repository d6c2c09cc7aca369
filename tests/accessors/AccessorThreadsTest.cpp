// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "AccessorKinds.h"

#include <boost/filesystem/operations.hpp>

namespace velmo::image::file {

namespace {

constexpr unsigned int g_nbThreads = 8;
constexpr vlUInt64 g_planePixels = 256;

template <class Kind>
class AccessorThreads : public AccessorTest<Kind> {
  protected:
    static ImageGeometryPtr makePlanes(vlUInt64 nbPlanes) {
        return makeGeometry(eIBT_UInt16, {16, 16, nbPlanes});
    }
};

TYPED_TEST_SUITE(AccessorThreads, AllKinds, KindNames);

TYPED_TEST(AccessorThreads, TheClassNameAndVersionAreReadFromAnyThread) {
    onThreads(g_nbThreads, [](unsigned int) {
        EXPECT_EQ(TypeParam::File::getTypeName(), TypeParam::s_class);
        EXPECT_EQ(TypeParam::File::getVersion(), TypeParam::s_version);
    });
}

TYPED_TEST(AccessorThreads, ThreadsReadOneAccessorEachAtItsOwnPosition) {
    constexpr vlUInt64 nbPlanes = 16;
    auto const pGeometry = this->makePlanes(nbPlanes);
    TypeParam::write(this->_path, *pGeometry);
    typename TypeParam::File file;
    ASSERT_THAT(TypeParam::open(file, this->_path, eIAM_ReadOnly, *pGeometry), Succeeds());
    onThreads(g_nbThreads, [&](unsigned int thread) {
        for (vlUInt64 round = 0; round < 100; ++round) {
            vlUInt64 const z = (thread + 3 * round) % nbPlanes;
            EXPECT_EQ(readPixels(file, {z, 0, 0, thread, 100}),
                      planeBytes(z, 2 * g_planePixels).substr(2 * thread, 200));
        }
    });
}

TYPED_TEST(AccessorThreads, EachThreadWritesItsPlanesAndReadsTheOthersAfterwards) {
    if constexpr (TypeParam::s_bWrites) {
        vlUInt64 const nbPlanes = 10 * g_nbThreads;
        typename TypeParam::File file;
        ASSERT_THAT(TypeParam::create(file, this->_path, *this->makePlanes(nbPlanes)), Succeeds());
        auto const expectPlane = [&](vlUInt64 z) {
            EXPECT_EQ(readPixels(file, {z, 0, 0, 0, g_planePixels}), planeBytes(z, 2 * g_planePixels));
        };
        onThreads(g_nbThreads, [&](unsigned int thread) {
            for (vlUInt64 z = thread; z < nbPlanes; z += g_nbThreads) {
                writePixels(file, {z, 0, 0, 0, g_planePixels}, planeBytes(z, 2 * g_planePixels));
                expectPlane(z);
            }
        });
        onThreads(g_nbThreads, [&](unsigned int thread) {
            for (vlUInt64 step = 0; step < nbPlanes; ++step) {
                expectPlane((step + thread) % nbPlanes);
            }
        });
    } else {
        typename TypeParam::File file;
        this->openExample(file, eIAM_ReadWrite);
        onThreads(g_nbThreads, [&](unsigned int thread) {
            for (int round = 0; round < 100; ++round) {
                if (thread % 2 == 0) {
                    EXPECT_THAT(tryWrite(file, {}), Succeeds()); // and writes nothing
                } else {
                    expectExample(file);
                }
            }
        });
    }
}

TYPED_TEST(AccessorThreads, AccessorsOfOneFileReadAtOnce) {
    TypeParam::write(this->_path, *makeExampleGeometry());
    onThreads(g_nbThreads, [&](unsigned int) {
        for (int round = 0; round < 20; ++round) {
            typename TypeParam::File file;
            ASSERT_THAT(this->open(file, this->_path), Succeeds());
            expectExample(file);
        }
    });
}

TYPED_TEST(AccessorThreads, RacingFirstAccessesOpenOneStreamForEachThreadWhereThereAreSeveral) {
    for (int round = 0; round < 20; ++round) {
        typename TypeParam::File file;
        this->openExample(file);
        onThreads(g_nbThreads, [&](unsigned int) { expectExample(file); });
        EXPECT_EQ(countDescriptors(this->_path), this->countStreams(g_nbThreads));
    }
}

// Each thread has a stream of its own

template <class Kind>
using PlainThreads = AccessorThreads<Kind>;

TYPED_TEST_SUITE(PlainThreads, PlainKinds, KindNames);

TYPED_TEST(PlainThreads, RacingFirstAccessesOfARemovedFileAllFail) {
    typename TypeParam::File file;
    this->openExample(file);
    boost::filesystem::remove(this->_path);
    onThreads(g_nbThreads, [&](unsigned int) {
        EXPECT_THAT(tryRead(file, {}), FailsWith(this->openFailed(this->_path)));
    });
    EXPECT_EQ(countDescriptors(this->_path), 1U);
}

TYPED_TEST(PlainThreads, AThreadWhoseStreamFailedDoesNotDisturbTheOthers) {
    typename TypeParam::File file;
    this->openExample(file);
    PixelRun const beyond = {1, 0, 1, 12, 1};
    onThreads(g_nbThreads, [&](unsigned int thread) {
        bool const bFailing = thread % 2 == 0;
        if (bFailing) {
            EXPECT_THAT(tryRead(file, beyond), FailsWith(this->readFailed(this->_path, beyond)));
        }
        for (int round = 0; round < 100; ++round) {
            EXPECT_EQ(tryRead(file, {}).getMessage(), bFailing ? this->seekFailed(this->_path, {}) : "");
        }
    });
}

TYPED_TEST(PlainThreads, AThreadThatCouldNotOpenTheFileOpensItOnceItIsThere) {
    path const away = this->_folder / "away";
    typename TypeParam::File file;
    this->openExample(file);
    inOtherThread([&] {
        boost::filesystem::rename(this->_path, away);
        EXPECT_THAT(tryRead(file, {}), FailsWith(this->openFailed(this->_path)));
        boost::filesystem::rename(away, this->_path);
        EXPECT_THAT(tryRead(file, {}), Succeeds());
    });
}

// The stream of a thread that is gone may pass to one that follows under the same id.
TYPED_TEST(PlainThreads, ThreadsThatFollowEachOtherRead) {
    typename TypeParam::File file;
    this->openExample(file);
    for (int thread = 0; thread < 50; ++thread) {
        inOtherThread([&] { expectExample(file); });
    }
}

} // namespace

} // namespace velmo::image::file
