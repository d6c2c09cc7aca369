// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFilesFixture.h"

#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

/// What of a geometry differs from the reference. Three channels, so that colours can differ by their kind
/// alone.
struct Difference {
    vlUInt64 sizeX = 5;
    vlUInt64 sizeY = 3;
    vlUInt64 sizeZ = 1;
    eColorGeometryType colours = eCGT_Rgb;
    bool b3d = true;
    vlUInt64 sizeT = 0; ///< of a sequence; 0 for a single time step
    eImageBufferType bufferType = eIBT_UInt16;
};

ImageGeometryPtr makeGeometry(Difference const& difference) {
    VolumeGeometry volume;
    if (difference.b3d || difference.sizeZ != 1) { // several planes are never 2d
        volume.init3d(difference.sizeZ);
    }
    ColorGeometry color;
    color.init(difference.colours);
    TemporalGeometry temporal;
    if (difference.sizeT != 0) {
        temporal.initSequence(difference.sizeT);
    }
    return geometry(difference.bufferType, difference.sizeX, difference.sizeY, volume, color, temporal);
}

enum class eRule { Both, AlongZ, AlongT };

/// A single difference and the message that names it.
struct Case {
    eRule rule;
    void (*differ)(Difference&);
    std::string message;
    std::string reference;
    std::string other;

    bool isFor(bool bAlongZ) const { return rule == eRule::Both || bAlongZ == (rule == eRule::AlongZ); }
};

/// In the order in which they are looked at.
std::vector<Case> const g_cases = {
    {eRule::Both, [](Difference& different) { different.sizeX = 6; }, "SizeX", "5", "6"},
    {eRule::Both, [](Difference& different) { different.sizeY = 7; }, "SizeY", "3", "7"},
    {eRule::AlongT, [](Difference& different) { different.sizeZ = 4; }, "SizeZ", "1", "4"},
    {eRule::Both, [](Difference& different) { different.colours = eCGT_Rgba; }, "SizeC", "1", "1"},
    {eRule::Both, [](Difference& different) { different.colours = eCGT_HSV; }, "Color geometry type",
     "eCGT_Rgb", "eCGT_HSV"},
    {eRule::AlongZ, [](Difference& different) { different.sizeT = 2; }, "", "", ""},
    {eRule::AlongT, [](Difference& different) { different.b3d = false; }, "Volume geometry type", "eVGT_3d",
     "eVGT_2d"},
    {eRule::AlongZ, [](Difference& different) { different.bufferType = eIBT_Int32; }, "Buffer type",
     "eIBT_UInt16", "eIBT_Int32"},
};

class TiffFilesMismatch : public TiffFiles {
  protected:
    TiffFilesMismatch() { writeEvenSteps(3); }

    void save(std::size_t index, Difference const& difference) const {
        TiffFiles::save(numbered(index), makePart(makeGeometry(difference)));
    }

    std::string getText(Case const& single, std::size_t index) const {
        return single.message.empty() ? "Temporal geometry should be single"
                                      : mismatch(single.message, single.reference, index, single.other);
    }

    std::string mismatch(std::string const& message, std::string const& reference, std::size_t index,
                         std::string const& other) const {
        return message + " mismatch between input image read from \"" + numbered(0).string() + "\" (" +
               reference + ") and input image read from \"" + numbered(index).string() + "\" (" + other + ")";
    }

    void expectAllFail(std::string const& text) const {
        for (Route const& route : getRoutes()) {
            expectFails(route, text);
        }
    }
};

} // namespace

TEST_F(TiffFilesMismatch, AFileThatDiffersIsNamedWithTheFirstWhereverItStands) {
    for (Case const& single : g_cases) {
        for (std::size_t const index : {1U, 2U}) {
            SCOPED_TRACE(single.message + " in file " + std::to_string(index));
            for (std::size_t file = 0; file < 3; ++file) {
                save(file, {});
            }
            Difference different;
            single.differ(different);
            save(index, different);
            for (Route const& route : getRoutes()) {
                if (single.isFor(route.bAlongZ)) {
                    expectFails(route, getText(single, index));
                }
            }
        }
    }
}

TEST_F(TiffFilesMismatch, WhatIsNotComparedPasses) {
    for (Case const& single : g_cases) {
        SCOPED_TRACE(single.message);
        save(0, {});
        Difference different;
        single.differ(different);
        save(1, different);
        for (Route const& route : getJoins()) {
            if (!single.isFor(route.bAlongZ)) {
                EXPECT_TRUE(route()) << route.name;
            }
        }
    }
}

TEST_F(TiffFilesMismatch, OfSeveralDifferencesTheFirstOfTheOrderIsNamed) {
    for (bool const bAlongZ : {true, false}) {
        std::vector<Case> cases;
        std::copy_if(g_cases.begin(), g_cases.end(), std::back_inserter(cases),
                     [&](Case const& single) { return single.isFor(bAlongZ); });
        for (std::size_t first = 0; first < cases.size(); ++first) {
            SCOPED_TRACE(cases[first].message);
            Difference different;
            for (std::size_t later = cases.size(); later-- > first;) { // an earlier one overrides its like
                cases[later].differ(different);
            }
            save(0, {});
            save(1, different);
            for (Route const& route : getRoutes()) {
                if (route.bAlongZ == bAlongZ) {
                    std::string const text = getText(cases[first], 1);
                    bool const bDepths = cases[first].message == "SizeC";
                    expectFails(route,
                                bDepths ? mismatch("SizeC", "1", 1, std::to_string(different.sizeZ)) : text);
                }
            }
        }
    }
}

TEST_F(TiffFilesMismatch, TheEarlierOfTwoFilesThatDifferIsNamedAsALaterOneIsNotLookedAt) {
    save(0, {});
    Difference second;
    second.colours = eCGT_HSV;
    save(1, second);
    Difference third;
    third.sizeX = 9;
    save(2, third);
    expectAllFail(mismatch("Color geometry type", "eCGT_Rgb", 1, "eCGT_HSV"));
    writeFile(numbered(2), "no TIFF file");
    expectAllFail(mismatch("Color geometry type", "eCGT_Rgb", 1, "eCGT_HSV"));
}

// The numbers of the message about channels

TEST_F(TiffFilesMismatch, OfDifferentNumbersOfChannelsTheDepthsAreShown) {
    TiffFiles::save({makePart(makeVolume(2, 3)), makePart(makeVolume(2, 2))});
    expectAllFail(mismatch("SizeC", "2", 1, "2"));
    TiffFiles::save({makePart(makeVolume(2, 3)), makePart(makeVolume(6, 2))});
    for (Route const& route : getRoutes()) {
        expectFails(route, route.bAlongZ ? mismatch("SizeC", "2", 1, "6") : mismatch("SizeZ", "2", 1, "6"));
    }
}

// Time steps along Z

TEST_F(TiffFilesMismatch, TheFirstFileIsSubjectToOneTimeStepAsWellAndASequenceOfOneIsNotSingle) {
    for (vlUInt64 const sizeT : {1U, 2U}) {
        Difference sequence;
        sequence.sizeT = sizeT;
        save(0, sequence);
        save(1, {});
        for (Route const& route : getRoutes()) {
            if (route.bAlongZ) {
                expectFails(route, "Temporal geometry should be single");
            } else {
                EXPECT_EQ(route()->getGeometry().getSizeT(), sizeT + 1);
            }
        }
    }
}

// The depth along Z, the time steps and pixel types along T

// The texts

} // namespace velmo::test
