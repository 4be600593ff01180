#include "platform/os/replacing_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>
#include <thread>

#include "platform/os/file_mapping.h"
#include "support/files.h"

namespace {

using qxos::FileError;
using qxos::ReplacingFile;
using qxtest::FileContent;
using qxtest::PermissionsOf;
using qxtest::PutFile;

void Replace(const std::string& target, const std::string& content) {
    ReplacingFile file(target);
    file.Write(content.data(), content.size());
    file.Commit();
}

// The text of the failure of writing a target, "" when there is none.
std::string FailureOf(const std::string& target, const std::string& content = "new") {
    try {
        Replace(target, content);
    } catch (const FileError& error) {
        EXPECT_EQ(error.FileName(), target);
        EXPECT_NE(error.Code(), 0);
        return error.what();
    }
    return std::string();
}

// A user without rights of its own for a scope, when the tests are run by the superuser.
class PlainUser {
  public:
    PlainUser() : wasRoot(::geteuid() == 0) {
        if (wasRoot && ::seteuid(65534) != 0) {
            ADD_FAILURE() << "the user can't be changed";
        }
    }
    ~PlainUser() {
        if (wasRoot && ::seteuid(0) != 0) {
            ADD_FAILURE() << "the user can't be changed back";
        }
    }

  private:
    const bool wasRoot;
};

class ReplacingFileTest : public ::testing::Test {
  protected:
    qxtest::ScratchFolder folder;
    const std::string target = folder.File("target");
};

TEST_F(ReplacingFileTest, ANewFileIsThereWhenItIsWholeAndNotBefore) {
    ReplacingFile file(target);
    file.Write("ab", 2);
    EXPECT_EQ(FileContent(target), "(no file)");
    EXPECT_EQ(folder.Entries(), 1u);  // beside the target, so that it is on the same disk
    file.Write("c", 1);
    file.Commit();
    EXPECT_EQ(FileContent(target), "abc");
    EXPECT_EQ(folder.Entries(), 1u);
}

TEST_F(ReplacingFileTest, WithoutCommitThereIsNoFile) {
    { ReplacingFile(target).Write("abc", 3); }
    EXPECT_EQ(folder.Entries(), 0u);
}

TEST_F(ReplacingFileTest, AnExistingFileKeepsItsContentUntilTheNewOneIsWhole) {
    PutFile(target, "the old content");
    { ReplacingFile(target).Write("abc", 3); }
    EXPECT_EQ(FileContent(target), "the old content");
    Replace(target, "abc");
    EXPECT_EQ(FileContent(target), "abc");
    Replace(target, "");
    EXPECT_EQ(FileContent(target), "");
    EXPECT_EQ(folder.Entries(), 1u);
}

TEST_F(ReplacingFileTest, BytesComeInOrderWhateverTheSizesOfTheWrites) {
    constexpr std::size_t edge = 64 * 1024;
    for (const std::size_t size : {std::size_t{1}, edge - 1, edge, edge + 1, 3 * edge + 5}) {
        std::string expected;
        ReplacingFile file(target);
        for (const std::size_t count : {std::size_t{3}, size, std::size_t{0}, std::size_t{7}, size}) {
            std::string piece(count, '\0');
            std::generate(piece.begin(), piece.end(), [n = 0]() mutable { return static_cast<char>(n++); });
            file.Write(piece.data(), piece.size());
            expected += piece;
        }
        file.Commit();
        EXPECT_TRUE(FileContent(target) == expected) << size;
    }
}

TEST_F(ReplacingFileTest, ANewFileHasThePermissionsOfAnyOther) {
    for (const mode_t mask : {022, 077, 002, 000}) {
        const mode_t old = ::umask(mask);
        Replace(target, "new");
        ::umask(old);
        EXPECT_EQ(PermissionsOf(target), 0666u & ~mask);
        ::unlink(target.c_str());
    }
}

TEST_F(ReplacingFileTest, AnExistingFileKeepsItsPermissions) {
    for (const mode_t mode : {0600, 0644, 0666, 0755, 0640}) {
        PutFile(target, "old");
        ASSERT_EQ(::chmod(target.c_str(), mode), 0);
        Replace(target, "new");
        EXPECT_EQ(PermissionsOf(target), mode);
        EXPECT_EQ(FileContent(target), "new");
    }
}

TEST_F(ReplacingFileTest, NobodyElseReadsTheNewContentOfAPrivateFile) {
    PutFile(target, "old");
    ASSERT_EQ(::chmod(target.c_str(), 0600), 0);
    ReplacingFile file(target);
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        EXPECT_EQ(PermissionsOf(entry.path()), 0600u) << entry.path();
    }
}

