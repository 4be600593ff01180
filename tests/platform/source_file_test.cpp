#include "platform/os/source_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>
#include <thread>

#include "support/files.h"

namespace {

using qxos::FileError;
using qxos::SourceFile;

class SourceFileTest : public ::testing::Test {
  protected:
    qxtest::ScratchFolder folder;
    const std::string path = folder.File("source");
};

TEST_F(SourceFileTest, BytesComeInOrderAndThenNone) {
    qxtest::PutFile(path, std::string("ab\0cdefg", 8));
    SourceFile file(path);
    EXPECT_TRUE(file.IsRegular());
    EXPECT_EQ(file.GetSize(), 8);
    char buffer[5];
    ASSERT_EQ(file.Read(buffer, 5), 5u);
    EXPECT_EQ(std::string(buffer, 5), std::string("ab\0cd", 5));
    ASSERT_EQ(file.Read(buffer, 5), 3u);
    EXPECT_EQ(std::string(buffer, 3), "efg");
    EXPECT_EQ(file.Read(buffer, 5), 0u);
    EXPECT_EQ(file.Read(buffer, 5), 0u);
}

TEST_F(SourceFileTest, AnEmptyFileHasNoBytes) {
    qxtest::PutFile(path, "");
    SourceFile file(path);
    EXPECT_EQ(file.GetSize(), 0);
    char byte;
    EXPECT_EQ(file.Read(&byte, 1), 0u);
}

TEST_F(SourceFileTest, TheSizeIsThatOfItsOpeningWhateverBecomesOfIt) {
    qxtest::PutFile(path, "12345678");
    SourceFile file(path);
    ASSERT_EQ(::truncate(path.c_str(), 3), 0);
    char buffer[8];
    EXPECT_EQ(file.GetSize(), 8);
    EXPECT_EQ(file.Read(buffer, 8), 3u);
}

TEST_F(SourceFileTest, APipeIsReadInFullPieces) {
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    std::thread writer([this] {
        std::ofstream pipe(path);
        for (const char* const piece : {"a", "bc", "d"}) {
            pipe << piece << std::flush;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
    SourceFile file(path);
    EXPECT_FALSE(file.IsRegular());
    EXPECT_EQ(file.GetSize(), 0);
    char buffer[4];
    EXPECT_EQ(file.Read(buffer, 3), 3u);
    EXPECT_EQ(file.Read(buffer, 4), 1u);
    writer.join();
}

TEST_F(SourceFileTest, WhatCannotBeReadIsNamed) {
    const struct {
        std::string name;
        int code;
        std::string reason;
    } cases[] = {
        {folder.File("missing"), ENOENT, "No such file or directory"},
        {folder.Path(), EISDIR, "Is a directory"},
        {"", ENOENT, "No such file or directory"},
        {std::string("zero\0byte", 9), EINVAL, "Invalid argument"},
    };
    for (const auto& bad : cases) {
        try {
            SourceFile file(bad.name);
            ADD_FAILURE() << "no failure for " << bad.name;
        } catch (const FileError& error) {
            EXPECT_EQ(error.FileName(), bad.name);
            EXPECT_EQ(error.Code(), bad.code);
            EXPECT_EQ(error.what(), "\"" + std::string(bad.name.c_str()) + "\" can't be read: " + bad.reason);
        }
    }
}

}  // namespace
