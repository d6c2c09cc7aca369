// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFilesFixture.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace velmo::test {

using namespace image;
using namespace image::file;
using namespace imaproc::attr;

namespace {

constexpr std::size_t g_nbPixels = 15;

/// Values at uneven heights, and what lies between them by the textbook.
class Curve {
  public:
    Curve(std::vector<double> const& steps, std::vector<double> const& values)
        : _heights(1, 0.0), _values(values) {
        for (double const step : steps) {
            _heights.push_back(_heights.back() + step);
        }
    }

    double at(std::size_t index, std::size_t nbPlanes, eInterpolationPolicy policy) const {
        double const height =
            nbPlanes == 1 ? 0
                          : _heights.back() * static_cast<double>(index) / static_cast<double>(nbPlanes - 1);
        std::size_t below = 0;
        while (below + 2 < _heights.size() && _heights[below + 1] <= height) {
            ++below;
        }
        switch (policy) {
        case eIP_Nearest:
            return height - _heights[below] <= _heights[below + 1] - height ? _values[below]
                                                                            : _values[below + 1];
        case eIP_Linear:
            return _values[below] + (height - _heights[below]) * secant(below);
        default:
            return bezier(below, height);
        }
    }

  private:
    double gap(std::size_t plane) const { return _heights[plane + 1] - _heights[plane]; }
    double secant(std::size_t plane) const { return (_values[plane + 1] - _values[plane]) / gap(plane); }

    /// Of the parabola through a plane and its neighbours, by divided differences; of the line at the ends.
    double slope(std::size_t plane) const {
        if (plane == 0) {
            return secant(0);
        }
        double const before = secant(plane - 1);
        if (plane + 1 == _heights.size()) {
            return before;
        }
        double const second = (secant(plane) - before) / (_heights[plane + 1] - _heights[plane - 1]);
        return before + second * gap(plane - 1);
    }

    /// The cubic with these values and slopes at both ends, by de Casteljau.
    double bezier(std::size_t below, double height) const {
        double const u = (height - _heights[below]) / gap(below);
        std::vector<double> points = {_values[below], _values[below] + gap(below) * slope(below) / 3,
                                      _values[below + 1] - gap(below) * slope(below + 1) / 3,
                                      _values[below + 1]};
        for (std::size_t left = 3; left > 0; --left) {
            for (std::size_t point = 0; point < left; ++point) {
                points[point] += u * (points[point + 1] - points[point]);
            }
        }
        return points[0];
    }

    std::vector<double> _heights;
    std::vector<double> _values;
};

/// Planes, each of as many samples as a plane has pixels, of a type that a file holds.
template <class Sample>
std::string toBytes(std::vector<std::vector<double>> const& planes) {
    std::string bytes;
    for (std::vector<double> const& plane : planes) {
        for (double const value : plane) {
            auto const sample = static_cast<Sample>(value);
            bytes.append(reinterpret_cast<char const*>(&sample), sizeof(sample));
        }
    }
    return bytes;
}

template <class Sample>
double sampleAt(std::string const& bytes, std::size_t index) {
    Sample sample = {};
    std::memcpy(&sample, bytes.data() + index * sizeof(Sample), sizeof(Sample));
    return static_cast<double>(sample);
}

/// Values of the whole range of a type, without an order.
template <class Sample>
std::vector<std::vector<double>> makePlanes(std::size_t nbPlanes) {
    std::string const random = makeBytes(nbPlanes * g_nbPixels);
    double const lowest =
        std::is_floating_point_v<Sample> ? -3.5 : static_cast<double>(std::numeric_limits<Sample>::min());
    double const highest =
        std::is_floating_point_v<Sample> ? 9.25 : static_cast<double>(std::numeric_limits<Sample>::max());
    std::vector<std::vector<double>> planes(nbPlanes, std::vector<double>(g_nbPixels));
    for (std::size_t sample = 0; sample < random.size(); ++sample) {
        double const part = static_cast<unsigned char>(random[sample]) / 255.0;
        double const value = lowest + part * (highest - lowest);
        planes[sample / g_nbPixels][sample % g_nbPixels] = static_cast<double>(static_cast<Sample>(value));
    }
    return planes;
}

/// A stack of 2 + 3 + 1 planes in three files, at uneven heights.
template <class Sample>
struct Stack {
    std::vector<double> const steps = {0.5, 2, 1.25, 3, 0.75};
    std::vector<std::vector<double>> const planes = makePlanes<Sample>(6);

