// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6Sample.h"
#include "InfoEntries.h"
#include "TiffSample.h"

#include <sys/stat.h>

namespace velmo::test {

using nlohmann::json;

namespace {

class FormatOfContent : public CliTest {
  protected:
    static TiffPage page() {
        TiffPage result;
        result.pixels = "abcdef";
        return result;
    }
};

} // namespace

TEST_F(FormatOfContent, ATiffFileIsReadUnderAnyNameByEachCommand) {
    for (char const* const mode : {"wl", "wb", "wl8", "wb8"}) {
        for (char const* const name : {"x.dat", "x", "x.png"}) {
            writeTiff(_folder / name, {page()}, mode);
            json const entry = describe({path(name), "--check"});
            EXPECT_EQ("tiff", entry.at("format")) << mode << ' ' << name;
            EXPECT_EQ(3, entry.at("sizeX"));
            expectDone(runTool({"convert", path(name), path("out.raw"), "--overwrite"}));
            EXPECT_EQ("abcdef", read("out.raw")) << mode << ' ' << name;
            expectDone(runTool({"preview", path(name), path("out.png"), "--overwrite"}));
        }
    }
}

TEST_F(FormatOfContent, OptionsOfATiffFileApplyToIt) {
    writeTiff(_folder / "x", {page(), page()});
    EXPECT_EQ(2, describe({path("x"), "--directories", "t"}).at("sizeT"));
}

TEST_F(FormatOfContent, AnIm6FileIsReadUnderAnyName) {
    Im6Sample const sample = makeIm6Sequence();
    for (char const* const name : {"x.dat", "x", "x.tif"}) {
        sample.write(_folder / name);
        EXPECT_EQ("im6", describe({path(name)}).at("format"));
        expectDone(runTool({"convert", path(name), path("out.raw"), "--overwrite"}));
        EXPECT_EQ(sample.pixels, read("out.raw"));
    }
}

TEST_F(FormatOfContent, ATiffFileWithTheExtensionOfIm6IsATiffFile) {
    writeTiff(_folder / "x.im6", {page()});
    EXPECT_EQ("tiff", describe({path("x.im6")}).at("format"));
}

TEST_F(FormatOfContent, ARawFileThatBeginsLikeTiffIsDescribedByItsOptions) {
    std::string const pixels("II*\0abcd", 8);
    std::string const input = create("x.raw", pixels);
    EXPECT_EQ("raw", describe(Arguments{input} + raw("4,2", "uint8")).at("format"));
    expectDone(runTool(Arguments{"convert", input, path("out.raw")} + raw("4,2", "uint8")));
    EXPECT_EQ(pixels, read("out.raw"));
    expectFailure(runTool({"info", input, "--format", "raw"}), 2, input, "--size", "--type");
}

TEST_F(FormatOfContent, TheFormatOptionDecides) {
    writeTiff(_folder / "x", {page()});
    EXPECT_EQ("raw", describe(Arguments{path("x"), "--format", "raw"} + raw("1,1", "uint8")).at("format"));
    expectFailure(runTool({"info", path("x"), "--format", "im6"}), 1, path("x"));
}

TEST_F(FormatOfContent, APipeIsNotOpenedForItsContent) {
    ASSERT_EQ(0, mkfifo(path("pipe").c_str(), 0600));
    expectFailure(runTool({"info", path("pipe")}), 2, path("pipe"), "--size", "--type");
}

} // namespace velmo::test
