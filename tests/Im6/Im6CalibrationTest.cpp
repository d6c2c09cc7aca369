// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6/Im6Records.h"
#include "Im6ImageFileFixture.h"
#include <VELMOImage/GeometricCalibration.h>
#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>

namespace velmo::image::file {

namespace {

using Terms = std::array<float, 7>;

GeometricCalibrationPtr convert(Im6Calibration const& calibration, bool is2d) {
    CalibrationData data;
    std::memcpy(&data, calibration.toBytes().data(), sizeof(data));
    return calibDataToGeometricCalibration(HeaderData(), data, is2d);
}

TEST(Im6CalibrationRecord, A3dCalibrationTakesEveryFieldAndA2dOneThoseOfTwoDimensions) {
    for (bool const is2d : {false, true}) {
        GeometricCalibrationPtr const pCalibration = convert(Im6Calibration(), is2d);
        EXPECT_EQ(pCalibration->is3d(), !is2d);
        EXPECT_EQ(pCalibration->getPixelSizeX(), 0.5F);
        EXPECT_EQ(pCalibration->getPixelSizeY(), 0.25F);
        EXPECT_EQ(pCalibration->getPixelSizeZ(), is2d ? 1.0F : 1.5F);
        EXPECT_EQ(pCalibration->getUnit(), "um");
        EXPECT_EQ(pCalibration->getFurtherTerms(), (Terms{11, 12, is2d ? 0.0F : 13.0F, 0, 0, 0, 0}));
    }
}

// Quotients of the rounded numbers would be a bit lower.
TEST(Im6CalibrationRecord, IsDividedInDoubleAndRoundedToSinglePrecisionAfterwards) {
    Im6Calibration calibration;
    calibration.extentX = 0.1;
    calibration.pixelsX = 0.3;
    calibration.extentY = 16777217.0;
    calibration.pixelsY = 50331651.0;
    calibration.firstFurther = 0.1;
    calibration.secondFurther = 1e-300;
    GeometricCalibrationPtr const pCalibration = convert(calibration, false);
    EXPECT_EQ(pCalibration->getPixelSizeX(), 0.33333334F);
    EXPECT_EQ(pCalibration->getPixelSizeY(), 0.33333334F);
    EXPECT_EQ(pCalibration->getFurtherTerms()[0], 0.1F);
    EXPECT_EQ(pCalibration->getFurtherTerms()[1], 0.0F);
}

TEST(Im6CalibrationRecord, DivisorsOfZeroGiveInfiniteAndUndefinedSizes) {
    Im6Calibration calibration;
    calibration.pixelsX = 0.0;
    calibration.pixelsY = 0.0;
    calibration.extentY = 0.0;
    for (bool const is2d : {true, false}) {
        GeometricCalibrationPtr const pCalibration = convert(calibration, is2d);
        EXPECT_EQ(pCalibration->getPixelSizeX(), std::numeric_limits<float>::infinity());
        EXPECT_TRUE(std::isnan(pCalibration->getPixelSizeY()));
    }
    calibration.pixelsX = -0.0;
    EXPECT_EQ(convert(calibration, true)->getPixelSizeX(), -std::numeric_limits<float>::infinity());
}

TEST(Im6CalibrationRecord, TheUnitEndsAtItsFirstZeroByte) {
    struct {
        std::string field;
        std::string unit;
    } const cases[] = {{std::string("\0um\0", 4), ""},
                       {std::string("m\0m\0", 4), "m"},
                       {std::string("\xC2\xB5m\0", 4), "\xC2\xB5m"},
                       {std::string(1000, 'u') + '\0', std::string(1000, 'u')},
                       {std::string(g_im6UnitBytes - 1, 'u') + '\0', std::string(g_im6UnitBytes - 1, 'u')},
                       {std::string(g_im6UnitBytes, 'u'), std::string(g_im6UnitBytes, 'u')}};
    for (auto const& entry : cases) {
        Im6Calibration calibration;
        calibration.unit = entry.field;
        EXPECT_EQ(convert(calibration, true)->getUnit(), entry.unit);
        EXPECT_EQ(convert(calibration, false)->getUnit(), entry.unit);
        EXPECT_EQ(convert(calibration, false)->getFurtherTerms()[2], 13.0F); // the next field
    }
}

constexpr std::size_t g_pieceSize = 65536;
std::string const g_word = "Calibration";

/// A stream of a header, planes and a text, and whether it announces a calibration.
class Word {
  public:
    explicit Word(std::string const& text, std::string const& behind = "")
        : _stream(std::string(g_im6HeaderBytes, 'h') + std::string(s_dataSize, 'p') + text + behind) {
        _header.textBlockSize = static_cast<std::uint32_t>(text.size());
        _stream.seekg(s_position);
    }