TEST_F(ReplacingFileTest, ALinkStaysAndLeadsToTheNewContent) {
    ASSERT_EQ(::mkdir(folder.File("sub").c_str(), 0700), 0);
    const std::string real = folder.File("sub/real");
    // By a path of its own folder, by way of another link, and to a file that is not yet there.
    ASSERT_EQ(::symlink("sub/real", target.c_str()), 0);
    ASSERT_EQ(::symlink("target", folder.File("other").c_str()), 0);
    for (const std::string& name : {target, folder.File("other")}) {
        Replace(name, "through " + name);
        EXPECT_EQ(FileContent(real), "through " + name);
        EXPECT_TRUE(std::filesystem::is_symlink(name));
    }
    EXPECT_EQ(folder.Entries(), 3u);
}

TEST_F(ReplacingFileTest, AnEndlessLinkIsRefused) {
    ASSERT_EQ(::symlink("target", target.c_str()), 0);
    EXPECT_EQ(FailureOf(target), "\"" + target + "\" can't be written: Too many levels of symbolic links");
}

TEST_F(ReplacingFileTest, ARelativeNameIsThatOfTheFolderItWasGivenIn) {
    const std::filesystem::path old = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    ReplacingFile file("target");
    std::filesystem::current_path(old);
    file.Write("new", 3);
    file.Commit();
    EXPECT_EQ(FileContent(target), "new");
}

TEST_F(ReplacingFileTest, WhatIsNoFileIsWrittenDirectly) {
    Replace("/dev/null", "lost");
    struct stat status = {};
    ASSERT_EQ(::stat("/dev/null", &status), 0);
    EXPECT_TRUE(S_ISCHR(status.st_mode));

    ASSERT_EQ(::mkfifo(target.c_str(), 0600), 0);
    std::string read;
    std::thread reader([&] { read = FileContent(target); });
    Replace(target, "through a pipe");
    reader.join();
    EXPECT_EQ(read, "through a pipe");
    EXPECT_EQ(folder.Entries(), 1u);
}

TEST_F(ReplacingFileTest, AnOpenFileBelowProcIsWrittenDirectly) {
    PutFile(target, "old");
    const int open = ::open(target.c_str(), O_RDWR);
    ASSERT_GE(open, 0);
    struct stat before = {};
    ASSERT_EQ(::fstat(open, &before), 0);
    for (const char* const folderName : {"/proc/self/fd/", "/dev/fd/"}) {
        Replace(folderName + std::to_string(open), folderName);
        struct stat after = {};
        ASSERT_EQ(::stat(target.c_str(), &after), 0);
        EXPECT_EQ(after.st_ino, before.st_ino);
        EXPECT_EQ(FileContent(target), folderName);
    }
    ::close(open);
}

TEST_F(ReplacingFileTest, BadTargetsAreRefusedAtOnce) {
    PutFile(target, "old");
    const std::string longName(300, 'n');
    const struct {
        std::string name;
        std::string reason;
    } cases[] = {
        {folder.Path(), "Is a directory"},
        {folder.Path() + "/", "Is a directory"},
        {folder.File("missing/file"), "No such file or directory"},
        {folder.File("missing/"), "No such file or directory"},
        {target + "/file", "Not a directory"},
        {folder.File(longName), "File name too long"},
        {"", "No such file or directory"},
        {std::string("zero\0byte", 9), "Invalid argument"},
    };
    for (const auto& bad : cases) {
        // A message is a text without zero bytes.
        const std::string shown = bad.name.c_str();
        EXPECT_EQ(FailureOf(bad.name), "\"" + shown + "\" can't be written: " + bad.reason);
    }
    EXPECT_EQ(folder.Entries(), 1u);
    EXPECT_EQ(FileContent(target), "old");
}

