// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/FileTable.h"

#include "commands/FileFacts.h"
#include "terminal/Failure.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/PixelTypeNames.h>
#include <algorithm>
#include <array>

namespace velmo::tool {

namespace {

struct Column {
    char const* title;
    bool bNumber; ///< aligned to the right
};

constexpr std::array<Column, 12> g_columns = {{{"file", false},
                                               {"format", false},
                                               {"X", true},
                                               {"Y", true},
                                               {"Z", true},
                                               {"C", true},
                                               {"T", true},
                                               {"pixels", false},
                                               {"colour", false},
                                               {"pixel size", false},
                                               {"bytes", true},
                                               {"state", false}}};

using Row = std::array<std::string, g_columns.size()>;

/// Columns on a terminal of a text in UTF-8: its bytes but for those that continue a character.
std::size_t getWidth(std::string const& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
    }));
}

/// Line feeds in a name would break its line in two.
std::string toOneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char byte) { return byte == '\n' || byte == '\r'; }, '?');
    return text;
}

std::string describeTypes(image::BaseImageGeometry const& geometry) {
    std::vector<std::string> const names = getTypeNames(geometry);
    bool const bEqual = std::all_of(names.begin(), names.end(),
                                    [&](std::string const& name) { return name == names.front(); });
    return bEqual ? names.front() : "mixed";
}

std::string describeState(FileDescription const& description) {
    if (!description.error.empty()) {
        return "error";
    }
    std::size_t const nbWarnings = description.warnings.size();
    return nbWarnings == 0 ? "ok" : std::to_string(nbWarnings) + (nbWarnings == 1 ? " warning" : " warnings");
}

Row toRow(FileDescription const& description) {
    Row row;
    row.fill("-");
    row.front() = toOneLine(description.file);
    row[1] = description.format;
    row.back() = describeState(description);
    if (description.pImage) {
        image::BaseImageGeometry const& geometry = description.pImage->getGeometry();
        row[2] = std::to_string(geometry.getSizeX());
        row[3] = std::to_string(geometry.getSizeY());
        row[4] = std::to_string(geometry.getSizeZ());
        row[5] = std::to_string(geometry.getSizeC());
        row[6] = std::to_string(geometry.getSizeT());
        row[7] = describeTypes(geometry);
        row[8] = image::file::getColorName(geometry.getColorGeometryType());
        std::string const pixelSize =
            toOneLine(describePixelSize(description.pImage->getGeometricCalibrationConstPtr()));
        row[9] = pixelSize.empty() ? row[9] : pixelSize;
        row[10] = std::to_string(geometry.getFullMemorySize());
    }
    return row;
}

class TableReport : public InfoReport {
  public:
    TableReport() {
        Row titles;
        std::transform(g_columns.begin(), g_columns.end(), titles.begin(),
                       [](Column const& column) { return column.title; });
        _rows.push_back(titles);
    }

    std::string add(FileDescription const& description) override {
        _rows.push_back(toRow(description));
        for (std::string const& warning : description.warnings) {
            _warnings += "warning: " + quoted(description.file) + ": " + warning + '\n';
        }
        return {};
    }

    std::string finish() override {
        std::array<std::size_t, g_columns.size()> widths{};
        for (Row const& row : _rows) {
            for (std::size_t index = 0; index < row.size(); ++index) {
                widths[index] = std::max(widths[index], getWidth(row[index]));
            }
        }
        std::string text;
        for (Row const& row : _rows) {
            for (std::size_t index = 0; index < row.size(); ++index) {
                std::string const padding(widths[index] - getWidth(row[index]), ' ');
                bool const bLast = index + 1 == row.size();
                text += g_columns[index].bNumber ? padding + row[index] : row[index] + (bLast ? "" : padding);
                text += bLast ? "\n" : "  ";
            }
        }
        return text + _warnings;
    }

  private:
    std::vector<Row> _rows;
    std::string _warnings;
};

} // namespace

std::unique_ptr<InfoReport> createTableReport() {
    return std::make_unique<TableReport>();
}

} // namespace velmo::tool
