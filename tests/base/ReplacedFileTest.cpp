// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PrivateDisk.h"
#include "Processes.h"
#include "TemporaryFolder.h"

#include <VELMOBase/ReplacedFile.h>
#include <boost/filesystem/operations.hpp>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace velmo::test {

namespace {

namespace fs = boost::filesystem;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

constexpr char const* g_leftover = ".velmo-image-0123456789ab.tmp";

class ReplacedFileTest : public testing::Test {
  protected:
    ReplacedFileTest() : _target(_folder / "target") { fs::permissions(_folder.getPath(), fs::perms(0777)); }

    std::vector<std::string> list(fs::path const& folder) const {
        std::vector<std::string> names;
        for (fs::directory_entry const& entry : fs::directory_iterator(folder)) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }
    std::vector<std::string> list() const { return list(_folder.getPath()); }

    TemporaryFolder _folder;
    fs::path _target;
};

mode_t getMode(fs::path const& path) {
    struct stat state = {};
    EXPECT_EQ(stat(path.c_str(), &state), 0);
    return state.st_mode & 07777;
}

/// Why the file is not replaced; empty where it is.
std::string replace(fs::path const& target, std::string const& bytes, eOldFile oldFile = eOldFile::Replace) {
    ReplacedFile file(target, oldFile);
    SystemResult const created = file.create();
    if (!created) {
        return "create: " + created.getMessage();
    }
    std::ofstream(file.getPath().string(), std::ios::binary) << bytes;
    SystemResult const committed = file.commit();
    return committed ? "" : "commit: " + committed.getMessage();
}

/// Begins to write and is killed.
std::string replaceAndDie(fs::path const& target) {
    return inChild([&]() -> std::string {
        ReplacedFile file(target);
        if (!file.create()) {
            return "not created";
        }
        writeFile(file.getPath(), "half");
        raise(SIGKILL);
        return "not killed";
    });
}

TEST_F(ReplacedFileTest, TheOldFileIsIntactUntilTheCommitAndReplacedByIt) {
    writeFile(_target, "earlier");
    {
        ReplacedFile file(_target);
        ASSERT_TRUE(file.create());
        EXPECT_EQ(file.getPath().parent_path(), _target.parent_path());
        writeFile(file.getPath(), "new");
        EXPECT_EQ(readFile(_target), "earlier");
        EXPECT_TRUE(file.commit());
        EXPECT_EQ(readFile(_target), "new");
        EXPECT_TRUE(file.commit()); // a second one changes nothing, nor does the end
    }
    EXPECT_EQ(readFile(_target), "new");
    EXPECT_THAT(list(), ElementsAre("target"));
    EXPECT_EQ(countDescriptors(_target), 0U);
}

TEST_F(ReplacedFileTest, WithoutACommitTheOldFileStaysAndTheTemporaryOneGoes) {
    for (bool const bOld : {false, true}) {
        if (bOld) {
            writeFile(_target, "earlier");
        }
        {
            ReplacedFile const neverCreated(_target);
            ReplacedFile file(_target);
            ASSERT_TRUE(file.create());
            writeFile(file.getPath(), "new");
            EXPECT_EQ(list().size(), bOld ? 2U : 1U);
        }
        EXPECT_EQ(list(), bOld ? std::vector<std::string>{"target"} : std::vector<std::string>{});
    }
    EXPECT_EQ(readFile(_target), "earlier");
}

TEST_F(ReplacedFileTest, ANewFileHasThePermissionsOfAnyNewFile) {
    mode_t const mask = umask(027);
    EXPECT_EQ(replace(_target, "new"), "");
    umask(mask);
    EXPECT_EQ(getMode(_target), 0640U);
}

TEST_F(ReplacedFileTest, TheNewFileTakesThePermissionsOfTheOldOneAtTheCommit) {
    for (mode_t const mode : {0600U, 0664U, 0777U, 0200U}) {
        writeFile(_target, "earlier");
        ASSERT_EQ(chmod(_target.c_str(), mode), 0);
        ReplacedFile file(_target);
        ASSERT_TRUE(file.create());
        EXPECT_EQ(getMode(file.getPath()), 0600U);
        EXPECT_TRUE(file.commit());
        EXPECT_EQ(getMode(_target), mode);
        fs::remove(_target);
    }
}

TEST_F(ReplacedFileTest, TheNewFileKeepsOwnerAndGroupWhereTheUserMaySetThem) {
    constexpr uid_t owner = 12345;
    constexpr gid_t group = 23456;
    writeFile(_target, "earlier");
    if (chown(_target.c_str(), owner, group) != 0) {
        GTEST_SKIP() << "this process cannot give a file away";
    }
    EXPECT_EQ(replace(_target, "new"), "");
    struct stat state = {};
    ASSERT_EQ(stat(_target.c_str(), &state), 0);
    EXPECT_EQ(state.st_uid, owner);
    EXPECT_EQ(state.st_gid, group);
}

TEST_F(ReplacedFileTest, AnotherUsersFileIsReplacedWhereItIsWritableAndRefusedElsewhere) {
    for (bool const bWritable : {true, false}) {
        writeFile(_target, "earlier");
        fs::permissions(_target, fs::perms(bWritable ? 0666 : 0444));
        std::string const text = asOrdinaryUser([&] { return replace(_target, "new"); });
        if (text == g_noSuchUser) {
            GTEST_SKIP() << "this process cannot become another user";
        }
        EXPECT_EQ(text, bWritable ? "" : "create: Permission denied");
        EXPECT_EQ(readFile(_target), bWritable ? "new" : "earlier");
        EXPECT_EQ(getMode(_target), bWritable ? 0666U : 0444U);
        EXPECT_THAT(list(), ElementsAre("target"));
    }
}

TEST_F(ReplacedFileTest, WhatALinkNamesIsReplacedOrMadeAndTheLinkStays) {
    fs::create_directory(_folder / "there");
    fs::create_symlink("there/file", _folder / "relative");
    fs::create_symlink(_folder / "relative", _target);
    for (char const* const bytes : {"made", "replaced"}) {
        EXPECT_EQ(replace(_target, bytes), "");
        EXPECT_EQ(readFile(_folder / "there" / "file"), bytes);
        EXPECT_TRUE(fs::is_symlink(_target));
        EXPECT_TRUE(fs::is_symlink(_folder / "relative"));
        EXPECT_THAT(list(_folder / "there"), ElementsAre("file"));
    }
}

TEST_F(ReplacedFileTest, LinksThatRunInACircleAreRefused) {
    fs::create_symlink("target", _folder / "other");
    fs::create_symlink("other", _target);
    EXPECT_EQ(replace(_target, "new"), "create: Too many levels of symbolic links");
    EXPECT_EQ(list().size(), 2U);
}

TEST_F(ReplacedFileTest, APathInTheCurrentFolderNeedsNoFolderInItsName) {
    fs::path const before = fs::current_path();
    fs::current_path(_folder.getPath());
    writeFile(g_leftover, "half");
    EXPECT_EQ(replace("target", "new"), "");
    fs::current_path(before);
    EXPECT_EQ(readFile(_target), "new");
    EXPECT_THAT(list(), ElementsAre("target"));
}

TEST_F(ReplacedFileTest, TwoAtOnceOnOneTargetKeepApartAndTheLastCommitHolds) {
    writeFile(_target, "earlier");
    ReplacedFile first(_target);
    ReplacedFile second(_target);
    ASSERT_TRUE(first.create());
    writeFile(first.getPath(), "first");
    ASSERT_TRUE(second.create()); // and does not take the first one for a leftover
    writeFile(second.getPath(), "second");
    EXPECT_TRUE(second.commit());
    EXPECT_EQ(readFile(_target), "second");
    EXPECT_TRUE(first.commit());
    EXPECT_EQ(readFile(_target), "first");
    EXPECT_THAT(list(), ElementsAre("target"));
}

TEST_F(ReplacedFileTest, ManyThreadsThatReplaceOneTargetLeaveOneWholeFile) {
    constexpr unsigned int nbThreads = 8;
    onThreads(nbThreads, [&](unsigned int thread) {
        for (int round = 0; round < 25; ++round) {
            EXPECT_EQ(replace(_target, std::string(1000, static_cast<char>('a' + thread))), "");
        }
    });
    std::string const bytes = readFile(_target);
    EXPECT_EQ(bytes, std::string(1000, bytes.at(0)));
    EXPECT_THAT(list(), ElementsAre("target"));
}

TEST_F(ReplacedFileTest, AKilledProcessLeavesTheOldFileAndTheNextSaveInTheFolderRemovesTheRest) {
    writeFile(_target, "earlier");
    ASSERT_EQ(replaceAndDie(_target), "killed");
    EXPECT_EQ(readFile(_target), "earlier");
    ASSERT_EQ(list().size(), 2U);
    EXPECT_EQ(replace(_folder / "other", "new"), "");
    EXPECT_THAT(list(), UnorderedElementsAre("other", "target"));
    EXPECT_EQ(readFile(_target), "earlier");
}

// The looks for leftovers must not make each save cost as much as the folder holds.
TEST_F(ReplacedFileTest, InALargeFolderTheLeftoversGoWithOneOfTheNextSaves) {
    for (int name = 0; name < 640; ++name) {
        writeFile(_folder / std::to_string(name), "");
    }
    EXPECT_EQ(replace(_target, "new"), "");
    writeFile(_folder / g_leftover, "half");
    int nbSaves = 0;
    for (; fs::exists(_folder / g_leftover) && nbSaves < 20; ++nbSaves) {
        EXPECT_EQ(replace(_target, "new"), "");
    }
    EXPECT_EQ(nbSaves, 11); // ten that do not look, and one that does
    for (int save = 0; save < 10; ++save) {
        EXPECT_EQ(replace(_target, "new"), ""); // a new folder may get the number of this one
    }
}

TEST_F(ReplacedFileTest, TheTemporaryFileOfALivingProcessStays) {
    ReplacedFile living(_target);
    ASSERT_TRUE(living.create());
    EXPECT_EQ(inChild([&] { return replace(_folder / "other", "new"); }), "");
    EXPECT_TRUE(fs::exists(living.getPath()));
    EXPECT_TRUE(living.commit());
    EXPECT_THAT(list(), UnorderedElementsAre("other", "target"));
}

TEST_F(ReplacedFileTest, FilesOfOtherNamesFoldersAndLinksAreNoLeftovers) {
    std::vector<std::string> names = {".velmo-image-0123456789a.tmp", ".velmo-image-0123456789ab",
                                      ".velmo-image-0123456789aG.tmp", "x.velmo-image-0123456789ab.tmp"};
    for (std::string const& name : names) {
        writeFile(_folder / name, "kept");
    }
    fs::create_directory(_folder / g_leftover);
    std::string const link = ".velmo-image-ba9876543210.tmp";
    writeFile(_folder / "elsewhere", "kept");
    fs::create_symlink("elsewhere", _folder / link);
    std::string const pipe = ".velmo-image-bbbbbbbbbbbb.tmp";
    ASSERT_EQ(mkfifo((_folder / pipe).c_str(), 0600), 0);
    EXPECT_EQ(replace(_target, "new"), "");
    names.insert(names.end(), {g_leftover, link, pipe, "elsewhere", "target"});
    EXPECT_THAT(list(), testing::UnorderedElementsAreArray(names));
}

TEST_F(ReplacedFileTest, AnOldFileThatIsToStayIsRefusedAtItsCreationAndAtTheCommit) {
    EXPECT_EQ(replace(_target, "new", eOldFile::Refuse), "");
    EXPECT_EQ(replace(_target, "newer", eOldFile::Refuse), "create: File exists");
    EXPECT_EQ(readFile(_target), "new");
    fs::remove(_target);
    ReplacedFile file(_target, eOldFile::Refuse);
    ASSERT_TRUE(file.create());
    writeFile(_target, "theirs");
    EXPECT_EQ(file.commit().getMessage(), "File exists");
    EXPECT_EQ(readFile(_target), "theirs");
}

TEST_F(ReplacedFileTest, ADeviceAndAPipeAreWrittenDirectly) {
    ASSERT_EQ(mkfifo(_target.c_str(), 0600), 0);
    for (fs::path const& path : {fs::path("/dev/full"), _target}) {
        ReplacedFile file(path, path == _target ? eOldFile::Replace : eOldFile::Refuse);
        ASSERT_TRUE(file.create());
        EXPECT_EQ(file.getPath(), path);
        EXPECT_TRUE(file.commit());
    }
    EXPECT_TRUE(fs::exists("/dev/full"));
    EXPECT_EQ(fs::status(_target).type(), fs::fifo_file);
    EXPECT_THAT(list(), ElementsAre("target"));
}

TEST_F(ReplacedFileTest, FoldersAndMissingFoldersAreRefusedWithTheReason) {
    fs::create_directory(_target);
    EXPECT_EQ(replace(_target, "new"), "create: Is a directory");
    EXPECT_EQ(replace(_folder / "missing" / "file", "new"), "create: No such file or directory");
    EXPECT_EQ(replace("", "new"), "create: No such file or directory");
    writeFile(_folder / "file", "");
    EXPECT_EQ(replace(_folder / "file" / "file", "new"), "create: Not a directory");
    EXPECT_EQ(list().size(), 2U);
}

TEST_F(ReplacedFileTest, InAFolderThatCannotBeWrittenTheOldFileStays) {
    fs::path const folder = _folder / "closed";
    fs::create_directory(folder);
    writeFile(folder / "file", "earlier");
    fs::permissions(folder / "file", fs::perms(0666));
    fs::permissions(folder, fs::perms(0555));
    std::string const text = asOrdinaryUser(
        [&] { return replace(folder / "file", "new") + ", " + replace(folder / "other", "new"); });
    fs::permissions(folder, fs::perms(0755));
    if (text == g_noSuchUser) {
        GTEST_SKIP() << "this process cannot become another user";
    }
    EXPECT_EQ(text, "create: Permission denied, create: Permission denied");
    EXPECT_EQ(readFile(folder / "file"), "earlier");
    EXPECT_THAT(list(folder), ElementsAre("file"));
}

TEST_F(ReplacedFileTest, OnAFullDiskTheOldFileStays) {
    fs::path const disk = _folder / "disk";
    std::string const text = onPrivateDisk(disk, 64 * 1024, [&] {
        writeFile(disk / "file", "earlier");
        fillDisk(disk / "filler", 4096);
        std::string written;
        {
            ReplacedFile file(disk / "file");
            EXPECT_TRUE(file.create());
            std::ofstream stream(file.getPath().string(), std::ios::binary);
            written = stream << std::string(8192, 'n') << std::flush ? "whole" : "cut";
        }
        return written + ", " + readFile(disk / "file") + ", " + std::to_string(list(disk).size());
    });
    if (text == g_noMount) {
        GTEST_SKIP() << "this process cannot mount a disk";
    }
    EXPECT_EQ(text, "cut, earlier, 2");
}

TEST_F(ReplacedFileTest, WithoutAFreeDescriptorNothingChanges) {
    writeFile(_target, "earlier");
    EXPECT_EQ(inChild([&] {
                  while (dup(0) >= 0) {
                  }
                  return replace(_target, "new");
              }),
              "create: Too many open files");
    EXPECT_EQ(readFile(_target), "earlier");
    EXPECT_THAT(list(), ElementsAre("target"));
}

TEST_F(ReplacedFileTest, ATargetThatIsAFolderByTheCommitIsNotReplaced) {
    {
        ReplacedFile file(_target);
        ASSERT_TRUE(file.create());
        fs::create_directory(_target);
        EXPECT_EQ(file.commit().getMessage(), "Is a directory");
    }
    EXPECT_THAT(list(), ElementsAre("target"));
}

TEST_F(ReplacedFileTest, TextsNameTheTargetInsteadOfTheTemporaryFile) {
    fs::path const target = _folder / "an \"odd\" & name";
    ReplacedFile file(target);
    std::ostringstream quotedTarget;
    quotedTarget << target;
    EXPECT_EQ(file.nameTarget("before " + target.string()), "before " + target.string());
    ASSERT_TRUE(file.create());
    std::ostringstream quotedPath;
    quotedPath << file.getPath();
    EXPECT_EQ(file.nameTarget("at " + file.getPath().string() + ": " + quotedPath.str() + '\n'),
              "at " + target.string() + ": " + quotedTarget.str() + '\n');
}

} // namespace

} // namespace velmo::test
