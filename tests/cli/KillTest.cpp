// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "StreamingFixture.h"

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <random>

namespace velmo::test {

namespace fs = boost::filesystem;
using testing::ElementsAre;

namespace {

/// VELMO_TEST_SEED, or a number that is another in each run; printed, so that a failure can be repeated.
unsigned int getSeed() {
    char const* const text = std::getenv("VELMO_TEST_SEED");
    unsigned int const seed =
        text != nullptr ? static_cast<unsigned int>(std::strtoul(text, nullptr, 10)) : std::random_device{}();
    std::cout << "VELMO_TEST_SEED=" << seed << std::endl;
    return seed;
}

/// Runs that a signal ends in the middle of their work, with an output that was there before.
class EndedRun : public StreamingFixture {
  protected:
    static constexpr int g_nbMoments = 5;

    Arguments convertToRaw() const {
        return Arguments{"convert", createEndless(), path("out.raw"), "--overwrite"} + rawVolume();
    }
    Arguments convertToDeflate() const {
        return Arguments{"convert",     createEndlessToCompress(), path("out.tif"),
                         "--overwrite", "--compression",           "deflate"} +
               rawVolumeToCompress();
    }
    Arguments stackToRaw() const {
        createEndlessSeries(10);
        return Arguments{"stack", path("s"), "a<INDEX>.tif", path("out.raw"), "--overwrite"};
    }
    Arguments stackToDeflate() const {
        createEndlessSeries(10);
        return {"stack",       path("s"),       "a<INDEX>.tif", path("out.tif"),
                "--overwrite", "--compression", "deflate"};
    }

    /// Sends the signal to runs that have written so many bytes: drawn, up to `mostBytes`.
    template <class Check>
    void endRuns(int signal, Arguments const& arguments, std::string const& name, unsigned long mostBytes,
                 Check const& check) const {
        unsigned int const seed = getSeed();
        std::mt19937 random(seed);
        std::uniform_int_distribution<unsigned long> distribution(1, mostBytes);
        for (int moment = 0; moment < g_nbMoments && !HasFailure(); ++moment) {
            unsigned long const nbBytes = distribution(random);
            SCOPED_TRACE(testing::Message() << nbBytes << " bytes, seed " << seed);
            create(name, "earlier");
            std::vector<std::string> const names = list();
            ToolProcess process(arguments);
            ASSERT_TRUE(waitUntil([&] { return getTemporarySize() >= nbBytes; }));
            process.send(signal);
            check(process.wait());
            EXPECT_EQ("earlier", read(name));
            removeUnfinished(name);
            EXPECT_EQ(names, list());
        }
    }

    void expectNoTraceOfKills(Arguments const& arguments, std::string const& name,
                              unsigned long mostBytes) const {
        endRuns(SIGKILL, arguments, name, mostBytes, [this](ToolResult const& result) {
            EXPECT_EQ(1000 + SIGKILL, result.status);
            EXPECT_NE(0U, getTemporarySize());
        });
    }

    void expectNoTraceOf(int signal, Arguments const& arguments, std::string const& name,
                         unsigned long mostBytes) const {
        std::vector<std::string> const inputs = list();
        endRuns(signal, arguments, name, mostBytes, [&](ToolResult const& result) {
            expectFailure(result, 130, "interrupted");
            EXPECT_EQ(inputs.size() + 1, list().size());
        });
    }

    /// By the next run to any file of the folder.
    void removeUnfinished(std::string const& name) const {
        create("small.raw", "ABCD");
        expectDone(runTool(Arguments{"convert", path("small.raw"), path(name), "--overwrite"} +
                           raw("2,2", "uint8")));
        fs::remove(path("small.raw"));
    }
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
    expectNoTraceOfKills(convertToDeflate(), "out.tif", 1UL << 17);
}

TEST_F(EndedRun, AKilledConversionToRawLeavesTheOutputWholeAndNothingThatStays) {
    expectNoTraceOfKills(convertToRaw(), "out.raw", 1UL << 24);
}

TEST_F(EndedRun, AKilledStackLeavesTheOutputWholeAndNothingThatStays) {
    expectNoTraceOfKills(stackToDeflate(), "out.tif", 1UL << 17);
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
    ToolProcess living(Arguments{"convert", createEndless(), path("living.raw")} + rawVolume());
    ASSERT_TRUE(waitForPixels());
    living.send(SIGSTOP);
    ASSERT_TRUE(living.waitForStop());
    std::size_t const nbNames = list().size();
    expectDone(runTool(convertTo("out.raw")));
    EXPECT_EQ(nbNames + 1, list().size());
    EXPECT_LT(1UL << 20, getTemporarySize());
    living.send(SIGTERM);
    living.send(SIGCONT);
    expectFailure(living.wait(), 130, "interrupted");
    EXPECT_THAT(list(), ElementsAre("in.raw", "out.raw", "small.raw"));
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
    expectFailure(runTool({"stack", path("s"), "*", path("out.raw")}), 1, path("s") + '/' + g_unfinished,
                  "unfinished output", "\"*\"");
    expectDone(runTool({"stack", path("s"), "*.tif", path("out.raw")}));
    EXPECT_EQ("abcdefabcdef", read("out.raw"));
}

TEST_P(SignalledRun, OfAConversionLeavesTheOutputAlone) {
    expectNoTraceOf(GetParam(), convertToDeflate(), "out.tif", 1UL << 17);
}

TEST_P(SignalledRun, OfAStackLeavesTheOutputAlone) {
    expectNoTraceOf(GetParam(), stackToRaw(), "out.raw", 1UL << 24);
}

INSTANTIATE_TEST_SUITE_P(Signals, SignalledRun, testing::Values(SIGINT, SIGTERM), getSignalName);

} // namespace velmo::test
