#include "platform/os/file_removal.h"

#include <gtest/gtest.h>

#include <fstream>

#include "platform/os/file_mapping.h"
#include "platform/os/loaded_module.h"

namespace {

TEST(RemoveFileTest, RemovesFilesOnly) {
    qxos::TempFile file;
    ASSERT_TRUE(file.Create("removal_"));
    const std::string path = file.Keep();
    EXPECT_TRUE(qxos::RemoveFile(path));
    EXPECT_FALSE(std::ifstream(path).is_open());
    EXPECT_FALSE(qxos::RemoveFile(path));
    EXPECT_FALSE(qxos::RemoveFile(""));
    EXPECT_FALSE(qxos::RemoveFile(qxos::TempDirectory()));
}

TEST(LoadedModuleTest, OneHandleForEachModule) {
    static int data = 0;
    void* const program = qxos::LoadedModuleAt(&data);
    EXPECT_NE(program, nullptr);
    EXPECT_EQ(qxos::LoadedModuleAt(reinterpret_cast<const void*>(&qxos::RemoveFile)), program);
    EXPECT_EQ(qxos::LoadedModuleAt(nullptr), nullptr);
}

}  // namespace
