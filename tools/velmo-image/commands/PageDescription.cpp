// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/PageDescription.h"

#include "commands/FileFacts.h"

#include <VELMOImage/ImageGeometry.h>
#include <cmath>
#include <nlohmann/json.hpp>

namespace velmo::tool {

namespace {

using namespace image;
using nlohmann::ordered_json;

/// Wider than the range shown at first, so that a reader can widen it.
ValueRange widen(ValueRange const& shown, ValueRange const& extent) {
    double const margin = (shown.high - shown.low) / 2;
    return {std::max(extent.low, shown.low - margin), std::min(extent.high, shown.high + margin)};
}

/// The values that 8 bits can have; empty for other types.
std::optional<ValueRange> getByteRange(eImageBufferType type) {
    switch (type) {
    case eIBT_Binary:
        return ValueRange{0, 1};
    case eIBT_UInt8:
    case eIBT_Label8:
        return ValueRange{0, 255};
    case eIBT_Int8:
        return ValueRange{-128, 127};
    default:
        return std::nullopt;
    }
}

bool contains(ValueRange const& range, ValueRange const& part) {
    return range.low <= part.low && part.high <= range.high;
}

std::string writeValue(double value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

std::string describePart(AxisPart const& part, vlUInt64 nbChosen, char const* what) {
    return std::to_string(part.count) + " of " + std::to_string(nbChosen) + what;
}

ordered_json writeAxis(AxisPart const& part, vlUInt64 size) {
    return {{"first", part.first}, {"count", part.count}, {"step", part.step}, {"size", size}};
}

/// Size of a pixel of the pictures along their rows; empty where the calibration has none.
std::optional<double> getPixelSize(PageContent const& content) {
    auto const pCalibration = content.image.getGeometricCalibrationConstPtr();
    if (!pCalibration) {
        return std::nullopt;
    }
    BaseImageGeometry const& geometry = content.image.getGeometry();
    bool const bSwap = content.display.orientation.swapsAxes();
    auto const stored = static_cast<double>(bSwap ? geometry.getSizeY() : geometry.getSizeX());
    double const size =
        static_cast<double>(bSwap ? pCalibration->getPixelSizeY() : pCalibration->getPixelSizeX()) * stored /
        static_cast<double>(content.layout.cellWidth);
    return std::isfinite(size) && size > 0 ? std::optional(size) : std::nullopt;
}

std::string getShownUnit(BaseImage const& image) {
    auto const pCalibration = image.getGeometricCalibrationConstPtr();
    std::string const unit = pCalibration ? pCalibration->getUnit() : std::string();
    return unit == "um" ? "\xc2\xb5m" : unit;
}

char const* getKind(PageContent const& content) {
    bool const bColours = content.display.colouring != eColouring::Levels;
    return bColours ? "colours" : content.plan.getChannels().front().size() == 1 ? "grey" : "rgb";
}

ordered_json createRanges(PageContent const& content) {
    ordered_json ranges = ordered_json::array();
    for (PageRange const& range : content.ranges) {
        ranges.push_back({{"least", range.levels.low},
                          {"greatest", range.levels.high},
                          {"from", range.shown.low},
                          {"to", range.shown.high}});
    }
    return ranges;
}

std::string createData(PageContent const& content) {
    BaseImageGeometry const& geometry = content.image.getGeometry();
    vlUInt64 const nbGroups = content.plan.getChannels().size();
    std::optional<double> const pixelSize = getPixelSize(content);
    ordered_json const data = {
        {"width", content.layout.cellWidth},
        {"height", content.layout.cellHeight},
        {"kind", getKind(content)},
        {"minIsBlack", geometry.getColorGeometry().minIsBlack()},
        {"isWhole", toDataType(geometry.getBufferType()) != eDT_Real32},
        {"z", writeAxis(content.plan.getZ(), geometry.getSizeZ())},
        {"c", writeAxis({content.plan.getChannels().front().front(), nbGroups, 1}, geometry.getSizeC())},
        {"t", writeAxis(content.plan.getT(), geometry.getSizeT())},
        {"ranges", createRanges(content)},
        {"pixelSize", pixelSize ? ordered_json(*pixelSize) : ordered_json()},
        {"unit", getShownUnit(content.image)}};
    return data.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

std::string describeProjection(eZProjection projection) {
    switch (projection) {
    case eZProjection::Max:
        return "maximum";
    case eZProjection::Min:
        return "minimum";
    case eZProjection::Mean:
        break;
    }
    return "mean";
}

std::vector<std::string> createNotes(PageContent const& content) {
    BaseImageGeometry const& geometry = content.image.getGeometry();
    std::vector<std::string> notes;
    PlaneRun const run = content.plan.getRun({0, 0, 0});
    if (run.projection) {
        notes.push_back("The pictures show the " + describeProjection(*run.projection) + " of " +
                        std::to_string(run.nbZ) + " planes along Z.");
    }
    if (content.plan.isThinned()) {
        notes.push_back("The page " + describeThinning(content.plan) + "; more would make it too large.");
    }
    vlUInt64 const shownX =
        content.display.orientation.swapsAxes() ? content.layout.cellHeight : content.layout.cellWidth;
    if (shownX < geometry.getSizeX()) {
        notes.push_back("The pictures are reduced in size: " + std::to_string(geometry.getSizeX()) +
                        " pixels along X are shown as " + std::to_string(shownX) + ".");
    }
    for (std::size_t c = 0; c < content.ranges.size(); ++c) {
        PageRange const& range = content.ranges[c];
        if (!contains(range.levels, range.extent)) {
            notes.push_back((content.ranges.size() > 1 ? "Channel " + std::to_string(c) + ": values from "
                                                       : "Values from ") +
                            writeValue(range.extent.low) + " to " + writeValue(range.extent.high) +
                            " occur; those outside of " + writeValue(range.levels.low) + " to " +
                            writeValue(range.levels.high) + " are shown as the nearer of these.");
        }
    }
    return notes;
}

} // namespace

PageRange choosePageRange(BaseImageGeometry const& geometry, ContrastChoice const& contrast,
                          ValueSample& sample) {
    PageRange range = {sample.getExtent(), {0, 0}, findShownRange(geometry, contrast, sample)};
    range.levels = contrast.kind == eContrast::Given ? range.shown : widen(range.shown, range.extent);
    auto const ofType = getByteRange(geometry.getBufferType());
    if (ofType && contains(*ofType, range.extent)) { // further time steps can be of another type
        range.levels = *ofType;
    }
    return range;
}

PageTexts describePage(PageContent const& content) {
    return {content.title, listFacts(content.format, content.image), createNotes(content),
            createData(content)};
}

std::string describeThinning(PagePlan const& plan) {
    std::string text;
    if (plan.getZ().thinning > 1) {
        text = "shows " + describePart(plan.getZ(), plan.countChosenZ(), " planes along Z");
    }
    if (plan.getT().thinning > 1) {
        text += (text.empty() ? "shows " : " and ") +
                describePart(plan.getT(), plan.countChosenT(), " time steps");
    }
    return text;
}

} // namespace velmo::tool
