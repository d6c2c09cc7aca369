// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PngImage.h"
#include "Sanitizers.h"
#include "SeriesFixture.h"

#include <csignal>
#include <regex>

namespace velmo::test {

using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using Levels = std::vector<int>;

namespace {

std::string decodeBase64(std::string const& text) {
    std::string const digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    unsigned int bits = 0;
    unsigned int nbBits = 0;
    for (char const digit : text.substr(0, text.find('='))) {
        std::size_t const value = digits.find(digit);
        EXPECT_NE(std::string::npos, value);
        bits = (bits << 6U | static_cast<unsigned int>(value)) & 0xffffU;
        nbBits += 6;
        if (nbBits >= 8) {
            nbBits -= 8;
            bytes += static_cast<char>(bits >> nbBits & 0xffU);
        }
    }
    return bytes;
}

class PreviewPage : public SeriesFixture {
  protected:
    /// The page of a file.
    std::string show(std::string const& input, Arguments const& options = {}) const {
        expectDone(runTool(Arguments{"preview", input, path("out.html"), "--overwrite"} + options));
        return read("out.html");
    }

    std::string showRaw(std::string const& bytes, Arguments const& options) const {
        return show(create("in.raw", bytes), options);
    }

    static json getData(std::string const& page) {
        std::string const begin = "id=\"data\">";
        std::size_t const place = page.find(begin) + begin.size();
        return json::parse(page.substr(place, page.find("</script>", place) - place));
    }

    std::vector<PngImage> getPictures(std::string const& page) const {
        std::string const begin = "src=\"data:image/png;base64,";
        std::vector<PngImage> pictures;
        for (std::size_t place = page.find(begin); place != std::string::npos;
             place = page.find(begin, place + 1)) {
            std::size_t const first = place + begin.size();
            writeFile(_folder / "picture.png",
                      decodeBase64(page.substr(first, page.find('"', first) - first)));
            pictures.push_back(readPng(_folder / "picture.png"));
        }
        boost::filesystem::remove(_folder / "picture.png");
        return pictures;
    }

    /// The pixels of all pictures.
    std::vector<Levels> getLevels(std::string const& page) const {
        std::vector<Levels> levels;
        for (PngImage const& picture : getPictures(page)) {
            levels.push_back(picture.pixels);
        }
        return levels;
    }

