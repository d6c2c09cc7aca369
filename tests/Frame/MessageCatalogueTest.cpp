// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Frame/MessageCatalogue.h"
#include "ExpectedCatalogues.h"

#include <VELMOImageFile/Im6ImageFileMessage.h>
#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <VELMOImageFile/ImageFileUtilsMessage.h>
#include <VELMOImageFile/RawImageFileMessage.h>
#include <VELMOImageFile/TiffImageFileMessage.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOImageFile/VELMOImageFileMessage.h>
#include <VELMOUtil/BaseException.h>
#include <VELMOUtil/LogMessageFormater.h>
#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmo::test {

namespace {

using namespace image::file;

std::string getText(ExpectedCatalogue const& catalogue, int id) {
    return getVELMOImageFileLogMessageManager().getMessage(catalogue.domainKey, id);
}

bool isRegistered(std::string const& domainKey, int id) {
    try {
        getVELMOImageFileLogMessageManager().getMessage(domainKey, id);
        return true;
    } catch (BaseException const&) {
        return false;
    }
}

std::size_t count(std::string const& text, char wanted) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), wanted));
}

/// The finished text with `last` in the last placeholder and numbers from 1 on in those before.
std::string render(ExpectedCatalogue const& catalogue, ExpectedMessage const& message,
                   std::string const& last) {
    LogMessageFormater formater(getVELMOImageFileLogMessageManager());
    formater.setMsgId(catalogue.domainKey, message.id);
    std::size_t const nbPlaceholders = count(message.text, '%');
    for (std::size_t i = 1; i < nbPlaceholders; ++i) {
        formater % i;
    }
    if (nbPlaceholders != 0) {
        formater % last;
    }
    formater.requireAllFed();
    return formater.string();
}

/// Replaces a text for as long as it lives.
class ReplacedText {
  public:
    ReplacedText(ExpectedCatalogue const& catalogue, int id, std::string const& text)
        : _catalogue(catalogue), _id(id), _former(getText(catalogue, id)) {
        replace(text);
    }
    ~ReplacedText() { replace(_former); }
    ReplacedText(ReplacedText const&) = delete;
    ReplacedText& operator=(ReplacedText const&) = delete;

  private:
    void replace(std::string const& text) {
        getVELMOImageFileLogMessageManager().addMessage(_catalogue.domainKey, _id, text);
    }

    ExpectedCatalogue const& _catalogue;
    int _id;
    std::string _former;
};

template <class Message>
void expectSecondRegistrationAddsNothing(ExpectedCatalogue const& catalogue) {
    ReplacedText const replaced(catalogue, 0, "changed since");
    EXPECT_TRUE(MsgMapRegistrator<typename Message::domain>::registerMessageMap());
    EXPECT_EQ(getText(catalogue, 0), "changed since");
    EXPECT_TRUE(MessageMapRegistrator<typename Message::domain>::process());
    EXPECT_EQ(getText(catalogue, 0), "changed since");
}

} // namespace

TEST(MessageCatalogue, EveryEntryHasItsText) {
    std::size_t nbMessages = 0;
    for (ExpectedCatalogue const* const pCatalogue : getAllCatalogues()) {
        for (ExpectedMessage const& message : pCatalogue->messages) {
            EXPECT_EQ(getText(*pCatalogue, message.id), message.text) << pCatalogue->domainKey;
            ++nbMessages;
        }
    }
    EXPECT_EQ(nbMessages, 101U);
}

TEST(MessageCatalogue, IdsRunFromZeroWithoutGapsAndEndAtTheLastEntry) {
    for (ExpectedCatalogue const* const pCatalogue : getAllCatalogues()) {
        int const nbMessages = static_cast<int>(pCatalogue->messages.size());
        for (int id = 0; id < nbMessages; ++id) {
            EXPECT_TRUE(isRegistered(pCatalogue->domainKey, id)) << pCatalogue->domainKey << ' ' << id;
        }
        EXPECT_FALSE(isRegistered(pCatalogue->domainKey, nbMessages)) << pCatalogue->domainKey;
        EXPECT_FALSE(isRegistered(pCatalogue->domainKey, -1)) << pCatalogue->domainKey;
    }
    EXPECT_EQ(g_tiffCatalogue.messages.size(), 46U);
    EXPECT_EQ(g_rawCatalogue.messages.size(), 15U);
    EXPECT_EQ(g_im6Catalogue.messages.size(), 15U);
    EXPECT_EQ(g_utilsCatalogue.messages.size(), 2U);
    EXPECT_EQ(g_checkCatalogue.messages.size(), 23U);
}

TEST(MessageCatalogue, DomainKeysAreTheTypeNamesOfTheirEnumerations) {
    EXPECT_EQ(g_rawCatalogue.domainKey, typeid(eRawImageFileMessage::domain).name());
    EXPECT_EQ(g_im6Catalogue.domainKey, typeid(eIm6ImageFileMessage::domain).name());
    EXPECT_EQ(g_tiffCatalogue.domainKey, typeid(eTiffImageFileMessage::domain).name());
    EXPECT_EQ(g_utilsCatalogue.domainKey, typeid(eImageFileUtilsMessage::domain).name());
    EXPECT_EQ(g_checkCatalogue.domainKey, typeid(eImageFileCheckMessage::domain).name());
}

TEST(MessageCatalogue, TheModulesOwnDomainHoldsNoMessage) {
    EXPECT_TRUE(MsgMapRegistrator<eVELMOImageFileMessage::domain>::registerMessageMap());
    EXPECT_TRUE(MessageMapRegistrator<eVELMOImageFileMessage::domain>::process());
    for (int id = -1; id < 50; ++id) {
        EXPECT_FALSE(isRegistered("N5velmo5image4file22eVELMOImageFileMessage6domainE", id)) << id;
    }
    EXPECT_STREQ(typeid(eVELMOImageFileMessage::domain).name(),
                 "N5velmo5image4file22eVELMOImageFileMessage6domainE");
}

TEST(MessageCatalogue, ATextWithALineFeedShowsTheLowerLevelsWordsOnTheSecondLine) {
    int nbTexts = 0;
    for (ExpectedCatalogue const* const pCatalogue : getAllCatalogues()) {
        for (ExpectedMessage const& message : pCatalogue->messages) {
            std::string const text = render(*pCatalogue, message, "the lower level's words");
            auto const feed = text.find('\n');
            ASSERT_EQ(feed != std::string::npos, message.text.find('\n') != std::string::npos);
            if (feed == std::string::npos) {
                continue;
            }
            ++nbTexts;
            EXPECT_EQ(count(text, '\n'), 1U) << text;
            EXPECT_THAT(text.substr(feed + 1),
                        testing::AnyOf("the lower level's words", "[the lower level's words]"));
        }
    }
    EXPECT_EQ(nbTexts, 37);
}

TEST(MessageCatalogue, ASecondRegistrationAddsNothing) {
    expectSecondRegistrationAddsNothing<eRawImageFileMessage>(g_rawCatalogue);
    expectSecondRegistrationAddsNothing<eIm6ImageFileMessage>(g_im6Catalogue);
    expectSecondRegistrationAddsNothing<eTiffImageFileMessage>(g_tiffCatalogue);
    expectSecondRegistrationAddsNothing<eImageFileUtilsMessage>(g_utilsCatalogue);
}

} // namespace velmo::test
