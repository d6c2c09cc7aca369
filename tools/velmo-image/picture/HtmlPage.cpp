// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "picture/HtmlPage.h"

#include "picture/PageSource.h"
#include "picture/PageText.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <map>
#include <string_view>

namespace velmo::tool {

namespace {

constexpr char const* g_picturesPlace = "{{pictures}}";
constexpr std::string_view g_pictureBegin = "<img alt=\"\" src=\"data:image/png;base64,";
constexpr std::string_view g_pictureEnd = "\">\n";

std::map<std::string, std::string> fillPlaces(PageTexts const& texts) {
    std::string facts;
    for (auto const& [name, value] : texts.facts) {
        facts += "<dt>" + escapeHtml(name) + "</dt><dd>" + escapeHtml(value) + "</dd>\n";
    }
    std::string notes;
    for (std::string const& note : texts.notes) {
        notes += "<p class=\"note\">" + escapeHtml(note) + "</p>\n";
    }
    return {{"{{title}}", escapeHtml(texts.title)},
            {"{{style}}", g_pageStyle},
            {"{{style-hash}}", g_pageStyleHash},
            {"{{script-hash}}", g_pageScriptHash},
            {"{{facts}}", facts},
            {"{{notes}}", notes},
            {"{{data}}", escapeJson(texts.data)},
            {"{{script}}", g_pageScript}};
}

/// Texts that were put in are not searched for places.
std::string fillTemplate(std::string const& page, std::map<std::string, std::string> const& places) {
    std::string filled;
    std::size_t done = 0;
    for (std::size_t begin = page.find("{{"); begin != std::string::npos; begin = page.find("{{", done)) {
        std::size_t const end = page.find("}}", begin) + 2;
        filled += page.substr(done, begin - done) + places.at(page.substr(begin, end - begin));
        done = end;
    }
    return filled + page.substr(done);
}

} // namespace

HtmlPage::HtmlPage(PageTexts const& texts, Write write) : _write(std::move(write)) {
    std::string const page = g_pageTemplate;
    std::size_t const pictures = page.find(g_picturesPlace);
    std::map<std::string, std::string> const places = fillPlaces(texts);
    _end = fillTemplate(page.substr(pictures + std::string(g_picturesPlace).size()), places);
    _write(fillTemplate(page.substr(0, pictures), places));
}

vlUInt64 HtmlPage::countBytes(vlUInt64 nbPngBytes) {
    return g_pictureBegin.size() + divideUp(nbPngBytes, 3) * 4 + g_pictureEnd.size();
}

void HtmlPage::addPicture(std::vector<unsigned char> const& png) {
    std::string picture(g_pictureBegin);
    picture += encodeBase64(png);
    picture += g_pictureEnd;
    _write(picture);
}

void HtmlPage::end() {
    _write(_end);
}

} // namespace velmo::tool
