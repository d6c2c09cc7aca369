// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/OutputFile.h"

#include "TemporaryFolder.h"
#include "output/OutputFolder.h"
#include "terminal/Failure.h"

#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>

namespace velmo::tool {

namespace {

namespace fs = boost::filesystem;

class OutputFiles : public testing::Test {
  protected:
    /// A file whose writer also leaves a file of another name.
    OutputTarget createTarget(char const* name, char const* alsoLeft = nullptr) const {
        return {_folder / name, [this, alsoLeft](fs::path const& path) {
                    test::writeFile(path, "new");
                    if (alsoLeft != nullptr) {
                        test::writeFile(_folder / alsoLeft, "theirs");
                    }
                }};
    }

    std::vector<std::string> list() const {
        std::vector<std::string> names;
        for (auto const& entry : fs::directory_iterator(_folder.getPath())) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }

    test::TemporaryFolder _folder;
};

} // namespace

TEST_F(OutputFiles, AppearTogether) {
    std::vector<OutputTarget> targets = {createTarget("a"), createTarget("b")};
    targets[1].write = [this](fs::path const& path) {
        EXPECT_FALSE(fs::exists(_folder / "a"));
        test::writeFile(path, "new");
    };
    writeOutputs(targets, false);
    EXPECT_THAT(list(), testing::UnorderedElementsAre("a", "b"));
}

TEST_F(OutputFiles, OfARunWhoseLastFileCannotGetItsNameAreRemoved) {
    EXPECT_THROW(writeOutputs({createTarget("a"), createTarget("b"), createTarget("c", "c")}, false),
                 WorkFailure);
    EXPECT_THAT(list(), testing::ElementsAre("c"));
    EXPECT_EQ("theirs", test::readFile(_folder / "c"));
}

TEST_F(OutputFiles, AFolderThatWasCreatedForThemGoesUnlessItIsKept) {
    fs::path const folder = _folder / "p";
    { OutputFolder const created(folder); }
    EXPECT_FALSE(fs::exists(folder));
    {
        OutputFolder const created(folder);
        test::writeFile(folder / "theirs", "");
    }
    EXPECT_TRUE(fs::exists(folder / "theirs"));
    fs::remove(folder / "theirs");
    { OutputFolder const existing(folder); }
    EXPECT_TRUE(fs::is_directory(folder));
    fs::remove(folder);
    {
        OutputFolder created(folder);
        created.keep();
    }
    EXPECT_TRUE(fs::is_directory(folder));
}

} // namespace velmo::tool