TEST_F(ReplacingFileTest, AFileThatMayNotBeWrittenIsNotReplaced) {
    PutFile(target, "old");
    ASSERT_EQ(::chmod(target.c_str(), 0444), 0);
    ASSERT_EQ(::chmod(folder.Path().c_str(), 0777), 0);
    const PlainUser user;
    EXPECT_EQ(FailureOf(target), "\"" + target + "\" can't be written: Permission denied");
    EXPECT_EQ(FileContent(target), "old");
    EXPECT_EQ(folder.Entries(), 1u);
}

TEST_F(ReplacingFileTest, AFolderThatMayNotBeWrittenTakesNoFile) {
    PutFile(target, "old");
    ASSERT_EQ(::chmod(target.c_str(), 0666), 0);
    ASSERT_EQ(::chmod(folder.Path().c_str(), 0555), 0);
    {
        const PlainUser user;
        for (const std::string& name : {target, folder.File("new")}) {
            EXPECT_EQ(FailureOf(name), "\"" + name + "\" can't be written: Permission denied");
        }
    }
    ASSERT_EQ(::chmod(folder.Path().c_str(), 0755), 0);
    EXPECT_EQ(FileContent(target), "old");
    EXPECT_EQ(folder.Entries(), 1u);
}

TEST_F(ReplacingFileTest, AGroupThatCannotBeKeptGetsNoMoreThanAnybody) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can give a file a foreign group";
    }
    PutFile(target, "old");
    ASSERT_EQ(::chown(target.c_str(), 65534, 12345), 0);
    ASSERT_EQ(::chmod(target.c_str(), 0664), 0);
    ASSERT_EQ(::chmod(folder.Path().c_str(), 0777), 0);
    Replace(target, "by root");
    struct stat status = {};
    ASSERT_EQ(::stat(target.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 65534u);
    EXPECT_EQ(status.st_gid, 12345u);
    EXPECT_EQ(PermissionsOf(target), 0664u);
    {
        const PlainUser user;
        Replace(target, "by its owner");
    }
    ASSERT_EQ(::stat(target.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 65534u);
    if (status.st_gid != 12345u) {
        EXPECT_EQ(PermissionsOf(target), 0644u);
    }
    EXPECT_EQ(FileContent(target), "by its owner");
}

TEST_F(ReplacingFileTest, AFullDiskIsToldAndLeavesTheOldContent) {
    PutFile(target, "old");
    // Noticed in a write, and with the last bytes in Commit.
    for (const std::size_t size : {std::size_t{300} * 1024, std::size_t{20} * 1024}) {
        const qxtest::FileSizeLimit limit(10 * 1024);
        EXPECT_EQ(FailureOf(target, std::string(size, 'x')),
                  "\"" + target + "\" can't be written: File too large");
    }
    EXPECT_EQ(FileContent(target), "old");
    EXPECT_EQ(folder.Entries(), 1u);
    for (const std::size_t size : {std::size_t{300} * 1024, std::size_t{1}}) {
        EXPECT_EQ(FailureOf("/dev/full", std::string(size, 'x')),
                  "\"/dev/full\" can't be written: No space left on device");
    }
}

TEST_F(ReplacingFileTest, ATargetThatBecameADirectoryIsToldAtTheEnd) {
    ReplacingFile file(target);
    file.Write("new", 3);
    ASSERT_EQ(::mkdir(target.c_str(), 0700), 0);
    try {
        file.Commit();
        ADD_FAILURE() << "no failure";
    } catch (const FileError& error) {
        EXPECT_EQ(error.Code(), EISDIR);
    }
    EXPECT_EQ(folder.Entries(), 2u);  // the new file goes with its object
}

TEST_F(ReplacingFileTest, AProcessThatEndsEarlyLeavesNothingBehind) {
    PutFile(target, "old");
    ReplacingFile file(target);
    EXPECT_EQ(folder.Entries(), 2u);
    qxos::RemoveOpenTempFiles();
    EXPECT_EQ(folder.Entries(), 1u);
    EXPECT_EQ(FileContent(target), "old");
    EXPECT_THROW(file.Commit(), FileError);
}

}  // namespace
