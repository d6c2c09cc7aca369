// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/TiffImageFileTypes.h>
#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace velmo::test {

struct ExpectedCalibration {
    float x;
    float y;
    std::string unit;
};

/// A file of another program, and what has to be read from it.
struct ForeignFile {
    boost::filesystem::path path;
    std::string shows;
    bool bOpens;
    bool bLoads;
    std::string message; ///< beginning of the failure where it does not open or load
    std::string warning; ///< beginning of the one warning, or empty
    bool bSingleDirectory;
    vlUInt64 sizeX;
    vlUInt64 sizeY;
    vlUInt64 sizeC;
    vlUInt64 nbPages;                                 ///< along Z or T
    std::vector<image::eImageBufferType> bufferTypes; ///< one, or one for each page where they differ
    std::string colorGeometry;
    bool bMinIsBlack;
    std::optional<ExpectedCalibration> calibration;
    std::vector<std::uint32_t> planes; ///< CRC-32, the page running faster than the channel

    std::vector<std::uint32_t> checkedPlanes; ///< the same for calls with options, where they differ

    bool isHeterogeneous() const { return bufferTypes.size() > 1; }
    image::eImageBufferType getBufferType(vlUInt64 page) const {
        return bufferTypes[isHeterogeneous() ? page : 0];
    }
};

/// All files that expected.json tells of.
std::vector<ForeignFile> readForeignFiles();

boost::filesystem::path getForeignFolder();

/// The TIFF files of that folder in the order of their names.
std::vector<boost::filesystem::path> findForeignTiffs();

/// Changes a few bytes of a file, cuts it, or repeats a piece of it.
std::string damage(std::string bytes, std::mt19937& random);

/// Calls `test` with damaged copies of small files of that folder, one after the other, each with its number
/// and a new name in `folder`.
void forEachDamagedTiff(boost::filesystem::path const& folder, unsigned int nbCopies, std::mt19937& random,
                        std::function<void(boost::filesystem::path const&, unsigned int number)> const& test);

std::uint32_t getCrc(std::string const& bytes);

/// The geometry is the one told of, its pages being planes of a volume or time steps.
void expectGeometry(image::BaseImageGeometry const& geometry, ForeignFile const& file,
                    image::file::eTiffDirectoryMode directoryMode);
void expectCalibration(image::GeometricCalibrationConstPtr const& pCalibration, ForeignFile const& file);

} // namespace velmo::test
