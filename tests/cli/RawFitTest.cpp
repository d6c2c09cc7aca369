// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "InfoEntries.h"

#include <sstream>

namespace velmo::test {

/// A raw file, options that do not fit it, and the options that the tool proposes.
struct RawFitCase {
    char const* name;
    unsigned long fileSize;
    Arguments options;
    std::vector<std::string> proposals;
};

namespace {

class RawFit : public CliTest, public testing::WithParamInterface<RawFitCase> {
  protected:
    /// The warning of a check or the message of a failure.
    static std::string describe(Arguments const& arguments) {
        ToolResult const result = runTool(Arguments{"info", "--json", "--check"} + arguments);
        nlohmann::json const entry = getEntries(result).at(0);
        return entry.at("error").is_null() ? entry.at("warnings").dump()
                                           : entry.at("error").get<std::string>();
    }

    static std::vector<std::string> findProposals(std::string const& text) {
        std::string const words = "would fit with ";
        std::size_t begin = text.find(words);
        std::vector<std::string> proposals;
        while (begin != std::string::npos) {
            begin = text.find("--", begin);
            std::size_t const end = text.find(", or ", begin);
            proposals.push_back(text.substr(begin, std::min(end, text.find('"', begin)) - begin));
            begin = end;
        }
        return proposals;
    }

    /// The options with one of them replaced or added; of several types the first.
    static Arguments apply(Arguments options, std::string const& proposal) {
        std::istringstream words(proposal);
        std::string option;
        std::string value;
        words >> option >> value;
        value.erase(std::find(value.begin(), value.end(), ' '), value.end());
        value.erase(value.find_last_not_of(',') + 1);
        auto const found = std::find(options.begin(), options.end(), option);
        if (found == options.end()) {
            return options + Arguments{option, value};
        }
        *(found + 1) = value;
        return options;
    }
};

} // namespace

TEST_P(RawFit, IsProposedAndWorks) {
    Arguments const file = {createSparse("in.raw", GetParam().fileSize)};
    std::string const text = describe(file + GetParam().options);
    std::vector<std::string> const proposals = findProposals(text);
    EXPECT_EQ(GetParam().proposals, proposals) << text;
    for (std::string const& proposal : proposals) {
        ToolResult const result = runTool(Arguments{"info"} + file + apply(GetParam().options, proposal));
        expectDone(result);
        bool const bExact = GetParam().name != std::string("FewerPlanesWithARest");
        EXPECT_EQ(bExact, describe(file + apply(GetParam().options, proposal)) == "[]") << proposal;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Files, RawFit,
    testing::Values(RawFitCase{"AHeader", 7109489, raw("181,217,181", "uint8"), {"--offset 352"}},
                    RawFitCase{"AnOffsetTooFar",
                               7109489,
                               raw("181,217,181", "uint8") + Arguments{"--offset", "353"},
                               {"--offset 352"}},
                    RawFitCase{"AnOffsetBehindTheFile",
                               100,
                               raw("10,10", "uint8") + Arguments{"--offset", "1000"},
                               {"--offset 0"}},
                    RawFitCase{"FewerPlanes", 600, raw("10,10,7", "uint8"), {"--size 10,10,6"}},
                    RawFitCase{"FewerPlanesWithARest", 650, raw("10,10,7", "uint8"), {"--size 10,10,6"}},
                    RawFitCase{"MorePlanes", 600, raw("10,10", "uint8"), {"--size 10,10,6", "--offset 500"}},
                    RawFitCase{"PlanesOfChannelsAndSteps",
                               2400,
                               raw("10,10,5,2,2", "uint8"),
                               {"--size 10,10,6,2,2", "--offset 400"}},
                    RawFitCase{"PlanesOfSteps", 1200, raw("10,10,7,1,2", "uint8"), {"--size 10,10,6,1,2"}},
                    RawFitCase{"ASmallerType", 700, raw("10,10,7", "uint16"), {"--type uint8 or int8"}},
                    RawFitCase{"ALargerType",
                               2800,
                               raw("10,10,7", "uint8"),
                               {"--type uint32, int32 or real32", "--size 10,10,28", "--offset 2100"}},
                    RawFitCase{"AnOffsetThatLeavesBytesIsBelieved",
                               1000,
                               raw("10,10", "uint8") + Arguments{"--offset", "850"},
                               {}},
                    RawFitCase{"NothingFits", 50, raw("10,10,7", "uint8"), {}},
                    RawFitCase{"AFileThatFits", 700, raw("10,10,7", "uint8"), {}}),
    getName<RawFitCase>);

TEST_F(CliTest, ADimensionBeyondAllBytesHasNoProposals) {
    ToolResult const result =
        runTool(Arguments{"info", create("in.raw", "x")} + raw("18446744073709551615,1", "uint8"));
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.err, testing::Not(testing::HasSubstr("would fit")));
}

} // namespace velmo::test
