// Files that cannot be opened, written or read, and stores that cannot be read.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "persistence_support.h"
#include "storage/append_only_results_storage.h"

namespace qxdbsqlengine {
namespace {

class FileFailureTest : public PersistenceTest {
  protected:
    void ExpectFailure(int code, const std::string& path) {
        ASSERT_EQ(callback.records.size(), 1u);
        const ErrorRecord& record = callback.records[0];
        EXPECT_EQ(record.GetSeverity(), 2);
        EXPECT_EQ(record.GetErrorCode(), code);
        EXPECT_EQ(record.GetErrorDescription(), path + " -- " + std::strerror(code));
        callback.records.clear();
    }
    bool Write(const std::string& path) {
        Persistence persistence(ResultFileComma, cancel, &callback, store);
        persistence.SetFileName(path.c_str());
        return persistence.WriteAllResultSets();
    }
    bool Read(const std::string& path) {
        Persistence persistence(ResultFileComma, cancel, &callback, store);
        persistence.SetFileName(path.c_str());
        return persistence.ReadAllResultSets();
    }
};

TEST_F(FileFailureTest, TheDirectoryIsMissing) {
    const std::string path = folder.Path("missing/file");
    EXPECT_FALSE(Write(path));
    ExpectFailure(ENOENT, path);
    EXPECT_FALSE(Read(path));
    ExpectFailure(ENOENT, path);
}

TEST_F(FileFailureTest, TheNameIsEmpty) {
    EXPECT_FALSE(Write(""));
    ASSERT_EQ(callback.records.size(), 1u);
    EXPECT_EQ(callback.records[0].GetErrorDescription(), std::strerror(ENOENT));
}

TEST_F(FileFailureTest, TheTargetIsADirectory) {
    const std::string path = folder.Path("folder");
    std::filesystem::create_directory(path);
    EXPECT_FALSE(Write(path));
    ExpectFailure(EISDIR, path);
    EXPECT_FALSE(Read(path));
    ExpectFailure(EISDIR, path);
    EXPECT_EQ(store->GetNumberOfResultSets(), 0);
}

TEST_F(FileFailureTest, TheDirectoryIsReadOnly) {
    const std::string closed = folder.Path("closed");
    std::filesystem::create_directory(closed);
    chmod(closed.c_str(), 0500);
    const bool superUser = geteuid() == 0;  // may write anywhere: be somebody else meanwhile
    if (superUser) {
        ASSERT_EQ(seteuid(65534), 0);
    }
    const bool written = Write(closed + "/file");
    if (superUser) {
        ASSERT_EQ(seteuid(0), 0);
    }
    EXPECT_FALSE(written);
    ExpectFailure(EACCES, closed + "/file");
}

TEST_F(FileFailureTest, WriteResultSetReportsToo) {
    AddTextResultSet(*store, {"A"}, {{"0"}});
    const std::string path = folder.Path("missing/file");
    Persistence persistence(ResultFileComma, cancel, &callback, store);
    persistence.SetFileName(path.c_str());
    EXPECT_FALSE(persistence.WriteResultSet(0, true));
    ExpectFailure(ENOENT, path);
    EXPECT_FALSE(persistence.WriteResultSet(0, false));
    ExpectFailure(ENOENT, path);
    EXPECT_FALSE(persistence.WriteResultSets({0}));
    ExpectFailure(ENOENT, path);
    persistence.SetFileName(file.c_str());  // and recovers
    EXPECT_TRUE(persistence.WriteResultSet(0, true));
    EXPECT_EQ(ReadWholeFile(file), "A\r\n0\r\n");
}

TEST_F(FileFailureTest, AFullDiskIsNoSuccess) {
    if (!std::filesystem::exists("/dev/full"))
        return;
    AddTextResultSet(*store, {"A"}, {{"0"}});
    EXPECT_FALSE(Write("/dev/full"));
    ExpectFailure(ENOSPC, "/dev/full");
    Persistence persistence(ResultFileComma, cancel, &callback, store);
    persistence.SetFileName("/dev/full");
    EXPECT_FALSE(persistence.WriteResultSet(0, true));
    ExpectFailure(ENOSPC, "/dev/full");
    EXPECT_FALSE(persistence.WriteResultSet(0, false));
    ExpectFailure(ENOSPC, "/dev/full");
    persistence.SetFileName(file.c_str());
    EXPECT_TRUE(persistence.WriteAllResultSets());
    EXPECT_EQ(ReadWholeFile(file), "A\r\n0\r\n");
}

TEST_F(FileFailureTest, AFullDiskStopsTheExportAtOnce) {
    if (!std::filesystem::exists("/dev/full"))
        return;
    // 4000 rows of 1 KiB: the first block fails long before the last row.
    AddTextResultSet(*store, {"A"}, std::vector<Row>(4000, Row{std::string(1024, 'x')}));
    AddTextResultSet(*store, {"B"}, {{"0"}});
    EXPECT_FALSE(Write("/dev/full"));
    ExpectFailure(ENOSPC, "/dev/full");
    EXPECT_GT(callback.progress.size(), 200u);
    EXPECT_LT(callback.progress.size(), 300u);
}

TEST_F(FileFailureTest, AFileThatEndsEarlyIsNoSuccess) {
    // The file is cut while it is read: more than one block, so that the rest is missed.
    std::string text = "A\r\n";
    while (text.size() < 3 * 1024 * 1024)
        text += std::string(1000, 'x') + "\r\n";
    WriteWholeFile(file, text);
    callback.onProgress = [this] {
        if (callback.progress.size() == 1)
            std::filesystem::resize_file(file, 2 * 1024 * 1024);
    };
    EXPECT_FALSE(Read(file));
    ASSERT_EQ(callback.records.size(), 1u);
    EXPECT_EQ(callback.records[0].GetSeverity(), 2);
    EXPECT_EQ(callback.records[0].GetErrorDescription(),
              file + " -- The file ended after 2097152 of " + std::to_string(text.size()) + " bytes");
    EXPECT_EQ(store->GetNumberOfRows(0), static_cast<int>(callback.progress.size()));
}

TEST_F(FileFailureTest, AnExceptionOfTheCallbackClosesTheInput) {
    WriteWholeFile(file, "A\r\n1\r\n2\r\n");
    Persistence persistence(ResultFileComma, cancel, &callback, store);
    persistence.SetFileName(file.c_str());
    callback.onProgress = [] { throw std::runtime_error("stop"); };
    EXPECT_THROW(persistence.ReadAllResultSets(), std::runtime_error);
    EXPECT_EQ(Cells(*store, 0), (std::vector<std::vector<std::string>>{{"1"}}));
    callback.onProgress = nullptr;
    EXPECT_TRUE(persistence.ReadAllResultSets());
    EXPECT_EQ(Cells(*store, 1), (std::vector<std::vector<std::string>>{{"1"}, {"2"}}));
    InsertTextRow(*store, 1, {"3"});  // the row lock is free
}

// A store whose lock is not to be had, or whose rows cannot be read, for a number of visits.
class StubbornStore : public AppendOnlyResultsStorage {
  public:
    bool VisitRow(int index, int rs, int row, const int* columns, int count, const CellFormat& format,
                  CellSink& sink) override {
        ++visits;
        if (refusals > 0) {
            --refusals;
            return false;
        }
        if (row == throwAt) {
            sink.OnCell(0, false, "half");
            throw std::runtime_error("page is gone");
        }
        return AppendOnlyResultsStorage::VisitRow(index, rs, row, columns, count, format, sink);
    }
    int visits = 0;
    int refusals = 0;
    int throwAt = -1;
};

class StubbornStoreTest : public FileFailureTest {
  protected:
    StubbornStoreTest() {
        stubborn = new StubbornStore;
        store = SmartPtr<DataStorage>(new DataStorage(stubborn));
        AddTextResultSet(*store, {"A", "B"}, {{"0", "1"}, {"2", "3"}});
    }
    StubbornStore* stubborn;  // owned by the handle
};

TEST_F(StubbornStoreTest, ABusyStoreIsTriedAgain) {
    stubborn->refusals = 11;
    EXPECT_TRUE(Write(file));
    EXPECT_EQ(ReadWholeFile(file), "A,B\r\n0,1\r\n2,3\r\n");
    EXPECT_EQ(stubborn->visits, 13);
    EXPECT_TRUE(callback.records.empty());
}

TEST_F(StubbornStoreTest, AStoreThatStaysBusyIsNoSuccess) {
    stubborn->refusals = 12;
    EXPECT_FALSE(Write(file));
    EXPECT_EQ(stubborn->visits, 12);
    ASSERT_EQ(callback.records.size(), 1u);
    EXPECT_EQ(callback.records[0].GetErrorCode(), ETIMEDOUT);
    EXPECT_EQ(callback.records[0].GetErrorDescription(),
              file + " -- Row 1 could not be read: the store is in use");
    EXPECT_TRUE(callback.progress.empty());
}

TEST_F(StubbornStoreTest, ARowThatCannotBeReadIsNotHalfWritten) {
    stubborn->throwAt = 1;
    EXPECT_THROW(Write(file), std::runtime_error);
    EXPECT_EQ(ReadWholeFile(file), "A,B\r\n0,1\r\n");
    EXPECT_TRUE(callback.records.empty());
}

}  // namespace
}  // namespace qxdbsqlengine
