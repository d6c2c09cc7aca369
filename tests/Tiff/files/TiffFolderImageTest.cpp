// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/files/TiffFolderImage.h"

#include "CapturedLog.h"
#include "Processes.h"
#include "TemporaryFolder.h"
#include "ThrownText.h"

#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOUtil/Logging.h>
#include <boost/filesystem/operations.hpp>
#include <boost/lexical_cast.hpp>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace velmo::image::file {

namespace {

namespace fs = boost::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using velmo::test::asOrdinaryUser;
using velmo::test::g_noSuchUser;
using velmo::test::thrownText;
using velmo::test::writeFile;
using Names = std::vector<std::string>;

/// A folder with files, of which a list is to be made. No file is opened for it.
class TiffFilesInDirectory : public testing::Test {
  protected:
    void make(Names const& names) const {
        for (std::string const& name : names) {
            writeFile(_folder / name, "no TIFF file");
        }
    }

    Names list(std::string const& pattern) const {
        Names names;
        for (fs::path const& path : findTiffFilesInDirectory(_folder.getPath(), pattern)) {
            EXPECT_EQ(path, _folder.getPath() / path.filename());
            names.push_back(path.filename().string());
        }
        return names;
    }

    /// What the file system says of a directory.
    static int listError(fs::path const& directory) {
        test::CapturedLog const log(getBaseLogger());
        try {
            findTiffFilesInDirectory(directory, "*");
        } catch (fs::filesystem_error const& error) {
            EXPECT_TRUE(log.getRecords().empty());
            return error.code().value();
        }
        ADD_FAILURE() << "nothing was thrown";
        return 0;
    }

    std::string raisedText(std::string const& pattern) const {
        return thrownText<VELMOImageFileException>([&] { list(pattern); });
    }

    test::TemporaryFolder const _folder;
};

char const* const g_mixedText =
    R"(Invalid pattern string (z<INDEX>|y), mixing patterns with and without keyword "<INDEX>")";

} // namespace

// The order

TEST_F(TiffFilesInDirectory, ComeInTheOrderOfTheNumberThatTheKeywordReadsOrElseOfTheirBytes) {
    struct {
        char const* pattern;
        Names names; ///< in the order expected
    } const cases[] = {
        {"a<INDEX>.tif", {"a000.tif", "a1.tif", "a2.tif", "a10.tif", "a0100.tif"}},
        {"<INDEX>", {"00000000000000000000000000000001", "9223372036854775808", "18446744073709551615"}},
        {"*_t<INDEX>.tif", {"s9_t1.tif", "s5_t2.tif", "s1_t10.tif"}},
        {"<IN*DEX>", {"<IN10DEX>", "<IN9DEX>"}},
        {"a*.tif", {"a1.tif", "a10.tif", "a2.tif"}},
        {"a?.tif|a??.tif", {"a1.tif", "a10.tif", "a2.tif"}},
        {"", {"a007.tif", "a7.tif"}},
        {"*", {"..2", ".1", "A", "B", "a", "a b", "a.b", "\x7F", "\xC3\xA9"}}};
    for (auto const& entry : cases) {
        SCOPED_TRACE(entry.pattern);
        make(Names(entry.names.rbegin(), entry.names.rend()));
        EXPECT_EQ(list(entry.pattern), entry.names);
        for (std::string const& name : entry.names) {
            fs::remove(_folder / name);
        }
    }
}

TEST_F(TiffFilesInDirectory, OfEqualNumbersAreOneTheFirstThatTheFolderLists) {
    make({"a007.tif", "a7.tif", "a07.tif", "a8.tif"});
    Names inFolder;
    for (fs::directory_entry const& entry : fs::directory_iterator(_folder.getPath())) {
        if (entry.path().filename() != "a8.tif") {
            inFolder.push_back(entry.path().filename().string());
        }
    }
    EXPECT_THAT(list("a<INDEX>.tif"), ElementsAre(inFolder.front(), "a8.tif"));
}

// What is taken

TEST_F(TiffFilesInDirectory, AreNoneInAnEmptyFolderOrWhereNoNameMatches) {
    EXPECT_THAT(list("*"), IsEmpty());
    make({"a.tif", "A1.TIF"});
    EXPECT_THAT(list("a<INDEX>.tif"), IsEmpty());
    EXPECT_THAT(list("*.tiff"), IsEmpty());
}

TEST_F(TiffFilesInDirectory, AreNoFoldersAndNotWhatLiesInFolders) {
    make({"a1.tif"});
    fs::create_directory(_folder / "a2.tif");
    writeFile(_folder.getPath() / "a2.tif" / "a3.tif", "inside");
    EXPECT_THAT(list("a<INDEX>.tif"), ElementsAre("a1.tif"));
    EXPECT_THAT(list("*"), ElementsAre("a1.tif"));
}

