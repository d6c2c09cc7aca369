// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TemporaryFolder.h"

#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/Im6ImageFileMessage.h>
#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <VELMOImageFile/ImageFileUtilsMessage.h>
#include <VELMOImageFile/RawImageFileMessage.h>
#include <VELMOImageFile/TiffImageFileMessage.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOUtil/BaseException.h>
#include <VELMOUtil/LogMessageManager.h>
#include <boost/algorithm/string/replace.hpp>
#include <gtest/gtest.h>
#include <optional>
#include <regex>
#include <set>

namespace velmo::test {

namespace {

using namespace image::file;

boost::filesystem::path const g_root = VELMO_TEST_ROOT;

/// A domain, the header of its enumerators, and how many there are.
struct Domain {
    char const* key;
    char const* header;
    int nbMessages;
};

Domain const g_domains[] = {
    {typeid(eRawImageFileMessage::domain).name(), "RawImageFileMessage.h", 15},
    {typeid(eIm6ImageFileMessage::domain).name(), "Im6ImageFileMessage.h", 15},
    {typeid(eTiffImageFileMessage::domain).name(), "TiffImageFileMessage.h", 46},
    {typeid(eImageFileUtilsMessage::domain).name(), "ImageFileUtilsMessage.h", 2},
    {typeid(eImageFileCheckMessage::domain).name(), "ImageFileCheckMessage.h", 23},
};

std::optional<std::string> findText(LogMessageManager const& manager, char const* domainKey, int id) {
    try {
        return manager.getMessage(domainKey, id);
    } catch (BaseException const&) {
        return std::nullopt;
    }
}

std::optional<std::string> findText(Domain const& domain, int id) {
    return findText(getVELMOImageFileLogMessageManager(), domain.key, id);
}

/// Adds the texts of a domain of the host, whose ids have gaps; line feeds as the page shows them.
void addTexts(LogMessageManager const& manager, char const* domainKey, std::set<std::string>& texts) {
    for (int id = 0; id < 100; ++id) {
        if (std::optional<std::string> text = findText(manager, domainKey, id)) {
            boost::replace_all(*text, "\n", "\\n");
            texts.insert(*text);
        }
    }
}

std::set<std::string> getTextsOfTheHost() {
    std::set<std::string> texts;
    addTexts(image::getVELMOImageLogMessageManager(), typeid(image::eImageMessage::domain).name(), texts);
    addTexts(image::getVELMOImageLogMessageManager(), typeid(image::eImageAccessorMessage::domain).name(),
             texts);
    addTexts(processor::getVELMOBaseProcessingLogMessageManager(),
             typeid(processor::eProcessorMessage::domain).name(), texts);
    addTexts(getVELMOSerializationLogMessageManager(), typeid(eVELMOSerializationMessage::domain).name(),
             texts);
    return texts;
}

/// The enumerators of a header, by id.
std::vector<std::string> readEnumerators(Domain const& domain) {
    std::string const text = readFile(g_root / "include/public/VELMOImageFile" / domain.header);
    std::regex const pattern("(eI6FM_|eRIFM_|eTIFM_|eIFUM_|eIFCM_)(\\w+) = (\\d+)");
    std::vector<std::string> names;
    for (std::sregex_iterator found(text.begin(), text.end(), pattern), end; found != end; ++found) {
        EXPECT_EQ((*found)[3], std::to_string(names.size()));
        names.push_back((*found)[1].str() + (*found)[2].str());
    }
    return names;
}

/// What stands on the page between the heading that names an enumerator with its id and the next heading.
std::string findSection(std::string const& page, int id, std::string const& enumerator) {
    std::regex const heading("\n### " + std::to_string(id) + ": [^\n]*`" + enumerator + "`[^\n]*\n");
    std::smatch found;
    if (!std::regex_search(page, found, heading)) {
        return {};
    }
    std::string const rest = found.suffix();
    return rest.substr(0, rest.find("\n#"));
}

} // namespace

TEST(MessagesPage, EveryMessageStandsVerbatimUnderItsNameWithCauseAndRemedy) {
    std::string const page = readFile(g_root / "docs/messages.md");
    for (Domain const& domain : g_domains) {
        std::vector<std::string> const enumerators = readEnumerators(domain);
        ASSERT_EQ(static_cast<int>(enumerators.size()), domain.nbMessages);
        for (int id = 0; std::optional<std::string> text = findText(domain, id); ++id) {
            ASSERT_LT(id, domain.nbMessages) << domain.header;
            std::string const section = findSection(page, id, enumerators[static_cast<std::size_t>(id)]);
            boost::replace_all(*text, "\n", "\\n");
            EXPECT_NE(section.find('\n' + *text + '\n'), std::string::npos) << domain.header << ' ' << *text;
            bool const bTold = section.find("**Cause.**") != std::string::npos &&
                               section.find("**Remedy.**") != std::string::npos;
            EXPECT_TRUE(bTold || section.find("Not raised") != std::string::npos) << *text;
        }
        EXPECT_TRUE(findText(domain, domain.nbMessages - 1)) << domain.header;
    }
}

TEST(MessagesPage, WhatTheHostIsSaidToSayIsInItsCatalogues) {
    std::string const page = readFile(g_root / "docs/messages.md");
    std::string const section = page.substr(page.find("## Messages of the layers below"));
    std::set<std::string> const texts = getTextsOfTheHost();
    std::regex const row("\n\\| `([^`]*)` \\|");
    int nbRows = 0;
    for (std::sregex_iterator found(section.begin(), section.end(), row), end; found != end;
         ++found, ++nbRows) {
        EXPECT_EQ(texts.count((*found)[1]), 1U) << (*found)[1];
    }
    EXPECT_GE(nbRows, 10);
}

} // namespace velmo::test
