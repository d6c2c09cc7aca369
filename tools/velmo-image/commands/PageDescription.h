// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/PagePlan.h"
#include "picture/HtmlPage.h"

namespace velmo::tool {

/// Values of the pictures of one channel, or of channels that are shown together.
struct PageRange {
    ValueRange extent;
    ValueRange levels; ///< the values of the levels 0 and 255
    ValueRange shown;  ///< the values shown as black and white at first
};

/// The levels of 8-bit pixels are their values. Those of other types reach from the least value to the
/// greatest, unless a few values lie far outside of the range shown at first.
PageRange choosePageRange(image::BaseImageGeometry const& geometry, ContrastChoice const& contrast,
                          ValueSample& sample);

/// What a page says about its pictures.
struct PageContent {
    std::string title;
    std::string format;
    image::BaseImage const& image;
    PagePlan const& plan;
    PlaneDisplay const& display;
    PictureLayout layout;          ///< of a picture
    std::vector<PageRange> ranges; ///< of each group of channels
};

PageTexts describePage(PageContent const& content);

/// "shows 61 of 181 planes along Z"; empty where the plan has all that was chosen.
std::string describeThinning(PagePlan const& plan);

} // namespace velmo::tool
