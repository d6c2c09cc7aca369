// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace velmo::tool {

/// The texts of a page. They are shown as they are: nothing in them is markup.
struct PageTexts {
    std::string title;
    std::vector<std::pair<std::string, std::string>> facts; ///< names and values
    std::vector<std::string> notes;
    /// Sizes, ranges and calibration, a JSON document for picture/page/page.js.
    std::string data;
};

/// A page that contains its pictures, its style and its script, and needs no other file. It is written part
/// by part.
class HtmlPage {
  public:
    using Write = std::function<void(std::string const&)>;

    /// Writes all that is before the first picture. `write` takes each part of the page. Its errors are
    /// thrown on.
    HtmlPage(PageTexts const& texts, Write write);

    /// The bytes that a picture takes in a page, given those of its PNG file.
    static vlUInt64 countBytes(vlUInt64 nbPngBytes);
    /// Adds a PNG file. Z varies fastest, then the channel, then the time step. All have the same size.
    void addPicture(std::vector<unsigned char> const& png);
    /// Writes what is behind the last picture. To be called once, at the end.
    void end();

  private:
    std::string _end;
    Write const _write;
};

} // namespace velmo::tool
