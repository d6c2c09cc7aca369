// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6/Im6Records.h"
#include "Im6ImageFileFixture.h"

#include <sstream>

namespace velmo::image::file {

namespace {

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
