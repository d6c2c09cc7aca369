// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TemporaryFolder.h"

#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/VELMOImageFile.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOUtil/VELMOUtilLog.h>
#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>
#include <regex>

namespace velmo::test {

namespace {

using namespace image::file;

boost::filesystem::path const g_project = VELMO_TEST_ROOT;

/// The enumerations of messages in the headers of a folder.
std::set<std::string> findDomains(boost::filesystem::path const& folder) {
    std::regex const pattern("struct (\\w+) \\{[^}]*enum domain");
    std::set<std::string> names;
    for (auto const& entry : boost::filesystem::recursive_directory_iterator(folder)) {
        if (entry.path().extension() == ".h") {
            std::string const text = readFile(entry.path());
            for (std::sregex_iterator found(text.begin(), text.end(), pattern), end; found != end; ++found) {
                names.insert((*found)[1]);
            }
        }
    }
    return names;
}

template <class... Catalogues>
std::set<std::string> nameDomains() {
    return {MessageIds::nameDomain(typeid(typename Catalogues::domain).name())...};
}

} // namespace

TEST(MessagesPage, NamesTheDomainOfEveryCatalogue) {
    std::set<std::string> domains = findDomains(g_project / "include/public");
    EXPECT_EQ(domains,
              (nameDomains<eRawImageFileMessage, eIm6ImageFileMessage, eTiffImageFileMessage,
                           eImageFileUtilsMessage, eImageFileCheckMessage, eVELMOImageFileMessage>()));
    domains.merge(nameDomains<image::eImageMessage, image::eImageAccessorMessage, eVELMOUtilErrors,
                              eVELMOSerializationMessage, processor::eProcessorMessage>());
    domains.merge(findDomains(g_project / "host"));
    EXPECT_EQ(domains.size(), 11U);
    std::string const page = readFile(g_project / "docs/messages.md");
    std::string const table = page.substr(page.find("## Domains"), 3000);
    for (std::string const& domain : domains) {
        EXPECT_NE(table.find("\n| `" + domain + "` |"), std::string::npos) << domain;
    }
}

} // namespace velmo::test