    std::vector<double> column(std::size_t pixel) const {
        std::vector<double> values;
        for (std::vector<double> const& plane : planes) {
            values.push_back(plane[pixel]);
        }
        return values;
    }
    std::string pixels(std::size_t first, std::size_t nbPlanes) const {
        auto const begin = planes.begin() + static_cast<std::ptrdiff_t>(first);
        return toBytes<Sample>({begin, begin + static_cast<std::ptrdiff_t>(nbPlanes)});
    }
};

class CustomZStackValues : public TiffFiles {
  protected:
    CustomZStackValues() { writeSteps("0.5\n2\n1.25\n3\n0.75\n"); }

    template <class Sample>
    void saveStack(Stack<Sample> const& stack, eImageBufferType type) const {
        TiffFiles::save({{makeVolume(2, 1, type), stack.pixels(0, 2)},
                         {makeVolume(3, 1, type), stack.pixels(2, 3)},
                         {makeVolume(1, 1, type), stack.pixels(5, 1)}});
    }

    template <class Sample>
    void expectCurve(eImageBufferType type) const {
        Stack<Sample> const stack;
        saveStack(stack, type);
        for (eInterpolationPolicy const policy : {eIP_Nearest, eIP_Linear, eIP_Cubic}) {
            for (std::size_t const nbPlanes : {1U, 2U, 5U, 6U, 11U, 50U}) {
                SCOPED_TRACE("type " + std::to_string(type) + ", policy " + std::to_string(policy) +
                             ", planes " + std::to_string(nbPlanes));
                std::string const bytes = readPixels(*loadStack(nbPlanes, policy));
                expectSamples(stack, bytes, nbPlanes, policy);
            }
        }
    }

    template <class Sample>
    static void expectSamples(Stack<Sample> const& stack, std::string const& bytes, std::size_t nbPlanes,
                              eInterpolationPolicy policy) {
        constexpr bool bReal = std::is_floating_point_v<Sample>;
        constexpr double tolerance = bReal ? 1e-5 : 0.5 + 1e-6; // integers are rounded
        ASSERT_EQ(bytes.size(), nbPlanes * g_nbPixels * sizeof(Sample));
        for (std::size_t sample = 0; sample < nbPlanes * g_nbPixels; ++sample) {
            Curve const curve(stack.steps, stack.column(sample % g_nbPixels));
            double expected = curve.at(sample / g_nbPixels, nbPlanes, policy);
            if (!bReal) {
                expected = std::clamp(expected, static_cast<double>(std::numeric_limits<Sample>::min()),
                                      static_cast<double>(std::numeric_limits<Sample>::max()));
            }
            EXPECT_NEAR(sampleAt<Sample>(bytes, sample), expected, policy == eIP_Nearest ? 0 : tolerance)
                << "plane " << sample / g_nbPixels << ", pixel " << sample % g_nbPixels;
        }
    }

    /// Files of one pixel each, resampled.
    std::vector<unsigned int> resample(std::vector<std::uint16_t> const& values, std::string const& steps,
                                       unsigned long nbPlanes, eInterpolationPolicy policy) const {
        for (std::size_t index = 0; index < values.size(); ++index) {
            save(numbered(index), {geometry3d(eIBT_UInt16, 1, 1, 1),
                                   std::string(reinterpret_cast<char const*>(&values[index]), 2)});
        }
        writeSteps(steps);
        std::string const bytes = readPixels(*loadStack(nbPlanes, policy));
        std::vector<unsigned int> samples;
        for (std::size_t index = 0; index < bytes.size() / 2; ++index) {
            samples.push_back(static_cast<unsigned int>(sampleAt<std::uint16_t>(bytes, index)));
        }
        return samples;
    }
    using Values = std::vector<unsigned int>;
};

} // namespace

// Values that are seen at a glance

