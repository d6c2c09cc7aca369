// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PixelWork.h"

#include <VELMOImage/ImageGeometry.h>
#include <algorithm>
#include <array>
#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <stdexcept>

namespace velmo::mpi_tool {

using namespace image;
using image::mpi::PlaneMemory;

namespace {

/// Calls `work(pPixels, nbPixels)` with the C++ type of the pixels.
template <class Work>
auto withPixels(PlaneMemory const& plane, Work const& work) {
    vlUInt64 const nbPixels = plane.geometry.getNbPixels();
    switch (toDataType(plane.geometry.getBufferType())) {
    case eDT_Int8:
        return work(static_cast<std::int8_t*>(plane.pPixels), nbPixels);
    case eDT_UInt8:
        return work(static_cast<std::uint8_t*>(plane.pPixels), nbPixels);
    case eDT_Int16:
        return work(static_cast<std::int16_t*>(plane.pPixels), nbPixels);
    case eDT_UInt16:
        return work(static_cast<std::uint16_t*>(plane.pPixels), nbPixels);
    case eDT_Int32:
        return work(static_cast<std::int32_t*>(plane.pPixels), nbPixels);
    case eDT_UInt32:
        return work(static_cast<std::uint32_t*>(plane.pPixels), nbPixels);
    case eDT_Real32:
        return work(static_cast<float*>(plane.pPixels), nbPixels);
    default:
        throw std::invalid_argument("the pixels have no type");
    }
}

template <class Pixel>
Pixel getWhite() {
    if constexpr (std::is_floating_point_v<Pixel>) {
        return 1;
    } else {
        return std::numeric_limits<Pixel>::max();
    }
}

/// Rounded, and limited to the values of the type.
template <class Pixel>
Pixel toPixel(double value) {
    if constexpr (std::is_floating_point_v<Pixel>) {
        return static_cast<Pixel>(value);
    } else {
        constexpr auto low = static_cast<double>(std::numeric_limits<Pixel>::lowest());
        constexpr auto high = static_cast<double>(std::numeric_limits<Pixel>::max());
        return static_cast<Pixel>(std::clamp(std::nearbyint(value), low, high));
    }
}

/// One or two finite numbers, "A" or "A,B".
std::optional<std::array<double, 2>> parseNumbers(std::string const& text, bool bSecond) {
    auto const comma = text.find(',');
    bool const bTwo = comma != std::string::npos;
    std::array<double, 2> numbers = {0, 0};
    bool const bGood =
        boost::conversion::try_lexical_convert(text.substr(0, comma), numbers[0]) &&
        (!bTwo || (bSecond && boost::conversion::try_lexical_convert(text.substr(comma + 1), numbers[1]))) &&
        std::isfinite(numbers[0]) && std::isfinite(numbers[1]);
    return bGood ? std::optional(numbers) : std::nullopt;
}

std::array<double, 2> requireNumbers(std::string const& text) {
    if (auto const numbers = parseNumbers(text, true)) {
        return *numbers;
    }
    throw std::invalid_argument("\"" + text + "\" is no number");
}

std::string invert(PlaneMemory const& plane, std::string const& /*argument*/) {
    withPixels(plane, [](auto* pPixels, vlUInt64 nbPixels) {
        using Pixel = std::remove_pointer_t<decltype(pPixels)>;
        std::transform(pPixels, pPixels + nbPixels, pPixels, [](Pixel pixel) {
            if constexpr (std::is_floating_point_v<Pixel>) {
                return -pixel;
            } else {
                return static_cast<Pixel>(~pixel);
            }
        });
    });
    return {};
}

std::string threshold(PlaneMemory const& plane, std::string const& argument) {
    double const limit = requireNumbers(argument)[0];
    withPixels(plane, [limit](auto* pPixels, vlUInt64 nbPixels) {
        using Pixel = std::remove_pointer_t<decltype(pPixels)>;
        std::transform(pPixels, pPixels + nbPixels, pPixels, [limit](Pixel pixel) {
            return static_cast<double>(pixel) >= limit ? getWhite<Pixel>() : Pixel(0);
        });
    });
    return {};
}

std::string scale(PlaneMemory const& plane, std::string const& argument) {
    auto const numbers = requireNumbers(argument);
    withPixels(plane, [&numbers](auto* pPixels, vlUInt64 nbPixels) {
        using Pixel = std::remove_pointer_t<decltype(pPixels)>;
        std::transform(pPixels, pPixels + nbPixels, pPixels, [&numbers](Pixel pixel) {
            return toPixel<Pixel>(static_cast<double>(pixel) * numbers[0] + numbers[1]);
        });
    });
    return {};
}

/// Of a plane, or of planes together.
struct Sums {
    double min = std::numeric_limits<double>::infinity();
    double max = -std::numeric_limits<double>::infinity();
    double sum = 0;
    double count = 0;

