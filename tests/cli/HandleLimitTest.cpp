// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PrivateDisk.h"
#include "SeriesFixture.h"

#include <sys/resource.h>

namespace velmo::test {

using testing::HasSubstr;
using testing::Not;

namespace {

constexpr std::size_t g_fewestHandles = 8;
constexpr std::size_t g_mostHandles = 20;

/// Eight stacks of three planes in a single big-endian directory each.
class HandleLimit : public SeriesFixture {
  protected:
    void SetUp() override {
        SeriesFixture::SetUp();
        for (int file = 0; file < 8; ++file) {
            TiffPage stack = page("");
            stack.bits = 16;
            std::vector<std::uint16_t> values;
            for (int pixel = 0; pixel < 18; ++pixel) {
                values.push_back(static_cast<std::uint16_t>(1000 * file + pixel));
                stack.pixels += {static_cast<char>(values.back() >> 8), static_cast<char>(values.back())};
            }
            writeImageJStack(_folder / "s" / ("a" + std::to_string(file) + ".tif"), 3, stack, "wb");
            _pixels += toBytes(values);
        }
    }

    /// With that many handles, standard streams among them, which the tool cannot raise: whether it
    /// succeeded.
    bool expectAllPlanesOrTheReason(std::size_t nbHandles, Arguments const& options) const {
        std::vector<std::string> const names = list();
        std::string const outcome = withLimit(RLIMIT_NOFILE, nbHandles, [&] {
            ToolResult const result =
                runTool(Arguments{"stack", path("s"), "a<INDEX>.tif", path("out.raw")} + options);
            return std::to_string(result.status) + result.err;
        });
        if (outcome == "0") {
            EXPECT_TRUE(_pixels == read("out.raw")) << nbHandles;
            boost::filesystem::remove(_folder / "out.raw");
        } else {
            EXPECT_THAT(outcome, testing::StartsWith("1velmo-image: ")) << nbHandles;
            EXPECT_THAT(outcome, HasSubstr("Too many open files\n")) << nbHandles;
            EXPECT_THAT(outcome, Not(HasSubstr("boost"))) << nbHandles;
        }
        EXPECT_EQ(names, list()) << nbHandles;
        return outcome == "0";
    }

    std::string _pixels;
};

} // namespace

TEST_F(HandleLimit, AStackOfSingleDirectoriesIsWholeOrFailsForWantOfHandles) {
    for (char const* const axis : {"z", "t"}) {
        std::vector<std::size_t> done;
        for (std::size_t nbHandles = g_fewestHandles; nbHandles <= g_mostHandles; ++nbHandles) {
            if (expectAllPlanesOrTheReason(nbHandles, {"--along", axis})) {
                done.push_back(nbHandles);
            }
        }
        ASSERT_FALSE(done.empty());
        EXPECT_LT(g_fewestHandles, done.front());
        EXPECT_EQ(done.size(), g_mostHandles - done.front() + 1) << "a larger limit fails";
    }
}

} // namespace velmo::test
