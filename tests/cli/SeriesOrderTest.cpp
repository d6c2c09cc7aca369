// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SeriesFixture.h"

#include <map>
#include <sstream>

namespace velmo::test {

namespace {

/// What `match` lists and what `stack` joins, for one directory.
class SeriesOrder : public SeriesFixture, public testing::WithParamInterface<char const*> {
  protected:
    /// Files of one plane each, all of another value, written in an order that is neither theirs.
    void SetUp() override {
        SeriesFixture::SetUp();
        for (char const* const name : {"a10.tif", "a0002.tif", "a9.tif",
                                       "a2.tif",  "ax.tif",    "a02.tif",
                                       "a.tif",   "a0.tif",    "a18446744073709551615.tif",
                                       "b3.tif",  "a00.tif",   "a1b.tif",
                                       "A4.tif",  "a 5.tif",   "a-6.tif",
                                       "7.tif",   "07.tif",    "a010.tif",
                                       "b03.tif", "a.b1.tif",  "\xff.tif"}) {
            std::string const plane(6, static_cast<char>('A' + _planes.size()));
            put(name, plane);
            _planes[name] = plane;
        }
    }

    /// The planes of the listed files, of those with equal numbers that of the first.
    std::string listPlanes() const {
        std::istringstream lines(runTool({"match", GetParam(), "--directory", path("s")}).out);
        std::string planes;
        std::string earlier;
        std::string name;
        for (std::string index; std::getline(lines, name, '\t') && std::getline(lines, index);) {
            planes += index == "-" || index != earlier ? _planes.at(name) : "";
            earlier = index;
        }
        return planes;
    }

    std::map<std::string, std::string> _planes;
};

} // namespace

TEST_P(SeriesOrder, OfAStackIsThatOfTheListing) {
    std::string const planes = listPlanes();
    ASSERT_LE(12U, planes.size()) << "no series";
    EXPECT_EQ(0, runTool({"stack", path("s"), GetParam(), path("out.raw")}).status);
    EXPECT_EQ(planes, read("out.raw"));
}

INSTANTIATE_TEST_SUITE_P(Patterns, SeriesOrder,
                         testing::Values("a<INDEX>.tif", "<INDEX>.tif|?<INDEX>.tif", "a0<INDEX>.tif",
                                         "a*.tif", "*", "?.tif|b*", "*<INDEX>.tif", "*<INDEX>*"));

} // namespace velmo::test