    void add(Sums const& other) {
        min = std::min(min, other.min);
        max = std::max(max, other.max);
        sum += other.sum;
        count += other.count;
    }
};

template <class Pixel>
Sums sumPixels(Pixel const* pPixels, vlUInt64 nbPixels) {
    Sums sums;
    for (Pixel const* pPixel = pPixels; pPixel != pPixels + nbPixels; ++pPixel) {
        auto const value = static_cast<double>(*pPixel);
        if (!std::isnan(value)) {
            sums.min = std::min(sums.min, value);
            sums.max = std::max(sums.max, value);
            sums.sum += value;
            sums.count += 1;
        }
    }
    return sums;
}

std::string sumPlane(PlaneMemory const& plane, std::string const& /*argument*/) {
    Sums const sums =
        withPixels(plane, [](auto* pPixels, vlUInt64 nbPixels) { return sumPixels(pPixels, nbPixels); });
    std::string bytes(sizeof(sums), '\0');
    std::memcpy(bytes.data(), &sums, sizeof(sums));
    return bytes;
}

} // namespace

void registerPixelWork() {
    mpi::registerPlaneFunction("invert", invert);
    mpi::registerPlaneFunction("threshold", threshold);
    mpi::registerPlaneFunction("scale", scale);
    mpi::registerPlaneFunction("statistics", sumPlane);
}

bool isPixelWork(std::string const& text, std::string& reason) {
    auto const equals = text.find('=');
    std::string const name = text.substr(0, equals);
    std::string const argument = equals == std::string::npos ? std::string() : text.substr(equals + 1);
    reason = "--apply must be invert, threshold=VALUE or scale=FACTOR[,OFFSET], not \"" + text + "\"";
    return (name == "invert" && equals == std::string::npos) ||
           (name == "threshold" && parseNumbers(argument, false)) ||
           (name == "scale" && parseNumbers(argument, true));
}

void applyPixelWork(DistributedImage& image, std::string const& text) {
    auto const equals = text.find('=');
    mpi::forEachPlane(image, text.substr(0, equals),
                      equals == std::string::npos ? "" : text.substr(equals + 1));
}

std::vector<VolumeStatistics> collectStatistics(DistributedImage& image) {
    BaseImageGeometry const& geometry = image.getGeometry();
    std::vector<Sums> volumes(geometry.getSizeC() * geometry.getSizeT());
    vlUInt64 plane = 0;
    for (std::string const& bytes : mpi::forEachPlane(image, "statistics")) {
        Sums sums;
        std::memcpy(&sums, bytes.data(), std::min(sizeof(sums), bytes.size()));
        volumes[plane++ / geometry.getSizeZ()].add(sums); // planes of a volume are together
    }
    std::vector<VolumeStatistics> statistics;
    for (std::size_t i = 0; i < volumes.size(); ++i) {
        Sums const& sums = volumes[i];
        bool const bAny = sums.count > 0;
        double const none = std::numeric_limits<double>::quiet_NaN();
        statistics.push_back({i % geometry.getSizeC(), i / geometry.getSizeC(), bAny ? sums.min : none,
                              bAny ? sums.max : none, bAny ? sums.sum / sums.count : none});
    }
    return statistics;
}

} // namespace velmo::mpi_tool