TEST_F(TiffFilesInDirectory, AreLinksToFilesAndNoLinksToFolders) {
    make({"file"});
    fs::create_directory(_folder / "folder");
    fs::create_symlink("file", _folder / "a1");
    fs::create_symlink("folder", _folder / "a2");
    fs::create_symlink("a1", _folder / "a3");
    EXPECT_THAT(list("a<INDEX>"), ElementsAre("a1", "a3"));
}

TEST_F(TiffFilesInDirectory, AreLinksThatLeadNowherePipesAndSocketsAsWell) {
    fs::create_symlink("missing", _folder / "a1");
    ASSERT_EQ(mkfifo((_folder / "a2").c_str(), 0600), 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (_folder / "a3").string().copy(address.sun_path, sizeof(address.sun_path) - 1);
    int const listener = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr const*>(&address), sizeof(address)), 0);
    close(listener);
    EXPECT_THAT(list("a<INDEX>"), ElementsAre("a1", "a2", "a3"));
}

TEST_F(TiffFilesInDirectory, HaveNamesOfAnyBytes) {
    Names names;
    for (int byte = 1; byte < 256; ++byte) {
        if (byte != '/') {
            names.push_back("a" + std::string(1, static_cast<char>(byte)) + "z" + std::to_string(byte));
        }
    }
    make(names);
    EXPECT_EQ(list("a?z<INDEX>"), names);
    EXPECT_EQ(list("a*z*").size(), 254U);
}

TEST_F(TiffFilesInDirectory, HaveThePathOfTheDirectoryAsItWasGiven) {
    make({"a"});
    fs::path const given = _folder.getPath() / "." / "";
    EXPECT_THAT(findTiffFilesInDirectory(given, "*"), ElementsAre(given / "a"));
    fs::path const link = _folder / "link";
    fs::create_directory_symlink(_folder.getPath(), link);
    EXPECT_THAT(findTiffFilesInDirectory(link, "a"), ElementsAre(link / "a"));
}

// Patterns that are refused

TEST_F(TiffFilesInDirectory, OfPatternsThatMixTheKeywordAreRefusedAtTheFirstFile) {
    EXPECT_THAT(list("z<INDEX>|y"), IsEmpty());
    fs::create_directory(_folder / "folder");
    EXPECT_THAT(list("z<INDEX>|y"), IsEmpty());
    make({"no match"});
    EXPECT_EQ(raisedText("z<INDEX>|y"), g_mixedText);
}

TEST_F(TiffFilesInDirectory, OfAPatternOfTwoKeywordsAreRefusedWhereItIsTried) {
    std::string const pattern = "x<INDEX>|<INDEX>_<INDEX>";
    EXPECT_THAT(list(pattern), IsEmpty());
    make({"x1", "x2"});
    EXPECT_THAT(list(pattern), ElementsAre("x1", "x2"));
    make({"y"});
    EXPECT_EQ(raisedText(pattern),
              R"(More than one instance of keyword "<INDEX>" in pattern "<INDEX>_<INDEX>")");
}

TEST_F(TiffFilesInDirectory, OfANumberBeyond64BitsAreABadCastThatNobodyLogs) {
    make({"img1", "img18446744073709551616"});
    test::CapturedLog const log(getBaseLogger());
    EXPECT_THROW(list("img<INDEX>"), boost::bad_lexical_cast);
    EXPECT_TRUE(log.getRecords().empty());
    EXPECT_EQ(list("img*").size(), 2U);
}

// Directories that cannot be listed

TEST_F(TiffFilesInDirectory, ThatIsMissingOrNoneAreWhatTheFileSystemSays) {
    make({"file"});
    EXPECT_EQ(listError(_folder / "missing"), ENOENT);
    EXPECT_EQ(listError(_folder / "file"), ENOTDIR);
    EXPECT_EQ(listError(""), ENOENT);
    EXPECT_EQ(listError(_folder / std::string(300, 'x')), ENAMETOOLONG);
}

TEST_F(TiffFilesInDirectory, ALinkThatLeadsToItselfIsWhatTheFileSystemSays) {
    fs::create_symlink("loop", _folder / "loop");
    EXPECT_EQ(listError(_folder / "loop"), ELOOP);
    EXPECT_EQ(listError(_folder.getPath()), ELOOP);
}

TEST_F(TiffFilesInDirectory, WithoutPermissionAreWhatTheFileSystemSays) {
    make({"file"});
    struct Case {
        char const* name;
        int permissions;
    };
    for (Case const& denied :
         {Case{"neither listed nor searched", 0700}, Case{"listed, not searched", 0744}}) {
        SCOPED_TRACE(denied.name);
        fs::permissions(_folder.getPath(), fs::perms(denied.permissions));
        std::string const error =
            asOrdinaryUser([&] { return std::to_string(listError(_folder.getPath())); });
        if (error == g_noSuchUser) {
            GTEST_SKIP() << "this process cannot become another user";
        }
        EXPECT_EQ(error, std::to_string(EACCES));
    }
}

} // namespace velmo::image::file
