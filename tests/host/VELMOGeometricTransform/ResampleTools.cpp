// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ResampleTools.h"

#include "PixelPattern.h"
#include "VELMOImage/MemoryImage.h"

#include <boost/make_shared.hpp>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace velmo::test {

using namespace velmo::image;
using namespace velmo::imaproc::attr;

ZStepsConstPtr makeZSteps(std::vector<float> const& values) {
    auto const pSteps = boost::make_shared<ZSteps>();
    pSteps->accessSteps() = values;
    return pSteps;
}

Resampling::Resampling(ImageConstPtr const& pSource, std::vector<float> const& steps,
                       eInterpolationPolicy policy, unsigned long sizeZ) {
    processor.init(velmo::processor::ePRP_Strict);
    processor.set<InImg3d>(pSource);
    processor.set<InZSteps>(makeZSteps(steps));
    processor.set<InInterpolationPolicy>(policy);
    processor.set<InOutputImg3dZSize>(sizeZ);
}

ImagePtr resample(ImageConstPtr const& pSource, std::vector<float> const& steps, eInterpolationPolicy policy,
                  unsigned long sizeZ) {
    Resampling resampling(pSource, steps, policy, sizeZ);
    auto const result = resampling.processor.run(processor::eST_Synchronous);
    if (result.getStatus() != 0) {
        throw std::runtime_error(result.getMessage());
    }
    return resampling.processor.getStorage<OutImg>();
}

ImagePtr makeNoise(BaseImageGeometry const& geometry) {
    auto const pImage = boost::make_shared<MemoryImage>();
    BoolResult const result = pImage->init(geometry);
    if (!result) {
        throw std::runtime_error(result.getMessage());
    }
    writeAll(*pImage, makePattern(countBytes(geometry)));
    return pImage;
}

ImagePtr makeColumn(eImageBufferType type, Column const& values) {
    ImagePtr const pImage =
        makeNoise(*GeometryBuilder().plane(1, 1).volume(values.size()).type(type).build());
    for (vlUInt64 z = 0; z < values.size(); ++z) {
        setPixel(*pImage, z, 0, 0, 0, values[z]);
    }
    return pImage;
}

namespace {

/// Calls `visit` with a value of the type that a pixel has.
template <class Visit>
auto visitType(eImageBufferType type, Visit const& visit) {
    switch (type) {
    case eIBT_Int8:
        return visit(std::int8_t());
    case eIBT_UInt8:
    case eIBT_Binary:
    case eIBT_Label8:
        return visit(std::uint8_t());
    case eIBT_Int16:
        return visit(std::int16_t());
    case eIBT_UInt16:
    case eIBT_Label16:
        return visit(std::uint16_t());
    case eIBT_Int32:
        return visit(std::int32_t());
    case eIBT_UInt32:
    case eIBT_Label32:
        return visit(std::uint32_t());
    case eIBT_Real32:
        return visit(float());
    case eIBT_None:
    default:
        throw std::logic_error("a pixel without a type");
    }
}

eImageBufferType getTypeAt(BaseImage const& image, vlUInt64 t) {
    return image.getGeometry().getPlanGeometry(t).getBufferType();
}

} // namespace

double getPixel(BaseImage const& image, vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixel) {
    return visitType(getTypeAt(image, t), [&](auto value) {
        if (!image.readPixels(z, c, t, pixel, 1, &value)) {
            throw std::runtime_error("a pixel cannot be read");
        }
        return static_cast<double>(value);
    });
}

void setPixel(BaseImage& image, vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixel, double value) {
    visitType(getTypeAt(image, t), [&](auto typed) {
        typed = static_cast<decltype(typed)>(value);
        if (!image.writePixels(z, c, t, pixel, 1, &typed)) {
            throw std::runtime_error("a pixel cannot be written");
        }
    });
}

Column getColumn(BaseImage const& image, vlUInt64 c, vlUInt64 t, vlUInt64 pixel) {
    Column column;
    for (vlUInt64 z = 0; z < image.getGeometry().getSizeZ(); ++z) {
        column.push_back(getPixel(image, z, c, t, pixel));
    }
    return column;
}

Range getRange(eImageBufferType type) {
    return visitType(type, [](auto value) -> Range {
        using Limits = std::numeric_limits<decltype(value)>;
        return {static_cast<double>(Limits::lowest()), static_cast<double>(Limits::max())};
    });
}

namespace {

/// Slope at a plane of the parabola through it and its neighbours; at the ends that of the only line.
double getSlope(Column const& x, Column const& y, std::size_t i) {
    auto const secant = [&](std::size_t from) { return (y[from + 1] - y[from]) / (x[from + 1] - x[from]); };
    if (i == 0) {
        return secant(0);
    }
    if (i + 1 == x.size()) {
        return secant(i - 1);
    }
    double const behind = x[i] - x[i - 1];
    double const ahead = x[i + 1] - x[i];
    return (secant(i - 1) * ahead + secant(i) * behind) / (behind + ahead);
}

double interpolateCubic(Column const& x, Column const& y, std::size_t i, double at) {
    double const h = x[i + 1] - x[i];
    double const u = (at - x[i]) / h;
    double const u2 = u * u;
    double const u3 = u2 * u;
    return (2 * u3 - 3 * u2 + 1) * y[i] + (u3 - 2 * u2 + u) * h * getSlope(x, y, i) +
           (3 * u2 - 2 * u3) * y[i + 1] + (u3 - u2) * h * getSlope(x, y, i + 1);
}

double interpolate(Column const& x, Column const& y, double at, eInterpolationPolicy policy) {
    std::size_t i = 0;
    while (i + 2 < x.size() && at >= x[i + 1]) {
        ++i;
    }
    switch (policy) {
    case eIP_Nearest:
        return at - x[i] <= x[i + 1] - at ? y[i] : y[i + 1];
    case eIP_Linear:
        return (y[i] * (x[i + 1] - at) + y[i + 1] * (at - x[i])) / (x[i + 1] - x[i]);
    case eIP_Cubic:
    default:
        return interpolateCubic(x, y, i, at);
    }
}

} // namespace

Column resampleColumn(Column const& values, std::vector<float> const& steps, eInterpolationPolicy policy,
                      vlUInt64 sizeZ) {
    if (values.size() == 1) {
        return Column(sizeZ, values[0]);
    }
    Column positions = {0};
    for (float const step : steps) {
        positions.push_back(positions.back() + static_cast<double>(step));
    }
    Column result = {values[0]};
    for (vlUInt64 z = 1; z < sizeZ; ++z) {
        double const at = positions.back() * static_cast<double>(z) / static_cast<double>(sizeZ - 1);
        result.push_back(interpolate(positions, values, at, policy));
    }
    return result;
}

} // namespace velmo::test
