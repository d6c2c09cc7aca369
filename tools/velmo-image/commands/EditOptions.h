// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/Cut.h"
#include "input/ObservedAccessor.h"
#include "input/PixelConversion.h"
#include "terminal/CommandOptions.h"

#include <memory>
#include <optional>
#include <string>

namespace velmo::tool {

/// The options that write another image than that of the input: a part of it, another pixel size, another
/// pixel type.
class EditOptions {
  public:
    /// The options write into this object, which must outlive the parsing.
    void addTo(CommandOptions& options);

    /// Throws WrongUse for a wrong value, and for an option without the one that it belongs to.
    void requireFit() const;
    /// Whether the image is to be edited.
    bool isGiven() const;
    /// The edited image; the source itself if no option was given. Throws WorkFailure, which names `file`,
    /// for a part that the image does not have. Must be called at most once.
    ObservedSource apply(ObservedSource const& source, std::string const& file) const;
    /// What the conversion changed in the pixels that were read, one sentence; empty if it changed nothing.
    std::string describeChanges() const;

  private:
    std::optional<PixelConversion> getConversion() const;
    image::GeometricCalibrationConstPtr getCalibration() const;
    Cut getCut(image::BaseImageGeometry const& geometry) const;
    bool isCut() const;
    ObservedSource apply(ObservedSource const& source) const;

    std::string _z;
    std::string _c;
    std::string _t;
    std::string _region;
    std::string _pixelSize;
    std::string _unit;
    std::string _type;
    std::string _range;
    std::vector<CommandOption> _cutOptions;
    CommandOption _pixelSizeOption;
    CommandOption _unitOption;
    CommandOption _typeOption;
    CommandOption _rangeOption;
    std::shared_ptr<ConversionCounts> _pCounts = std::make_shared<ConversionCounts>();
};

} // namespace velmo::tool
