// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "RunMoments.h"
#include "StreamingFixture.h"
#include "TiffSample.h"

#include <csignal>
#include <cstring>
#include <fstream>

namespace velmo {
namespace test {

namespace fs = boost::filesystem;
using testing::ElementsAre;

namespace {

constexpr int g_nbMoments = 50;
constexpr int g_killed = 1000 + SIGKILL;
constexpr std::uint32_t g_side = 256;
constexpr std::size_t g_planeBytes = std::size_t{g_side} * g_side;

/// Planes that take a compressor some time, each another.
std::string makePixels(std::size_t nbPlanes) {
    std::mt19937 random(7);
    std::string plane(g_planeBytes, '\0');
    for (char& pixel : plane) {
        pixel = static_cast<char>(random() % 16);
    }
    std::string pixels;
    for (std::size_t z = 0; z < nbPlanes; ++z) {
        std::rotate(plane.begin(), plane.begin() + 1, plane.end());
        pixels += plane;
    }
    return pixels;
}

/// As readFile, for files of some size.
std::string readWhole(fs::path const& path) {
    std::string bytes(fs::file_size(path), '\0');
    std::ifstream(path.string(), std::ios::binary)
        .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

std::string joinPlanes(fs::path const& path) {
    std::string pixels;
    for (TiffPage const& page : readTiff(path)) {
        pixels += page.pixels;
    }
    return pixels;
}

/// Runs that end at some moment, with an output that was there before.
class EndedRun : public CliTest {
  protected:
    void SetUp() override { fs::create_directory(_folder / "out"); }

    std::string createInput(std::size_t nbPlanes) {
        _pixels = makePixels(nbPlanes);
        return create("in.raw", _pixels);
    }

    std::string createSeries(std::size_t nbFiles) {
        _pixels = makePixels(nbFiles);
        fs::create_directory(_folder / "s");
        for (std::size_t file = 0; file < nbFiles; ++file) {
            TiffPage page;
            page.sizeX = page.sizeY = g_side;
            page.pixels = _pixels.substr(file * g_planeBytes, g_planeBytes);
            writeTiff(_folder / "s" / (std::to_string(file) + ".tif"), {page});
        }
        return path("s");
    }

    std::string size(std::size_t nbPlanes) const { return "256,256," + std::to_string(nbPlanes); }
    std::string target(std::string const& name) const { return path("out/" + name); }
    void restore(std::string const& name) const { writeFile(target(name), "earlier"); }
    bool isEarlier(std::string const& name) const { return readWhole(target(name)) == "earlier"; }
    bool isComplete(std::string const& name) const {
        bool const bTiff = fs::path(name).extension() == ".tif";
        return (bTiff ? joinPlanes(target(name)) : readWhole(target(name))) == _pixels;
    }

    std::vector<std::string> listOutputs() const {
        std::vector<std::string> names;
        for (fs::directory_entry const& entry : fs::directory_iterator(_folder / "out")) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }

    /// To the last of the planned moments or, where runs are slow, for some seconds; and beyond as long as
    /// none of the moments fell into the work.
    bool goesOn(int moment, int nbPlanned, int nbWithinWork) const {
        bool const bPlanned = moment < nbPlanned && std::chrono::steady_clock::now() < _end;
        return !HasFailure() && (bPlanned || (nbWithinWork == 0 && moment < 10 * nbPlanned));
    }

    /// The earlier output or the whole new one, at every moment; a run behind it finds and leaves the folder
    /// as if nothing had been.
    void expectNoTraceOfKills(Arguments const& arguments, std::string const& name) const {
        unsigned int const seed = getSeed();
        RunMoments moments(arguments, seed);
        int nbKilled = 0;
        int nbUnfinished = 0;
        for (int moment = 0; goesOn(moment, g_nbMoments, nbUnfinished); ++moment) {
            restore(name);
            nbKilled += moments.runUntil(SIGKILL).status == g_killed ? 1 : 0;
            EXPECT_TRUE(isEarlier(name) || isComplete(name)) << "moment " << moment << ", seed " << seed;
            if (listOutputs().size() != 1) {
                ++nbUnfinished;
                expectDone(runTool(arguments));
                EXPECT_TRUE(isComplete(name));
                EXPECT_THAT(listOutputs(), ElementsAre(name)) << "moment " << moment << ", seed " << seed;
            }
        }
        EXPECT_GT(nbUnfinished, 0);
        std::cout << nbKilled << " runs killed, " << nbUnfinished << " of them while they wrote" << std::endl;
    }

    /// Ends of its own or by the signal: nothing but the output stays, and a status that says which one.
    void expectNoTraceOf(int signal, Arguments const& arguments, std::string const& name) const {
        unsigned int const seed = getSeed();
        RunMoments moments(arguments, seed);
        int nbInterrupted = 0;
        for (int moment = 0; goesOn(moment, g_nbMoments / 2, nbInterrupted); ++moment) {
            restore(name);
            ToolResult const result = moments.runUntil(signal);
            if (result.status == 0) {
                EXPECT_TRUE(isComplete(name));
            } else {
                EXPECT_TRUE(isEarlier(name));
            }
            bool const bBeforeItCares = result.status == 1000 + signal;
            nbInterrupted += result.status == 130 ? 1 : 0;
            EXPECT_TRUE(result.status == 0 || result.status == 130 || bBeforeItCares) << result.status;
            EXPECT_EQ(result.status == 130 ? "velmo-image: interrupted\n" : "", result.err);
            EXPECT_THAT(listOutputs(), ElementsAre(name)) << "moment " << moment << ", seed " << seed;
        }
        EXPECT_GT(nbInterrupted, 0);
    }

    std::string _pixels;
    std::chrono::steady_clock::time_point const _end =
        std::chrono::steady_clock::now() + std::chrono::seconds(5);
};

/// What a killed run leaves, with a name of that kind.
constexpr char const* g_unfinished = ".velmo-image-0123456789ab.tmp";

class UnfinishedOutput : public StreamingFixture {
  protected:
    Arguments convertTo(std::string const& name) const {
        return Arguments{"convert", path("small.raw"), path(name)} + raw("2,2", "uint8");
    }
    void SetUp() override { create("small.raw", "ABCD"); }
};

class SignalledRun : public EndedRun, public testing::WithParamInterface<int> {};

} // namespace

TEST_F(EndedRun, AKilledConversionToADeflatedTiffLeavesTheOutputWholeAndNothingThatStays) {
    std::string const input = createInput(8);
    expectNoTraceOfKills(
        Arguments{"convert", input, target("out.tif"), "--overwrite", "--compression", "deflate"} +
            raw(size(8), "uint8"),
        "out.tif");
}

TEST_F(EndedRun, AKilledConversionToRawLeavesTheOutputWholeAndNothingThatStays) {
    std::string const input = createInput(128);
    expectNoTraceOfKills(
        Arguments{"convert", input, target("out.raw"), "--overwrite"} + raw(size(128), "uint8"), "out.raw");
}

TEST_F(EndedRun, AKilledStackLeavesTheOutputWholeAndNothingThatStays) {
    std::string const folder = createSeries(8);
    expectNoTraceOfKills(
        {"stack", folder, "<INDEX>.tif", target("out.tif"), "--overwrite", "--compression", "deflate"},
        "out.tif");
}

TEST_F(UnfinishedOutput, OfAKilledRunIsRemovedByTheNextToAnyFileOfTheFolder) {
    create(g_unfinished, "half");
    expectDone(runTool(convertTo("out.raw")));
    EXPECT_THAT(list(), ElementsAre("out.raw", "small.raw"));
    create(g_unfinished, "half");
    expectDone(runTool({"convert", "small.raw", "other.raw", "--size", "2,2", "--type", "uint8"},
                       _folder.getPath().string()));
    EXPECT_THAT(list(), ElementsAre("other.raw", "out.raw", "small.raw"));
}

TEST_F(UnfinishedOutput, OfALivingRunStays) {
    std::string const input = createSparse("large.raw", 2 * g_gibibyte);
    ToolProcess living(Arguments{"convert", input, path("living.raw")} + raw("65536,1024,32", "uint8"));
    ASSERT_TRUE(waitForPixels());
    living.send(SIGSTOP);
    std::size_t const nbNames = list().size();
    expectDone(runTool(convertTo("out.raw")));
    EXPECT_EQ(nbNames + 1, list().size());
    EXPECT_LT(1UL << 20, getTemporarySize());
    living.send(SIGTERM);
    living.send(SIGCONT);
    expectFailure(living.wait(), 130, "interrupted");
    EXPECT_THAT(list(), ElementsAre("large.raw", "out.raw", "small.raw"));
}

TEST_F(UnfinishedOutput, IsNoFileOfAnotherName) {
    std::vector<std::string> names = {".velmo-image-0123456789a.tmp", ".velmo-image-0123456789ab",
                                      ".velmo-image-0123456789aG.tmp", ".velmo-image-my-own-note.tmp",
                                      "x.velmo-image-0123456789ab.tmp"};
    for (std::string const& name : names) {
        create(name, "kept");
    }
    fs::create_directory(_folder / g_unfinished);
    names.insert(names.end(), {g_unfinished, "out.raw", "small.raw"});
    expectDone(runTool(convertTo("out.raw")));
    EXPECT_THAT(list(), testing::UnorderedElementsAreArray(names));
}

TEST_F(UnfinishedOutput, IsNoPartOfAStack) {
    fs::create_directory(_folder / "s");
    TiffPage page;
    page.pixels = "abcdef";
    for (char const* const name : {"1.tif", "2.tif", g_unfinished}) {
        writeTiff(_folder / "s" / name, {page});
    }
    expectFailure(runTool({"stack", path("s"), "*", path("out.raw")}), 1,
                  "cannot read \"" + path("s") + '/' + g_unfinished +
                      "\": it is an unfinished output of velmo-image, which \"*\" matches");
    expectDone(runTool({"stack", path("s"), "*.tif", path("out.raw")}));
    EXPECT_EQ("abcdefabcdef", read("out.raw"));
}

TEST_P(SignalledRun, OfAConversionAtAnyMomentLeavesTheOutputAlone) {
    std::string const input = createInput(16);
    expectNoTraceOf(
        GetParam(),
        Arguments{"convert", input, target("out.tif"), "--overwrite", "--compression", "deflate"} +
            raw(size(16), "uint8"),
        "out.tif");
}

TEST_P(SignalledRun, OfAStackAtAnyMomentLeavesTheOutputAlone) {
    std::string const folder = createSeries(16);
    expectNoTraceOf(GetParam(), {"stack", folder, "<INDEX>.tif", target("out.raw"), "--overwrite"},
                    "out.raw");
}

INSTANTIATE_TEST_SUITE_P(Signals, SignalledRun, testing::Values(SIGINT, SIGTERM),
                         [](testing::TestParamInfo<int> const& parameter) {
                             return "SIG" + std::string(sigabbrev_np(parameter.param));
                         });

} // namespace test
} // namespace velmo