TEST_F(CustomZStackValues, OnALineAreTheSameForLinearAndCubic) {
    for (eInterpolationPolicy const policy : {eIP_Linear, eIP_Cubic}) {
        EXPECT_EQ(resample({10, 20, 50}, "1\n3", 5, policy), (Values{10, 20, 30, 40, 50}));
        EXPECT_EQ(resample({10, 20, 50}, "100\n300", 5, policy), (Values{10, 20, 30, 40, 50}));
        EXPECT_EQ(resample({10, 40, 50}, "0.3\n0.1", 3, policy), (Values{10, 30, 50}));
    }
}

TEST_F(CustomZStackValues, OfTheNearestPlaneAreTheOneBeforeHalfWay) {
    EXPECT_EQ(resample({10, 20}, "1", 3, eIP_Nearest), (Values{10, 10, 20}));
    EXPECT_EQ(resample({10, 20, 50}, "1\n3", 5, eIP_Nearest), (Values{10, 20, 20, 50, 50}));
}

TEST_F(CustomZStackValues, OnAParabolaAreMetByTheCubicBetweenInnerPlanes) {
    // z^2 at 0, 1, 3, 4, 6: the slopes at 1, 3 and 4 are those of the parabola.
    Values const values = resample({0, 100, 900, 1600, 3600}, "1\n2\n1\n2", 7, eIP_Cubic);
    EXPECT_EQ(Values(values.begin() + 1, values.begin() + 5), (Values{100, 400, 900, 1600}));
}

TEST_F(CustomZStackValues, OfOnePlaneAreThoseOfTheFirst) {
    for (eInterpolationPolicy const policy : {eIP_Nearest, eIP_Linear, eIP_Cubic}) {
        EXPECT_EQ(resample({10, 20, 50}, "1\n3", 1, policy), (Values{10}));
    }
}

// Values by a computation of their own

TEST_F(CustomZStackValues, OfUnsignedBytesLieOnTheCurve) {
    expectCurve<std::uint8_t>(eIBT_UInt8);
}
TEST_F(CustomZStackValues, OfSignedBytesLieOnTheCurve) {
    expectCurve<std::int8_t>(eIBT_Int8);
}
TEST_F(CustomZStackValues, Of16BitsLieOnTheCurve) {
    expectCurve<std::uint16_t>(eIBT_UInt16);
    expectCurve<std::int16_t>(eIBT_Int16);
}
TEST_F(CustomZStackValues, Of32BitsLieOnTheCurve) {
    expectCurve<std::uint32_t>(eIBT_UInt32);
    expectCurve<std::int32_t>(eIBT_Int32);
}
TEST_F(CustomZStackValues, OfRealsLieOnTheCurve) {
    expectCurve<float>(eIBT_Real32);
}

TEST_F(CustomZStackValues, OfLabelsAndBinariesAreThoseOfTheNearestPlaneWhateverThePolicy) {
    Stack<std::uint8_t> const stack;
    for (eImageBufferType const type : {eIBT_Label8, eIBT_Binary}) {
        saveStack(stack, type);
        for (eInterpolationPolicy const policy : {eIP_Nearest, eIP_Linear, eIP_Cubic}) {
            expectSamples(stack, readPixels(*loadStack(17, policy)), 17, eIP_Nearest);
        }
    }
}

TEST_F(CustomZStackValues, OfEachChannelAreItsOwn) {
    Stack<std::uint16_t> const stack;
    std::string const other = makeBytes(180, 5);
    TiffFiles::save({{makeVolume(2, 2), stack.pixels(0, 2) + other.substr(0, 60)},
                     {makeVolume(4, 2), stack.pixels(2, 4) + other.substr(60)}});
    for (eInterpolationPolicy const policy : {eIP_Nearest, eIP_Linear, eIP_Cubic}) {
        std::string const bytes = readPixels(*loadStack(9, policy));
        expectSamples(stack, bytes.substr(0, 270), 9, policy);
        EXPECT_EQ(bytes.substr(270, 30), other.substr(0, 30));
        EXPECT_EQ(bytes.substr(510), other.substr(150));
    }
}

} // namespace velmo::test