    void expectWrongUse(Arguments const& options, std::string const& word, std::string const& other) const {
        create("in.raw", std::string(64, 'x'));
        expectFailure(runTool(Arguments{"preview", path("in.raw"), path("out.html")} + options), 2, word,
                      other);
        EXPECT_FALSE(exists("out.html"));
    }
};

std::string countUpBytes(int count) {
    std::string bytes;
    for (int value = 0; value < count; ++value) {
        bytes += static_cast<char>(value);
    }
    return bytes;
}

/// How often a text occurs.
std::size_t countTexts(std::string const& page, std::string const& text) {
    std::size_t nb = 0;
    for (std::size_t place = page.find(text); place != std::string::npos;
         place = page.find(text, place + 1)) {
        ++nb;
    }
    return nb;
}

} // namespace

TEST_F(PreviewPage, ContainsEachPlaneOfEachChannelAndStepInTheirOrder) {
    std::string const page = showRaw(countUpBytes(3 * 2 * 2), raw("1,1,3,2,2", "uint8"));
    std::vector<Levels> expected;
    for (int plane = 0; plane < 12; ++plane) {
        expected.push_back({plane});
    }
    EXPECT_EQ(expected, getLevels(page)) << "t, c, z with z fastest, as in the file";
    json const data = getData(page);
    EXPECT_EQ(json({{"first", 0}, {"count", 3}, {"step", 1}, {"size", 3}}), data.at("z"));
    EXPECT_EQ(json({{"first", 0}, {"count", 2}, {"step", 1}, {"size", 2}}), data.at("c"));
    EXPECT_EQ(json({{"first", 0}, {"count", 2}, {"step", 1}, {"size", 2}}), data.at("t"));
    EXPECT_EQ("grey", data.at("kind"));
    EXPECT_EQ(json({{"least", 0.0}, {"greatest", 255.0}, {"from", 0.0}, {"to", 8.0}}),
              data.at("ranges").at(0));
    EXPECT_EQ(json({{"least", 0.0}, {"greatest", 255.0}, {"from", 3.0}, {"to", 11.0}}),
              data.at("ranges").at(1));
}

TEST_F(PreviewPage, ShowsTheChosenPlanesOnly) {
    Arguments const options = raw("1,1,3,2,2", "uint8");
    std::string const bytes = countUpBytes(12);
    EXPECT_EQ((std::vector<Levels>{{3}, {4}, {5}, {9}, {10}, {11}}),
              getLevels(showRaw(bytes, options + Arguments{"--c", "1"})));
    std::string const page = showRaw(bytes, options + Arguments{"--z", "2", "--t", "1"});
    EXPECT_EQ((std::vector<Levels>{{8}, {11}}), getLevels(page));
    EXPECT_EQ(2, getData(page).at("z").at("first"));
    EXPECT_EQ(1, getData(page).at("t").at("first"));
    EXPECT_EQ((std::vector<Levels>{{0}, {2}, {3}, {5}}),
              getLevels(showRaw(bytes, options + Arguments{"--step", "2", "--t", "0"})));
    std::string const projected = showRaw(bytes, options + Arguments{"--projection", "max"});
    EXPECT_EQ((std::vector<Levels>{{2}, {5}, {8}, {11}}), getLevels(projected));
    EXPECT_THAT(projected, HasSubstr("the maximum of 3 planes along Z"));
}

TEST_F(PreviewPage, ColoursAndLabelsAreColoured) {
    std::string const rgb = showRaw(toBytes<std::uint8_t>({0, 10, 20, 30, 40, 255}), raw("2,1,1,3", "uint8"));
    EXPECT_EQ("rgb", getData(rgb).at("kind"));
    EXPECT_EQ((std::vector<Levels>{{0, 20, 40, 10, 30, 255}}), getLevels(rgb));
    std::string const labels = showRaw(toBytes<std::uint8_t>({0, 7, 7, 9}), raw("2,1,2", "label8"));
    EXPECT_EQ("colours", getData(labels).at("kind"));
    EXPECT_TRUE(getData(labels).at("ranges").empty());
    std::vector<Levels> const levels = getLevels(labels);
    ASSERT_EQ(2U, levels.size());
    EXPECT_EQ((Levels{0, 0, 0}), Levels(levels[0].begin(), levels[0].begin() + 3));
    EXPECT_EQ(Levels(levels[0].begin() + 3, levels[0].end()),
              Levels(levels[1].begin(), levels[1].begin() + 3));
}

TEST_F(PreviewPage, OneHotPixelLeavesLevelsForTheOthers) {
    std::vector<float> values(10000);
    for (std::size_t index = 0; index < values.size(); ++index) {
        values[index] = static_cast<float>(index % 100);
    }
    values[1234] = 1e30F;
    values[1235] = std::numeric_limits<float>::quiet_NaN();
    std::string const page = showRaw(toBytes(values), raw("100,100", "real32"));
    json const range = getData(page).at("ranges").at(0);
    EXPECT_EQ(json({{"least", 0.0}, {"greatest", 148.5}, {"from", 0.0}, {"to", 99.0}}), range);
    EXPECT_THAT(page, HasSubstr("Values from 0 to 1e+30 occur"));
    EXPECT_EQ(std::lround(255 * 99 / 148.5), getLevels(page)[0][99]);
    EXPECT_EQ(255, getLevels(page)[0][1234]);
    json const given =
        getData(showRaw(toBytes(values), raw("100,100", "real32") + Arguments{"--range", "10,20"}));
    EXPECT_EQ(json({{"least", 10.0}, {"greatest", 20.0}, {"from", 10.0}, {"to", 20.0}}),
              given.at("ranges").at(0));
}

TEST_F(PreviewPage, HasTheFactsOfTheFileAndItsPixelSize) {
    saveVolume(_folder / "in.tif", 4, "scanner=\"B\", 17\n", "um");
    std::string const page = show(path("in.tif"));
    for (char const* const fact : {"<h1>in.tif</h1>", "<dt>format</dt><dd>tiff</dd>",
                                   "<dt>pixel size</dt><dd>0.65 x 0.5 x 3.5 um</dd>",
                                   "<dt>properties</dt><dd>scanner=&quot;B&quot;, 17\n</dd>"}) {
        EXPECT_THAT(page, HasSubstr(fact));
    }
    EXPECT_NEAR(0.65, getData(page).at("pixelSize"), 1e-6);
    EXPECT_EQ("\xc2\xb5m", getData(page).at("unit"));
    EXPECT_THAT(page, Not(HasSubstr(_folder.getPath().string())));
    std::string const plain = showRaw("x", raw("1,1", "uint8"));
    EXPECT_TRUE(getData(plain).at("pixelSize").is_null());
}

TEST_F(PreviewPage, APictureOfHalfTheSizeHasPixelsOfTwiceTheSize) {
    saveVolume(_folder / "in.tif", 4, "", "mm");
    double const whole = getData(show(path("in.tif"))).at("pixelSize");
    vlUInt64 const width = getData(show(path("in.tif"))).at("width");
    std::string const page = show(path("in.tif"), {"--max-size", "1"});
    EXPECT_NEAR(whole * static_cast<double>(width), getData(page).at("pixelSize"), 1e-6);
    EXPECT_THAT(page, HasSubstr("reduced in size"));
}

TEST_F(PreviewPage, ATurnedFileIsShownUprightWithItsPixelSize) {
    TiffPage page;
    page.orientation = ORIENTATION_RIGHTTOP;
    page.resolution = 10; // along Y twice that
    page.pixels = "\1\2\3\4\5\6";
    writeTiff(_folder / "in.tif", {page});
    std::string const shown = show(path("in.tif"));
    EXPECT_EQ((std::vector<Levels>{{4, 1, 5, 2, 6, 3}}), getLevels(shown));
    EXPECT_EQ(2, getData(shown).at("width"));
    EXPECT_NEAR(1.0 / 20, getData(shown).at("pixelSize"), 1e-6);
    EXPECT_EQ("cm", getData(shown).at("unit"));
}

TEST_F(PreviewPage, AFileThatCannotBeReadLeavesNoPage) {
    TiffPage page;
    page.sizeX = 300;
    page.sizeY = 300;
    page.pixels = std::string(page.countBytes(), 'x');
    writeTiff(_folder / "whole.tif", {page, page});
    create("in.tif", read("whole.tif").substr(0, 2000));
    boost::filesystem::remove(_folder / "whole.tif");
    expectFailure(runTool({"preview", path("in.tif"), path("out.html")}), 1, path("in.tif"));
    expectFailure(runTool({"preview", path("none.tif"), path("out.html")}), 1, path("none.tif"));
    EXPECT_THAT(list(), ElementsAre("in.tif", "s"));
}

TEST_F(PreviewPage, TextsOfTheFileAreNoMarkup) {
    std::string const hostile = "</script><script>alert(1)</script>\"'&<!--{{script}}";
    saveVolume(_folder / "in.tif", 1, hostile + "</template></style></dd><img src=x onerror=alert(2)>",
               hostile);
    std::string const name = "<script>alert(3)<!-- '\"&amp;{{data}}\xff\x1b.tif";
    boost::filesystem::rename(_folder / "in.tif", _folder / name);
    std::string const page = show(path(name));
    EXPECT_EQ(2U, countTexts(page, "<script")) << "those of the page";
    EXPECT_EQ(2U, countTexts(page, "</script"));
    EXPECT_EQ(1U, countTexts(page, "</template"));
    EXPECT_EQ(1U, countTexts(page, "</style"));
    EXPECT_EQ(1U, countTexts(page, "<img "));
    EXPECT_THAT(page,
                HasSubstr("<h1>&lt;script&gt;alert(3)&lt;!-- &#39;&quot;&amp;amp;{{data}}\xef\xbf\xbd\xef"
                          "\xbf\xbd.tif</h1>"));
    EXPECT_EQ(hostile, getData(page).at("unit"));
}

TEST_F(PreviewPage, NeedsNoOtherFile) {
    std::string const page = showRaw("xyz", raw("1,1,3", "uint8"));
    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
    EXPECT_THAT(page, Not(testing::AnyOf(HasSubstr("http:"), HasSubstr("https:"), HasSubstr("@import"),
                                         HasSubstr("url("), HasSubstr("fetch("))));
    std::regex const resource("(?:src|href)=\"([^\"]{0,5})");
    for (std::sregex_iterator found(page.begin(), page.end(), resource), end; found != end; ++found) {
        EXPECT_EQ("data:", (*found)[1]);
    }
}

TEST_F(PreviewPage, BothExtensionsMakeAPage) {
    std::string const input = create("in.raw", "x");
    for (char const* const name : {"a.htm", "b.HTML", "c.Html"}) {
        expectDone(runTool(Arguments{"preview", input, path(name)} + raw("1,1", "uint8")));
        EXPECT_EQ("<!DOCTYPE html>", read(name).substr(0, 15));
    }
}

TEST_F(PreviewPage, IsNotLargerThanAllowed) {
    create("in.raw", createNoise(100UL * 100 * 60));
    for (auto const& [limit, nbBytes] : std::vector<std::pair<std::string, std::size_t>>{
             {"300000", 300000}, {"200K", 200UL << 10}, {"90K", 90UL << 10}}) {
        ToolResult const result = runTool(
            Arguments{"preview", path("in.raw"), path("out.html"), "--overwrite", "--max-bytes", limit} +
            raw("100,100,10,1,6", "uint8"));
        std::string const page = read("out.html");
        json const data = getData(page);
        std::size_t const nbZ = data.at("z").at("count");
        std::size_t const nbT = data.at("t").at("count");
        EXPECT_LE(page.size(), nbBytes);
        EXPECT_EQ(nbZ * nbT, getPictures(page).size());
        expectWarning(result, path("out.html"), std::to_string(nbZ) + " of 10 planes along Z", "--max-bytes");
        EXPECT_THAT(page, HasSubstr("shows " + std::to_string(nbZ) + " of 10 planes along Z"));
        EXPECT_LE((nbZ + 1) * nbT * 13300 + 20000, nbBytes * 2) << "it is not much smaller either";
    }
    std::string const page = show(path("in.raw"), raw("100,100,10,1,6", "uint8"));
    EXPECT_EQ(60U, getPictures(page).size());
    EXPECT_THAT(page, Not(HasSubstr("too large")));
}

TEST_F(PreviewPage, KeptPlanesAreEvenlySpaced) {
    std::string const bytes = createNoise(100UL * 100 * 40);
    create("in.raw", bytes);
    runTool(Arguments{"preview", path("in.raw"), path("out.html"), "--max-bytes", "200K"} +
            raw("100,100,40", "uint8"));
    std::string const page = read("out.html");
    std::vector<PngImage> const pictures = getPictures(page);
    std::size_t const step = getData(page).at("z").at("step");
    ASSERT_EQ((40 + step - 1) / step, pictures.size());
    for (std::size_t index = 0; index < pictures.size(); ++index) {
        std::string const plane = bytes.substr(10000 * index * step, 10000);
        EXPECT_TRUE(
            std::equal(plane.begin(), plane.end(), pictures[index].pixels.begin(),
                       [](char byte, int level) { return static_cast<unsigned char>(byte) == level; }))
            << index;
    }
}

TEST_F(PreviewPage, ASinglePlaneThatDoesNotFitFails) {
    create("in.raw", createNoise(100UL * 100 * 4));
    for (char const* const limit : {"0", "100", "25K"}) {
        expectFailure(runTool(Arguments{"preview", path("in.raw"), path("out.html"), "--max-bytes", limit} +
                              raw("100,100,4", "uint8")),
                      1, path("out.html"), "--max-bytes", "--max-size");
    }
    EXPECT_THAT(list(), ElementsAre("in.raw", "s"));
}

TEST_F(PreviewPage, APageOfThousandsOfPlanesStaysSmallInMemory) {
    std::string const input = createSparse("in.raw", 1000UL * 256 * 256);
    ToolResult const result =
        runTool(Arguments{"preview", input, path("out.html")} + raw("256,256,1000", "uint8"));
    expectDone(result);
    EXPECT_TRUE(g_bSanitized || result.maxRss < 200L << 10) << result.maxRss;
    EXPECT_EQ(1000, getData(read("out.html")).at("z").at("count"));
}

TEST_F(PreviewPage, APageOfManyChannelsStaysSmallInMemory) {
    std::string const input = createSparse("in.raw", 64UL * 50 * 100 * 100);
    ToolResult const result =
        runTool(Arguments{"preview", input, path("out.html")} + raw("100,100,64,50", "uint8"));
    expectDone(result);
    EXPECT_TRUE(g_bSanitized || result.maxRss < 200L << 10) << result.maxRss;
}

TEST_F(PreviewPage, HostileSizesAreThinnedOrRefused) {
    std::string const input = createSparse("huge.raw", 1UL << 40);
    TerminalProcess process(Arguments{"preview", input, path("out.html"), "--max-bytes", "100K"} +
                            raw("1099511627776,1", "uint8"));
    ASSERT_TRUE(process.waitFor(" %"));
    process.send(SIGINT);
    EXPECT_EQ(130, process.wait().status);
    ToolResult const planes = runTool(Arguments{"preview", input, path("out.html"), "--max-bytes", "100K"} +
                                      raw("1,1,1099511627776", "uint8"));
    expectWarning(planes, "of 1099511627776 planes along Z");
    EXPECT_LE(read("out.html").size(), 100UL << 10);
    expectFailure(runTool(Arguments{"preview", input, path("c.html")} + raw("1,1,1,1099511627776", "uint8")),
                  2, "1099511627776", "--c");
    EXPECT_FALSE(exists("c.html"));
}

TEST_F(PreviewPage, AFailedPageLeavesNothing) {
    std::string const input = create("in.raw", "x");
    link("/dev/full", "full.html");
    expectFailure(runTool(Arguments{"preview", input, path("full.html")} + raw("1,1", "uint8")), 1,
                  "cannot write ", "No space left on device");
    std::string const earlier = create("out.html", "earlier");
    expectFailure(runTool(Arguments{"preview", input, earlier} + raw("1,1", "uint8")), 1, "exists",
                  "--overwrite");
    expectFailure(runTool(Arguments{"preview", input, earlier, "--overwrite"} + raw("2,1", "uint8")), 1,
                  "in.raw");
    EXPECT_EQ("earlier", read("out.html"));
    EXPECT_THAT(list(), ElementsAre("full.html", "in.raw", "out.html", "s"));
}

TEST_F(PreviewPage, OptionsThatDoNotFitAreWrongUse) {
    Arguments const options = raw("2,2,2", "uint8");
    expectWrongUse(options + Arguments{"--montage"}, "--montage", "page");
    expectWrongUse(options + Arguments{"--columns", "2"}, "--columns", "--montage");
    for (char const* const size : {"x", "M", "-1", "1.5M", "1m", "20 M", "18446744073709551615K", "1MB"}) {
        expectWrongUse(options + Arguments{"--max-bytes", size}, "--max-bytes", size);
    }
    for (char const* const option : {"--z", "--c", "--t"}) {
        expectWrongUse(options + Arguments{option, "2"}, option + std::string(" 2"), "out of range");
    }
    expectWrongUse(raw("2,2,2", "label8") + Arguments{"--projection", "mean"}, "--projection mean", "labels");
}

} // namespace velmo::test
