// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <vector>

namespace velmo::test {

struct ExpectedMessage {
    int id;
    std::string text;
};

/// What a message domain has to hold, written out a second time.
struct ExpectedCatalogue {
    std::string domainKey;
    std::vector<ExpectedMessage> messages;
};

extern ExpectedCatalogue const g_rawCatalogue;
extern ExpectedCatalogue const g_im6Catalogue;
extern ExpectedCatalogue const g_tiffCatalogue;
extern ExpectedCatalogue const g_utilsCatalogue;
extern ExpectedCatalogue const g_checkCatalogue;

std::vector<ExpectedCatalogue const*> getAllCatalogues();

} // namespace velmo::test
