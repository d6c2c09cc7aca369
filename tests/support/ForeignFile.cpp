// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ForeignFile.h"

#include "TemporaryFolder.h"

#include <algorithm>
#include <array>
#include <boost/crc.hpp>
#include <boost/filesystem/operations.hpp>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

namespace velmo::test {

using namespace image;
using namespace image::file;
using nlohmann::json;

namespace {

template <class Enumeration>
std::string getName(Enumeration value) {
    std::ostringstream name;
    name << value;
    return name.str();
}

eImageBufferType toBufferType(std::string const& name) {
    for (unsigned int type = eIBT_None; type <= eIBT_Label8; ++type) {
        if (getName(static_cast<eImageBufferType>(type)) == name) {
            return static_cast<eImageBufferType>(type);
        }
    }
    throw std::invalid_argument("no buffer type " + name);
}

std::optional<ExpectedCalibration> toCalibration(json const& entry) {
    if (entry.is_null()) {
        return std::nullopt;
    }
    return ExpectedCalibration{entry.at("x").get<float>(), entry.at("y").get<float>(),
                               entry.at("unit").get<std::string>()};
}

void readGeometry(json const& entry, ForeignFile& file) {
    file.sizeX = entry.at("sizeX").get<vlUInt64>();
    file.sizeY = entry.at("sizeY").get<vlUInt64>();
    file.sizeC = entry.at("sizeC").get<vlUInt64>();
    file.nbPages = entry.at("sizeZ").get<vlUInt64>();
    json const first = json::array({entry.at("bufferType")});
    for (json const& name : entry.value("bufferTypes", first)) {
        file.bufferTypes.push_back(toBufferType(name.get<std::string>()));
    }
    file.colorGeometry = entry.at("colorGeometry").get<std::string>();
    file.bMinIsBlack = entry.at("minIsBlack").get<bool>();
    file.calibration = toCalibration(entry.at("calibration"));
    file.bSingleDirectory = entry.value("singleDirectory", false);
    file.warning = entry.value("warning", "");
    for (json const& crc : entry.value("checkedPlanes", json::array())) {
        file.checkedPlanes.push_back(
            static_cast<std::uint32_t>(std::stoul(crc.get<std::string>(), nullptr, 16)));
    }
}

ForeignFile toForeignFile(std::string const& name, json const& entry) {
    ForeignFile file = {};
    file.path = getForeignFolder() / name;
    file.shows = name + ": " + entry.at("shows").get<std::string>();
    file.bOpens = entry.at("opens").get<bool>();
    file.bLoads = file.bOpens && entry.value("loads", true);
    if (file.bOpens) {
        readGeometry(entry, file);
    }
    if (!file.bLoads) {
        file.message = entry.at("message").get<std::string>();
        return file;
    }
    for (json const& plane : entry.at("planes")) {
        file.planes.push_back(static_cast<std::uint32_t>(std::stoul(plane.get<std::string>(), nullptr, 16)));
    }
    return file;
}

} // namespace

boost::filesystem::path getForeignFolder() {
    return boost::filesystem::path(VELMO_TEST_DATA) / "tiff";
}

std::vector<boost::filesystem::path> findForeignTiffs() {
    std::vector<boost::filesystem::path> paths;
    for (auto const& entry : boost::filesystem::directory_iterator(getForeignFolder())) {
        if (entry.path().extension() == ".tif") {
            paths.push_back(entry.path());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::string damage(std::string bytes, std::mt19937& random) {
    auto const below = [&](std::size_t end) { return random() % std::max<std::size_t>(1, end); };
    switch (below(8)) {
    case 0:
        bytes.resize(below(bytes.size()));
        break;
    case 1:
        bytes.insert(below(bytes.size()), bytes.substr(below(bytes.size()), 1 + below(40)));
        break;
    default:
        for (std::size_t change = 0; !bytes.empty() && change < 1 + below(6); ++change) {
            std::size_t const place =
                below(3) == 0 ? below(std::min<std::size_t>(200, bytes.size())) : below(bytes.size());
            bytes[place] = static_cast<char>(below(3) == 0 ? 255 * below(2) : random());
        }
    }
    return bytes;
}

void forEachDamagedTiff(
    boost::filesystem::path const& folder, unsigned int nbCopies, std::mt19937& random,
    std::function<void(boost::filesystem::path const&, unsigned int number)> const& test) {
    constexpr std::size_t largestFile = 20000;
    std::vector<boost::filesystem::path> const files = findForeignTiffs();
    for (unsigned int number = 0; number < nbCopies; ++number) {
        boost::filesystem::path const& file = files[random() % files.size()];
        std::string const bytes = readFile(file);
        if (bytes.size() <= largestFile) {
            boost::filesystem::path const damaged = folder / (std::to_string(number) + ".tif");
            writeFile(damaged, damage(bytes, random));
            SCOPED_TRACE(file.filename().string() + ", copy " + std::to_string(number));
            test(damaged, number);
            boost::filesystem::remove(damaged);
        }
    }
}

std::vector<ForeignFile> readForeignFiles() {
    std::ifstream stream((getForeignFolder() / "expected.json").string());
    json const document = json::parse(stream);
    std::vector<ForeignFile> files;
    for (auto const& entry : document.items()) {
        files.push_back(toForeignFile(entry.key(), entry.value()));
    }
    return files;
}

std::uint32_t getCrc(std::string const& bytes) {
    boost::crc_32_type crc;
    crc.process_bytes(bytes.data(), bytes.size());
    return crc.checksum();
}

void expectGeometry(BaseImageGeometry const& geometry, ForeignFile const& file,
                    eTiffDirectoryMode directoryMode) {
    bool const bTemporal = directoryMode == eTDM_Temporal;
    bool const bOnePage = file.nbPages == 1;
    EXPECT_EQ(geometry.getSizeX(), file.sizeX);
    EXPECT_EQ(geometry.getSizeY(), file.sizeY);
    EXPECT_EQ(geometry.getSizeC(), file.sizeC);
    EXPECT_EQ(geometry.getSizeZ(), bTemporal ? 1 : file.nbPages);
    EXPECT_EQ(geometry.getSizeT(), bTemporal ? file.nbPages : 1);
    EXPECT_EQ(geometry.getVolumeGeometryType(), bTemporal || bOnePage ? eVGT_2d : eVGT_3d);
    EXPECT_EQ(geometry.getTemporalGeometryType(), bTemporal && !bOnePage ? eTGT_Sequence : eTGT_Single);
    EXPECT_EQ(getName(geometry.getColorGeometryType()), file.colorGeometry);
    EXPECT_EQ(geometry.getColorGeometry().minIsBlack(), file.bMinIsBlack);
    EXPECT_EQ(geometry.getBufferType(), file.bufferTypes.front());
    auto const* const pHeterogeneous = dynamic_cast<HeterogeneousImageGeometry const*>(&geometry);
    ASSERT_EQ(pHeterogeneous != nullptr, file.isHeterogeneous());
    if (pHeterogeneous != nullptr) {
        EXPECT_EQ(pHeterogeneous->getBufferTypes(), file.bufferTypes);
    }
}

void expectCalibration(GeometricCalibrationConstPtr const& pCalibration, ForeignFile const& file) {
    ASSERT_EQ(pCalibration != nullptr, file.calibration.has_value());
    if (pCalibration == nullptr) {
        return;
    }
    EXPECT_FALSE(pCalibration->is3d());
    EXPECT_EQ(pCalibration->getPixelSizeX(), file.calibration->x);
    EXPECT_EQ(pCalibration->getPixelSizeY(), file.calibration->y);
    EXPECT_EQ(pCalibration->getUnit(), file.calibration->unit);
    EXPECT_EQ(pCalibration->getFurtherTerms(), (std::array<float, 7>{}));
}

} // namespace velmo::test
