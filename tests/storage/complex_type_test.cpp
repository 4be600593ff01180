#include "storage/complex_type.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>

#include "platform/os/file_mapping.h"
#include "storage/storage_doubles.h"

namespace qxdbsqlengine {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

// Tells how often it was told to be XML, through all clones.
class TalkativeLocator : public qxdb::LobLocatorImp {
  public:
    explicit TalkativeLocator(int& xmlCount) : xml(xmlCount) {}
    std::unique_ptr<LobLocatorImp> Clone() const override { return std::make_unique<TalkativeLocator>(xml); }
    qxdb::DynBuffer GetLocatorData() const override { return qxdb::DynBuffer(); }
    void SetLocatorData(const qxdb::DynBuffer&) override {}
    bool IsValid(bool check) const override { return check; }
    bool IsReadOnly() const override { return false; }
    bool EditAsClob() const override { return false; }
    std::string TableName() const override { return "T"; }
    void SetAsXMLType() override { ++xml; }
    void Import(const std::string&, qxdb::Connection&, std::list<std::string>*) override {}
    void Export(const std::string&, qxdb::Connection&, std::list<std::string>*) override {}

  private:
    int& xml;
};

std::string FileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

TEST(LobExtractTest, AsksItsLocator) {
    int xml = 0;
    const qxdb::LobLocator locator(new TalkativeLocator(xml));
    LobExtract lob(locator, {"1", "[NULL]"}, "");
    EXPECT_EQ(DataTypeLob, lob.GetDataType());
    EXPECT_FALSE(lob.EditAsClob());
    EXPECT_FALSE(lob.IsReadOnly());
    EXPECT_TRUE(lob.IsValid(true));
    EXPECT_FALSE(lob.IsValid(false));
    EXPECT_EQ("T", lob.TableName());
    lob.SetAsXMLType();
    EXPECT_EQ(1, xml);
    EXPECT_EQ("T", lob.GetLobLocator().TableName());
    EXPECT_THAT(lob.GetValueList(), ElementsAre("1", "[NULL]"));
}

TEST(LobExtractTest, FileIsTemporaryUntilItIsNamed) {
    LobExtract named(qxdb::LobLocator(), {}, "photo.bin");
    EXPECT_FALSE(named.IsTempFileName());
    EXPECT_EQ("photo.bin", named.GetFileName());
    LobExtract unnamed(qxdb::LobLocator(), {}, "");
    EXPECT_TRUE(unnamed.IsTempFileName());
    EXPECT_EQ("", unnamed.GetFileName());
    unnamed.SetFileName("chosen.bin");
    EXPECT_FALSE(unnamed.IsTempFileName());
    EXPECT_EQ("chosen.bin", unnamed.GetFileName());
}

TEST(LobExtractTest, PlaceOfTheCell) {
    LobExtract lob(qxdb::LobLocator(), {}, "");
    EXPECT_EQ(0, lob.GetRow());
    EXPECT_EQ(0, lob.GetCol());
    lob.SetRow(7);
    lob.SetCol(3);
    EXPECT_EQ(7, lob.GetRow());
    EXPECT_EQ(3, lob.GetCol());
}

TEST(LobExtractTest, ReadsTheBytesOfItsFile) {
    qxos::TempFile file;
    ASSERT_TRUE(file.Create("QXTEST_"));
    const std::string bytes("a\r\n\0b\n", 6);
    std::ofstream(file.GetPath(), std::ios::binary) << bytes;
    LobExtract lob(qxdb::LobLocator(), {}, file.GetPath());
    std::string text = "before";
    EXPECT_TRUE(lob.AsString(text));
    EXPECT_EQ(bytes, text);
}

TEST(LobExtractTest, MissingFileLeavesTheTextAlone) {
    LobExtract lob(qxdb::LobLocator(), {}, qxos::TempDirectory() + "/no-such-folder/file");
    std::string text = "before";
    EXPECT_FALSE(lob.AsString(text));
    EXPECT_EQ("before", text);
}

TEST(NamedTypeExtractTest, TakesTheTextOver) {
    std::string given = "(1, 2)";
    NamedTypeExtract value(given);
    EXPECT_EQ("", given);
    EXPECT_EQ(DataTypeNamedType, value.GetDataType());
    EXPECT_TRUE(value.EditAsClob());
    EXPECT_TRUE(value.IsReadOnly());
    EXPECT_TRUE(value.IsTempFileName());
    std::string text = "before";
    EXPECT_TRUE(value.AsString(text));
    EXPECT_EQ("(1, 2)", text);
}

TEST(NamedTypeExtractTest, WritesToATemporaryFile) {
    std::string given("(1,\r\n\0)", 7);
    const std::string bytes = given;
    NamedTypeExtract value(given);
    ASSERT_TRUE(value.WriteToFile(""));
    EXPECT_THAT(value.GetFileName(), StartsWith(qxos::TempDirectory() + "/VAR_"));
    EXPECT_EQ(bytes, FileBytes(value.GetFileName()));
    EXPECT_TRUE(value.IsTempFileName());
    EXPECT_EQ(0, std::remove(value.GetFileName().c_str()));
}

TEST(NamedTypeExtractTest, WritesToTheGivenFile) {
    qxos::TempFile file;
    ASSERT_TRUE(file.Create("QXTEST_"));
    std::ofstream(file.GetPath()) << "something longer than the text";
    std::string given = "(1, 2)";
    NamedTypeExtract value(given);
    EXPECT_TRUE(value.WriteToFile(file.GetPath()));
    EXPECT_EQ(file.GetPath(), value.GetFileName());
    EXPECT_EQ("(1, 2)", FileBytes(file.GetPath()));
}

TEST(NamedTypeExtractTest, FailuresAreFalse) {
    std::string given = "(1, 2)";
    NamedTypeExtract value(given);
    const std::string impossible = qxos::TempDirectory() + "/no-such-folder/file";
    EXPECT_FALSE(value.WriteToFile(impossible));
    EXPECT_EQ(impossible, value.GetFileName());
    RefusingFiles files;
    files.refuseCreates = true;
    EXPECT_FALSE(value.WriteToFile(""));
}

}  // namespace
}  // namespace qxdbsqlengine