    bool isFound() { return fileContainsGeometricCalibration(_header, s_dataSize, _stream); }
    HeaderData& header() { return _header; }
    std::istream& stream() { return _stream; }

    static constexpr vlUInt64 s_dataSize = 24;
    static constexpr std::streamoff s_position = 5;

  private:
    HeaderData _header{};
    std::istringstream _stream;
};

bool isFoundIn(std::string const& text, std::string const& behind = "") {
    Word word(text, behind);
    bool const bFound = word.isFound();
    EXPECT_TRUE(word.stream().good());
    EXPECT_EQ(word.stream().tellg(), std::streampos(Word::s_position));
    return bFound;
}

struct TextCase {
    std::string text;
    bool bFound;
    std::string behind = {};
};

TEST(Im6CalibrationWord, IsSoughtAnywhereInTheTextUpToItsFirstZeroByte) {
    using namespace std::string_literals;
    std::string const start(g_pieceSize - 4, 'x');
    TextCase const cases[] = {{"Calibration\0"s, true},
                              {"Calibration"s, true},
                              {"some Calibrations follow\0"s, true},
                              {"xxCalibration\0yy"s, true},
                              {"CalibCalibration\0"s, true},
                              {"CalibratioCalibration"s, true},
                              {"\xFF\x80 Calibration"s, true},
                              {"ends with Calibration"s, true},
                              {"calibration\0"s, false},
                              {"CALIBRATION\0"s, false},
                              {"Calibratio\0"s, false},
                              {"Calibratio"s, false},
                              {"Calib\0ration"s, false},
                              {"\0Calibration"s, false},
                              {"text\0Calibration\0"s, false},
                              {"Calibratio\0nCalibration"s, false},
                              {"alibration\0"s, false},
                              {"\0"s, false},
                              {""s, false},
                              {"", false, g_word}, // behind the block
                              {"Calibr", false, "ation"},
                              {"no zero byte", false, g_word},
                              {start + "\0Calibration"s, false}, // in another piece
                              {"\0"s + start + g_word, false},
                              {"\0"s + std::string(2 * g_pieceSize, 'x') + g_word, false},
                              {start + "Cali\0bration"s + std::string(g_pieceSize, 'x') + g_word, false},
                              {std::string(g_pieceSize, 'x'), false},
                              {std::string(3 * g_pieceSize + 7, 'C'), false}};
    for (TextCase const& entry : cases) {
        EXPECT_EQ(isFoundIn(entry.text, entry.behind), entry.bFound) << entry.text.substr(0, 30);
    }
}

TEST(Im6CalibrationWord, IsNotSoughtInThePlanesBeforeTheBlock) {
    std::istringstream stream(std::string(g_im6HeaderBytes, 'h') + g_word + "text");
    HeaderData header{};
    header.textBlockSize = 4;
    EXPECT_FALSE(fileContainsGeometricCalibration(header, g_word.size(), stream));
}

TEST(Im6CalibrationWord, IsFoundAtEveryPlaceNearTheEndOfAPieceOfTheText) {
    for (std::size_t const pieces : {1U, 2U, 5U}) {
        for (std::size_t before = 0; before <= g_word.size() + 1; ++before) {
            std::string const start(pieces * g_pieceSize - before, 'x');
            EXPECT_TRUE(isFoundIn(start + g_word)) << pieces << ' ' << before;
            EXPECT_TRUE(isFoundIn(start + g_word + std::string(3 * g_pieceSize, 'y')))
                << pieces << ' ' << before;
            EXPECT_FALSE(isFoundIn(start + "Calibratiom" + std::string(g_pieceSize, 'y'))) << before;
        }
    }
}

// The stream

TEST(Im6CalibrationWord, ATextThatIsCutLeavesTheStreamFailed) {
    for (std::size_t const size : {vlUInt64(1), vlUInt64(20), vlUInt64(3 * g_pieceSize)}) {
        for (std::string const& start : {std::string(), std::string("\0", 1), g_word}) {
            std::string const text = start + std::string(size, 'x');
            Word word(text);
            word.header().textBlockSize += 1;
            word.isFound();
            EXPECT_TRUE(word.stream().fail()) << size << start;
        }
    }
}

} // namespace

} // namespace velmo::image::file
