#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <random>
#include <stdexcept>
#include <thread>

#include "storage/container_support.h"
#include "storage/read_access.h"

namespace qxdbsqlengine {
namespace {

// Runs `call` on another thread and returns its result.
template <class Call>
auto Elsewhere(Call call) {
    return std::async(std::launch::async, call).get();
}

TEST(StoreThreadsTest, ReadersWaitFiveSeconds) {
    class Visible : public AppendOnlyResultsStorage {
      public:
        using AppendOnlyResultsStorage::readLimitMs;
    } store;
    EXPECT_EQ(5000, store.readLimitMs);
    EXPECT_EQ(5000, ReadAccess::DefaultLimitMs);
}

TEST(StoreThreadsTest, ReaderThatGetsNoLockGetsEmptyValues) {
    ImpatientStorage store(10);
    const int view = store.CreateNewIndex();
    store.AddResultSet(Columns({DataTypeString, DataTypeInt, DataTypeDecimal, DataTypeLob, DataTypeNamedType,
                                DataTypeTimestamp, DataTypeDouble}),
                       ResultSetMessage);
    store.SetTagName(0, "tag");
    store.InsertString(0, 0, "text");
    store.InsertInt(0, 1, 5);
    store.InsertNull(0, 2);
    store.InsertLobData(0, 3, "preview", qxdb::DynBuffer());
    store.InsertString(0, 4, "(1)");
    store.InsertTimestamp(0, 5, qxdb::Timestamp("2024-01-02 03:04:05.000"));
    store.InsertDouble(0, 6, 1.5);
    RowLock row = store.GetRowLock(0);
    ASSERT_TRUE(row.Lock());
    Elsewhere([&] {
        std::locale locale = std::locale::classic();
        EXPECT_EQ(0, store.GetNumberOfResultSets());
        EXPECT_EQ(0, store.GetNumberOfRows(view, 0));
        EXPECT_EQ(0, store.GetNumberOfColumns(0));
        EXPECT_EQ(ResultSetNormal, store.GetResultSetType(0));
        EXPECT_EQ(DataTypeString, store.GetDataType(0, 1));
        EXPECT_EQ("", store.GetString(view, 0, 0, 0));
        EXPECT_EQ(0, store.GetInt(view, 0, 0, 1));
        EXPECT_EQ(0, store.GetDouble(view, 0, 0, 6));
        EXPECT_EQ(0, store.GetDecimal(view, 0, 0, 2).Compare(qxdb::Decimal()));
        EXPECT_EQ(qxdb::Timestamp(), store.GetTimestamp(view, 0, 0, 5));
        EXPECT_FALSE(store.IsNull(view, 0, 0, 2));
        EXPECT_EQ("", store.AsString(view, 0, 0, 2, locale));
        EXPECT_EQ(-1, store.FindColumnLabel(0, ""));
        EXPECT_EQ(0, store.FindString(view, 0, 0, "text", 0));
        EXPECT_EQ(0, store.CompareItems(view, 0, 1, 0, 7));
        EXPECT_EQ("", store.GetTagName(0));
        EXPECT_FALSE(store.IsSorted(view, 0));
        EXPECT_EQ(7, store.GetRowTranslation(view, 0, 7));
        EXPECT_EQ(7, store.GetRowFromIndex(view, 0, 7));
        LobExtract lob = store.GetLob(view, 0, 0, 3);
        EXPECT_FALSE(lob.IsValid(true));
        EXPECT_TRUE(lob.GetValueList().empty());
        std::string text = "before";
        EXPECT_TRUE(store.GetNamedType(view, 0, 0, 4).AsString(text));
        EXPECT_EQ("", text);
        std::deque<int> rows = {3};
        store.TrackRearrangedRows(view, 0, view, rows);
        EXPECT_EQ(3, rows.front());
        // Not even a bad number is noticed.
        EXPECT_EQ("", store.GetString(view, 9, 0, 9));
        class Sink : public CellSink {
          public:
            void OnCell(int, bool, std::string_view) override { FAIL() << "nothing may be handed out"; }
        } sink;
        const int columns[] = {0};
        EXPECT_FALSE(store.VisitRow(view, 0, 0, columns, 1, CellFormat::Classic(), sink));
        EXPECT_FALSE(store.BeginReads());
    });
    row.UnLock();
    Elsewhere([&] { EXPECT_EQ("text", store.GetString(view, 0, 0, 0)); });
}

TEST(StoreThreadsTest, WriterReadsUnderItsOwnLock) {
    DataStorage store = TextStore({"a"});
    RowLock row = store.GetRowLock(0);
    row.Lock();
    EXPECT_EQ("a", store.GetString(0, 0, 0));
    row.UnLock();
    store.WriteLockAll();
    EXPECT_EQ("a", store.GetString(0, 0, 0));
    store.Sort(0, {DataSort(0, true)}, nullptr, 0);
    store.UnlockAll();
}

// A span of reads keeps writers and other readers out, and nobody else's span begins while a reader waits.
TEST(StoreThreadsTest, SpansOfReadsKeepOthersOutAndLetThemInBetween) {
    DataStorage store = TextStore({"a", "b"});
    ASSERT_TRUE(store.BeginReads());
    ASSERT_TRUE(store.BeginReads());  // as often as wanted
    EXPECT_EQ("b", store.GetString(0, 1, 0));
    store.EndReads();
    EXPECT_EQ("a", store.GetString(0, 0, 0));
    std::atomic<int> done{0};
    std::thread reader([&] {
        EXPECT_EQ("a", store.GetString(0, 0, 0));
        ++done;
    });
    // Once it sleeps, no further span begins. (Its wait has a limit of seconds.)
    while (store.BeginReads()) {
        store.EndReads();
        std::this_thread::yield();
    }
    EXPECT_EQ(0, done);
    store.EndReads();
    reader.join();
    EXPECT_EQ(1, done);
    ASSERT_TRUE(store.BeginReads());
    std::thread writer([&] {
        store.WriteLockAll();
        ++done;
        store.UnlockAll();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(1, done);
    EXPECT_EQ("b", store.GetString(0, 1, 0));  // also behind a writer that waits
    store.EndReads();
    writer.join();
    EXPECT_EQ(2, done);
}

class LockAllTest : public testing::Test {
  protected:
    LockAllTest() {
        view = store.CreateNewIndex();
        store.AddResultSet(Columns({DataTypeInt}), ResultSetNormal);
        store.InsertInt(0, 0, 5);
    }
    // What another thread may do at the moment.
    bool CanRead() {
        return Elsewhere([this] { return store.GetInt(view, 0, 0, 0) == 5; });
    }

    ImpatientStorage store{20};
    int view = 0;
};

TEST_F(LockAllTest, LockAllKeepsWritersOutAndReadersIn) {
    store.LockAll();
    store.LockAll();
    EXPECT_TRUE(CanRead());
    std::atomic<bool> written{false};
    std::thread writer([&] {
        RowLock row = store.GetRowLock(0);
        row.Lock();
        store.InsertInt(0, 0, 6);
        written = true;
        row.UnLock();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(written);
    EXPECT_EQ(1, store.GetNumberOfRows(view, 0));
    store.UnlockAll();  // not counted: one is enough
    writer.join();
    EXPECT_EQ(2, store.GetNumberOfRows(view, 0));
}

TEST_F(LockAllTest, WriteLockAllKeepsEverybodyOut) {
    store.WriteLockAll();
    store.WriteLockAll();
    store.LockAll();
    EXPECT_FALSE(CanRead());
    store.UnlockAll();
    EXPECT_TRUE(CanRead());
}

TEST_F(LockAllTest, WriteLockAllFollowsLockAll) {
    store.LockAll();
    store.WriteLockAll();
    EXPECT_FALSE(CanRead());
    store.UnlockAll();
    EXPECT_TRUE(CanRead());
    store.UnlockAll();
    EXPECT_TRUE(CanRead());
}

TEST_F(LockAllTest, HoldsBelongToTheirThreads) {
    store.LockAll();
    Elsewhere([this] {
        store.LockAll();
        store.UnlockAll();
        store.UnlockAll();
    });
    // This thread's hold is still there.
    std::atomic<bool> written{false};
    std::thread writer([&] {
        store.SetTagName(0, "tag");
        written = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_FALSE(written);
    store.UnlockAll();
    writer.join();
    EXPECT_TRUE(written);
}

TEST_F(LockAllTest, ChangeUnderLockAllIsRefused) {
    store.LockAll();
    EXPECT_THROW(store.Sort(view, 0, {DataSort(0, true)}, nullptr, 0), std::runtime_error);
    EXPECT_THROW(store.HideRow(view, 0, 0), std::runtime_error);
    EXPECT_THROW(store.CreateNewIndexAsCopyOfIndex(view), std::runtime_error);
    EXPECT_EQ(5, store.GetInt(view, 0, 0, 0));
    store.UnlockAll();
    store.Sort(view, 0, {DataSort(0, true)}, nullptr, 0);
}

TEST(StoreThreadsTest, HandleMayGoUnderLockAll) {
    DataStorage store = TextStore({"b", "a"});
    {
        DataStorage copy(store);
        copy.Sort(0, {DataSort(0, true)}, nullptr, 0);
        store.LockAll();
    }
    EXPECT_EQ("b", store.GetString(0, 0, 0));
    store.UnlockAll();
    store.InsertString(0, 0, "c");
    DataStorage next(store);  // the view that went is cleared away here
    EXPECT_EQ("b", next.GetString(0, 0, 0));
    // The last handle may go while its thread holds the lock.
    DataStorage held = TextStore({"x"});
    held.LockAll();
}

TEST(StoreThreadsTest, ReadersBesideAWriterSeeWholeRows) {
    DataStorage store = DataStorage::CreateResultsStorage(false);
    store.AddResultSet(Columns({DataTypeInt, DataTypeString, DataTypeDecimal, DataTypeTimestamp}),
                       ResultSetNormal);
    constexpr int rows = 6000;
    std::atomic<bool> done{false};
    std::thread writer([&] {
        RowLock lock = store.GetRowLock(0);
        for (int row = 0; row < rows; ++row) {
            lock.Lock();
            store.InsertInt(0, 0, row);
            store.InsertString(0, 1, std::string(200, 'x') + std::to_string(row));
            if (row % 5 == 0)
                store.InsertNull(0, 2);
            else
                store.InsertDecimal(0, 2, qxdb::Decimal(row, 2));
            store.InsertTimestamp(0, 3, qxdb::Timestamp());
            lock.UnLock();
        }
        done = true;
    });
    std::vector<std::thread> readers;
    std::atomic<int> failures{0};
    for (int reader = 0; reader < 3; ++reader) {
        DataStorage* const handle = new DataStorage(store);
        readers.emplace_back([handle, reader, &done, &failures] {
            DataStorage own(*handle);
            delete handle;
            std::mt19937 random(static_cast<unsigned>(reader));
            while (!done) {
                const int count = own.GetNumberOfRows(0);
                if (count == 0)
                    continue;
                const int row = static_cast<int>(random() % static_cast<unsigned>(count));
                const int value = own.GetInt(0, row, 0);
                if (own.GetString(0, row, 1) != std::string(200, 'x') + std::to_string(value))
                    ++failures;
                const std::string decimal = own.AsString(0, row, 2, std::locale::classic());
                if ((decimal == "[NULL]") != (value % 5 == 0))
                    ++failures;
                if (random() % 500 == 0) {
                    own.Sort(0, {DataSort(1, random() % 2 == 0)}, nullptr, 0);
                    own.HideRow(0, 0);
                }
                if (random() % 100 == 0)
                    own.FindString(0, 1, "nowhere", 0);
            }
        });
    }
    writer.join();
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(0, failures);
    EXPECT_EQ(rows, store.GetNumberOfRows(0));
}

TEST(StoreThreadsTest, SeveralReadersShareThePages) {
    DataStorage store = DataStorage::CreateResultsStorage(false);
    store.AddResultSet(Columns({DataTypeString, DataTypeDecimal}), ResultSetNormal);
    constexpr int rows = 40000;  // more pages than may be mapped at once
    for (int row = 0; row < rows; ++row) {
        store.InsertString(0, 0, std::string(200, static_cast<char>('a' + row % 26)));
        store.InsertDecimal(0, 1, qxdb::Decimal(row, 1));
    }
    std::vector<std::thread> readers;
    std::atomic<int> failures{0};
    for (int reader = 0; reader < 4; ++reader) {
        readers.emplace_back([&store, reader, &failures] {
            class Check : public CellSink {
              public:
                void OnCell(int position, bool, std::string_view text) override {
                    if (position == 0)
                        good = good && text.size() == 200 && text.front() == letter && text.back() == letter;
                    else
                        good = good && text == number;
                }
                char letter = 'a';
                std::string number;
                bool good = true;
            } check;
            DataStorage own(store);
            const int columns[] = {0, 1};
            for (int i = 0; i < 4000; ++i) {
                const int row = (i * 7919 + reader * 10007) % rows;
                check.letter = static_cast<char>('a' + row % 26);
                check.number = qxdb::Decimal(row, 1).AsString(true, -1);
                if (!own.VisitRow(0, row, columns, 2, CellFormat::Classic(), check))
                    ++failures;
                if (own.CompareItems(0, 1, row, (row + 1) % rows) >= 0 && row != rows - 1)
                    ++failures;
            }
            if (!check.good)
                ++failures;
        });
    }
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(0, failures);
}

TEST(StoreThreadsTest, ViewsAreOpenedAndClosedOnSeveralThreads) {
    DataStorage store = TextStore({"b", "a", "c"});
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&store] {
            DataStorage own(store);
            for (int round = 0; round < 200; ++round) {
                DataStorage copy(own);
                copy.Sort(0, {DataSort(0, round % 2 == 0)}, nullptr, 0);
                DataStorage second(copy);
                if (second.GetString(0, 0, 0) != (round % 2 == 0 ? "a" : "c"))
                    ADD_FAILURE() << "wrong order";
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ("b", store.GetString(0, 0, 0));
}

// Rows of an editable store that can be checked one by one: the text and the decimal follow from the number.
// A row whose number is 0 was inserted and not filled yet, or is gone.
class EditedRows {
  public:
    EditedRows() {
        store.AddResultSet(Columns({DataTypeInt, DataTypeString, DataTypeDecimal}), ResultSetNormal);
    }

    static std::string TextOf(int number) {
        return std::string(static_cast<std::size_t>(number % 400), 'x') + std::to_string(number);
    }
    static void Append(DataStorage& handle, int number) {
        handle.InsertInt(0, 0, number);
        handle.InsertString(0, 1, TextOf(number));
        handle.InsertDecimal(0, 2, qxdb::Decimal(number, 2));
    }
    static void Set(DataStorage& handle, int row, int number) {
        handle.Edit().SetInt(0, row, 0, number);
        handle.Edit().SetString(0, row, 1, TextOf(number));
        handle.Edit().SetDecimal(0, row, 2, qxdb::Decimal(number, 2));
    }
    // One random edit; the caller holds the store.
    static void EditOnce(DataStorage& handle, std::mt19937& random) {
        const int count = handle.GetNumberOfRows(0);
        const int number = 1 + static_cast<int>(random() % 100000);
        const unsigned choice = random() % 8;
        if (count < 50 || (choice == 0 && count < 400)) {
            Append(handle, number);
            return;
        }
        const int row = static_cast<int>(random() % static_cast<unsigned>(count));
        if (choice == 1) {
            handle.Edit().DeleteRow(0, row);
        } else if (choice == 2 && count < 400) {
            handle.Edit().InsertRow(0, row);
            // Where the new row shows depends on the view; it is the one whose number is 0.
            for (int place = 0; place < handle.GetNumberOfRows(0); ++place) {
                if (handle.GetInt(0, place, 0) == 0)
                    Set(handle, place, number);
            }
        } else {
            Set(handle, row, number);
        }
    }

    // Reads rows until `done` and counts those that do not hold together.
    static int Watch(DataStorage& shared, unsigned seed, const std::atomic<bool>& done) {
        class Check : public CellSink {
          public:
            void OnCell(int position, bool, std::string_view text) override {
                texts[position] = std::string(text);
            }
            bool IsGood() const {
                const int number = std::stoi(texts[0]);
                return number == 0 || (texts[1] == TextOf(number) &&
                                       texts[2] == qxdb::Decimal(number, 2).AsString(true, -1));
            }
            std::string texts[3];
        } check;
        DataStorage own(shared);
        std::mt19937 random(seed);
        const int columns[] = {0, 1, 2};
        int wrong = 0;
        while (!done) {
            const int count = own.GetNumberOfRows(0);
            if (count == 0 || random() % 200 == 0) {  // hidden rows come back
                DataStorage next(shared);
                own = next;
                continue;
            }
            const int row = static_cast<int>(random() % static_cast<unsigned>(count));
            if (own.VisitRow(0, row, columns, 3, CellFormat::Classic(), check) && !check.IsGood())
                ++wrong;
            if (random() % 50 == 0)
                own.Sort(0, {DataSort(static_cast<int>(random() % 3), random() % 2 == 0)}, nullptr, 0);
            if (random() % 50 == 0)
                own.HideRow(0, row);
            if (random() % 50 == 0)
                own.FindString(0, 1, "nowhere", 0);
            if (random() % 100 == 0) {
                own.LockAll();  // nothing moves under it
                const int rows = own.GetNumberOfRows(0);
                for (int i = 0; i < rows; ++i) {
                    if (!own.VisitRow(0, i, columns, 3, CellFormat::Classic(), check) || !check.IsGood())
                        ++wrong;
                }
                wrong += rows == own.GetNumberOfRows(0) ? 0 : 1;
                own.UnlockAll();
            }
        }
        return wrong;
    }

    // Edits with `edit(handle, random)` while three readers watch.
    template <class Edit>
    void Run(int edits, Edit edit) {
        std::mt19937 random(5);
        for (int row = 0; row < 100; ++row)
            Append(store, row + 1);
        std::atomic<bool> done{false};
        std::atomic<int> wrong{0};
        std::vector<std::thread> readers;
        for (unsigned reader = 0; reader < 3; ++reader)
            readers.emplace_back([this, reader, &done, &wrong] { wrong += Watch(store, reader, done); });
        for (int i = 0; i < edits; ++i)
            edit(store, random);
        done = true;
        for (std::thread& reader : readers)
            reader.join();
        EXPECT_EQ(0, wrong);
        // All is still in its place.
        for (int row = 0; row < store.GetNumberOfRows(0); ++row) {
            const int number = store.GetInt(0, row, 0);
            ASSERT_EQ(TextOf(number), store.GetString(0, row, 1));
        }
    }

    DataStorage store = DataStorage::CreateResultsStorage(true);
};

TEST(StoreThreadsTest, ReadersBesideAnEditorWithARowLock) {
    EditedRows rows;
    rows.Run(3000, [](DataStorage& handle, std::mt19937& random) {
        RowLock lock = handle.GetRowLock(0);
        lock.Lock();
        EditedRows::EditOnce(handle, random);
        lock.UnLock();
    });
}

TEST(StoreThreadsTest, ReadersBesideAnEditorThatHoldsAll) {
    EditedRows rows;
    rows.Run(300, [](DataStorage& handle, std::mt19937& random) {
        handle.WriteLockAll();
        for (int i = 0; i < 10; ++i)
            EditedRows::EditOnce(handle, random);
        handle.UnlockAll();
    });
}

// Changes of the rows' order take the lock themselves.
TEST(StoreThreadsTest, DeletingNeedsNoLockOfTheCaller) {
    EditedRows rows;
    for (int row = 0; row < 1000; ++row)
        EditedRows::Append(rows.store, 1 + row);
    rows.Run(800, [](DataStorage& handle, std::mt19937& random) {
        handle.Edit().DeleteRow(
            0, static_cast<int>(random() % static_cast<unsigned>(handle.GetNumberOfRows(0))));
    });
    EXPECT_EQ(300, rows.store.GetNumberOfRows(0));
}

TEST(StoreThreadsTest, EditsWaitForReadersThatHoldAll) {
    EditedRows rows;
    EditedRows::Append(rows.store, 7);
    rows.store.LockAll();
    EXPECT_THROW(rows.store.Edit().DeleteRow(0, 0), std::runtime_error);
    std::atomic<bool> deleted{false};
    std::thread editor([&] {
        rows.store.Edit().DeleteRow(0, 0);
        deleted = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_FALSE(deleted);
    EXPECT_EQ(7, rows.store.GetInt(0, 0, 0));
    rows.store.UnlockAll();
    editor.join();
    EXPECT_EQ(0, rows.store.GetNumberOfRows(0));
}

}  // namespace
}  // namespace qxdbsqlengine
